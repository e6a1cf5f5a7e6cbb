#!/usr/bin/env python3
"""The shared library exports the intended symbols: exported_symbols.py LIBRARY [--all-types]

Prints the numbers of symbols, unintended exports, and missing ones. A library that is built for
sanitizers also exports the type information of all classes."""
import re
import subprocess
import sys

# Matches the prefix before the name of a symbol's subject.
KIND = re.compile(r"^(vtable|typeinfo name|typeinfo|VTT|guard variable) for |"
                  r"^(non-)?virtual thunk to ")
# Matches the base library, the interfaces, the handles and their value types.
PUBLIC = re.compile(r"^qv::(?!kelvo_sdk::impl::)|^impl_nodeInstanceCount$")
SCENE = r"notify(Input|Output)(Added|Removed)|notifyInput(Changed|Connected)|cloneNode|" \
        r"convertNode|setDirty|isDirtyStateCached|~?Scene"
# Matches parts of the implementation that node libraries and applications use by name: a node with
# all its operations, its members, and the functions that it calls.
CONTRACT = (
    r"Node::|getChildren\(|findDeps\(|serialize\(",
    r"Input::(Input|clone|setReadOnly|stash)\(",
    r"Output::(Output|clone)\(",
    rf"Scene::({SCENE})\(",
    r"(AttrData|NodeIterator|PathIterator|NodeChangeScope)(::|$)",
    # An AttrData contains a value and is copied with it.
    r"Value::(Value\(qv::kelvo_sdk::impl::Value const&\)|operator=\(|takeResource\(|release\()",
    r"KndHtmlWriter::nodeHtml\(",
)
IMPLEMENTATION = re.compile(r"^qv::kelvo_sdk::impl::(Node$|" + "|".join(CONTRACT) + ")")
# One symbol of each sort, without which a wrong pattern would pass unnoticed.
NEEDED = (
    "impl_nodeInstanceCount", "qv::String::format(", "qv::kelvo_sdk::Scene::create(",
    "qv::kelvo_sdk::PathParser::parsePath(", "typeinfo for qv::kelvo_sdk::interfaces::ILibInfo",
    "qv::kelvo_sdk::impl::Node::Node(", "qv::kelvo_sdk::impl::Node::onInputChanged(",
    "qv::kelvo_sdk::impl::Input::Input(", "qv::kelvo_sdk::impl::Input::clone(",
    "qv::kelvo_sdk::impl::Input::stash(", "qv::kelvo_sdk::impl::Output::Output(",
    "qv::kelvo_sdk::impl::Output::clone(", "qv::kelvo_sdk::impl::Scene::Scene(",
    "qv::kelvo_sdk::impl::Scene::notifyInputChanged(", "qv::kelvo_sdk::impl::Scene::cloneNode(",
    "qv::kelvo_sdk::impl::Scene::convertNode(", "qv::kelvo_sdk::impl::Scene::setDirty(",
    "qv::kelvo_sdk::impl::Scene::isDirtyStateCached(", "qv::kelvo_sdk::impl::serialize(",
    "qv::kelvo_sdk::impl::findDeps(", "qv::kelvo_sdk::impl::getChildren(",
    "qv::kelvo_sdk::impl::NodeIterator::first(", "qv::kelvo_sdk::impl::PathIterator::count(",
    "qv::kelvo_sdk::impl::KndHtmlWriter::nodeHtml(",
)
# Matches symbols of compilers and sanitizers.
RESERVED = re.compile(r"^_")


def exported(library):
    """Returns (type, demangled name) of each symbol."""
    listing = subprocess.run(["nm", "-D", "-C", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    return [tuple(line.split(" ", 2)[1:]) for line in listing.splitlines()]


def subject(name):
    return KIND.sub("", re.sub(r"^guard variable for ", "", name))


def is_meant(name, all_types):
    about = subject(name)
    if all_types and name.startswith(("typeinfo", "vtable for ", "VTT for ")):
        return True
    return bool(PUBLIC.match(about) or IMPLEMENTATION.match(about) or RESERVED.match(name))


def main(library, all_types):
    symbols = exported(library)
    names = [name for _, name in symbols]
    faults = [f"exported, and not meant to be: {name}" for name in names
              if not is_meant(name, all_types)]
    faults += [f"not exported: {needed}" for needed in NEEDED
               if not any(name.startswith(needed) for name in names)]
    functions = [name for kind, name in symbols if kind in "TW"]
    inside = sum("qv::kelvo_sdk::impl::" in name.split("(")[0] for name in functions)
    print(f"{len(symbols)} symbols exported, {len(functions)} functions, "
          f"{inside} of them of the implementation")
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], "--all-types" in sys.argv[2:]))
