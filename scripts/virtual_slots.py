#!/usr/bin/env python3
"""Lists the virtual functions of the interfaces in kelvo/sdk/interfaces/, by class and slot.

virtual_slots.py write TABLE  writes the table from the headers, as clang lays them out
virtual_slots.py check TABLE  compares the headers with the table; status 1 for a break: a slot that
                              changed or is gone. Additions pass, and so does any change with a
                              greater major version than the table's."""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
CLASS = re.compile(r"^class (?:QV_EXPORT )?(\w+)[^;{]*\{", re.MULTILINE)
SLOT = re.compile(r"^ +\d+ \| (.+?)(?: \[pure\])?$")


def major():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return int(re.search(r"project\(\w+\s+VERSION (\d+)", text)[1])


def classes():
    """Returns the classes with virtual functions, each with its header."""
    for header in sorted((ROOT / "kelvo/sdk/interfaces").glob("*.h")):
        text = header.read_text(encoding="utf-8")
        for match in CLASS.finditer(text):
            body = text[match.end():text.find("\n};", match.end())]
            if "virtual " in body or " : public " in match[0]:
                yield match[1], f"kelvo/sdk/interfaces/{header.name}"


def layouts(found):
    """Returns clang's dump of a class derived from each; constructors make it emit the tables."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "slots.cpp"
        source.write_text("".join(f'#include "{header}"\n' for _, header in found) + "".join(
            f"struct Of{name} : qv::kelvo_sdk::interfaces::{name} {{ Of{name}(); }};\n"
            f"Of{name}::Of{name}() = default;\n" for name, _ in found), encoding="utf-8")
        ran = subprocess.run(
            ["clang++", "-std=c++20", f"-I{ROOT}", "-DQV_STATIC", "-Xclang",
             "-fdump-vtable-layouts", "-emit-llvm", "-S", "-o", "/dev/null", str(source)],
            capture_output=True, text=True, check=False)
    if ran.returncode != 0:
        sys.exit(ran.stderr)
    return ran.stdout.splitlines()


def table():
    """Returns the signatures by class and slot; those of each base table count from 0."""
    found, slots, name, group, place = list(classes()), {}, None, -1, 0
    for line in layouts(found):
        if line.startswith("Vtable for '"):
            name = line.split("'")[1]
            name, group = (name[2:] if name.startswith("Of") else None), -1
        elif match := SLOT.match(line):
            if match[1].startswith("offset_to_top"):
                group, place = group + 1, 0
            elif name and "(" in match[1] and "RTTI" not in match[1]:
                signature = match[1].replace(f"Of{name}::~Of{name}", f"~{name}")
                slots[name, group, place] = signature.replace("qv::kelvo_sdk::", "")
                place += 1
        elif not line.strip().startswith(("[", "--")):
            name = None
    return slots


def write(path):
    lines = ["# The virtual functions of the interfaces: class, table, slot, function.",
             "# Written by scripts/abi --record.", f"# major version {major()}"]
    for (name, group, place), signature in sorted(table().items()):
        lines.append(f"{name} {group} {place} {signature}")
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")


def read(path):
    slots, recorded = {}, None
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("# major version "):
            recorded = int(line.split()[-1])
        elif not line.startswith("#"):
            name, group, place, signature = line.split(" ", 3)
            slots[name, int(group), int(place)] = signature
    return slots, recorded


def check(path):
    recorded, before = read(path)
    present, breaks = table(), []
    for slot, signature in sorted(recorded.items()):
        where = f"{slot[0]}, table {slot[1]}, slot {slot[2]}"
        if slot not in present:
            breaks.append(f"{where}: '{signature}' is gone")
        elif present[slot] != signature:
            breaks.append(f"{where}: '{signature}' is '{present[slot]}' now")
    for line in breaks:
        print(line)
    added = len(present.keys() - recorded.keys())
    print(f"{len(recorded)} virtual functions, {len(breaks)} changed, {added} added")
    if breaks and major() > before:
        print(f"Major version {major()} may break what {before} promised.")
        return 0
    return 1 if breaks else 0


def main(arguments):
    if len(arguments) != 2 or arguments[0] not in ("write", "check"):
        sys.exit(__doc__)
    path = pathlib.Path(arguments[1])
    return write(path) if arguments[0] == "write" else check(path)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
