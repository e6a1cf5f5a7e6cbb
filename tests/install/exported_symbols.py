#!/usr/bin/env python3
"""The shared library exports what it is meant to: exported_symbols.py LIBRARY [--all-types]

Prints the numbers, and whatever is exported without being meant for it, or missing. A library that
is built for sanitizers shows the types of all classes, but no more of them."""
import re
import subprocess
import sys

# Before the name of what a symbol is about.
KIND = re.compile(r"^(vtable|typeinfo name|typeinfo|VTT|guard variable) for |"
                  r"^(non-)?virtual thunk to ")
# The base library, the interfaces, the handles and their vocabulary.
PUBLIC = re.compile(r"^qv::(?!kelvo_sdk::impl::)|^impl_nodeInstanceCount$")
SCENE = r"notify(Input|Output)(Added|Removed)|notifyInput(Changed|Connected)|cloneNode|" \
        r"convertNode|setDirty|isDirtyStateCached|~?Scene"
# Parts of the implementation that node libraries and applications know by name: a node with all its
# operations, what it is made of, and what it calls.
CONTRACT = (
    r"Node::|getChildren\(|findDeps\(|serialize\(",
    r"Input::(Input|clone|setReadOnly|stash)\(",
    r"Output::(Output|clone)\(",
    rf"Scene::({SCENE})\(",
    r"(AttrData|NodeIterator|PathIterator|NodeChangeScope)(::|$)",
    # An AttrData holds a value and is copied with it.
    r"Value::(Value\(qv::kelvo_sdk::impl::Value const&\)|operator=\(|takeResource\(|release\()",
    r"KndHtmlWriter::nodeHtml\(",
)
IMPLEMENTATION = re.compile(r"^qv::kelvo_sdk::impl::(Node$|" + "|".join(CONTRACT) + ")")
# One of each sort, without which the others would prove nothing.
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
# The marks of compilers and sanitizers.
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
