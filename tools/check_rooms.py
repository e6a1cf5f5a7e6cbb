#!/usr/bin/env python3
"""Each room of the node, the scene and the input has its source, which opens with the room's
heading and law, and its test; the map has a row for every source of the floors, the index one for
every decision; every source and test is built. check_rooms.py [ROOT]"""
import re
import sys

import make_map
import tree_files

HOME = "kelvo/sdk/impl/graph"
CHIEFS = tuple(f"{HOME}/{name}.h" for name in ("node", "scene", "input"))
ROOM = re.compile(r"^///\s{2,}(\S.*?)\s+(\w+\.cpp)\b")
HEADING = re.compile(r"^\s*// -{2,} (.*?) -{2,}$")


def laws(lines):
    """Returns {heading: law} of a source: the comment lines right under each heading."""
    found, heading = {}, None
    for line in lines:
        title, comment = HEADING.match(line), re.match(r"^\s*// ?(.*)$", line)
        if title:
            heading = title[1]
            found[heading] = []
        elif comment and heading:
            found[heading].append(comment[1].strip())
        else:
            heading = None
    return {heading: " ".join(law) for heading, law in found.items()}


def faults_of_room(root, chief, name, file, law):
    # Its functions may need a higher subject, and stand there then.
    homes = [path.parent for path in sorted((root / HOME).parent.glob(f"*/{file}"))]
    source = f"{homes[0].relative_to(root).as_posix() if homes else HOME}/{file}"
    test = f"tests/{source.removesuffix('.cpp')}_test.cpp"
    faults = []
    if law is None:
        faults.append(f"{chief}: no heading for the room {name}")
    if not (root / source).is_file():
        faults.append(f"{source}: missing, the source of the room {name}")
    else:
        lines = tree_files.lines(root, source)
        heading = HEADING.match(lines[0]) if lines else None
        if not heading or heading[1] != name:
            faults.append(f"{source}:1: does not open with the heading of the room {name}")
        elif law is not None and laws(lines).get(name) != law:
            faults.append(f"{source}:2: its law is not the one that stands in {chief}")
    if not (root / test).is_file():
        faults.append(f"{test}: missing, the test of the room {name}")
    return faults


def faults_of_class(root, chief):
    if not (root / chief).is_file():
        return [f"{chief}: missing"]
    lines = tree_files.lines(root, chief)
    rooms, found = dict(room.groups() for line in lines if (room := ROOM.match(line))), laws(lines)
    faults = [] if rooms else [f"{chief}: does not open with the list of its rooms"]
    for name, file in rooms.items():
        faults += faults_of_room(root, chief, name, file, found.get(name))
    faults += [f"{chief}: the heading {name} stands for no room of the list"
               for name in found if rooms and name not in rooms]
    return faults


def rows(text):
    """Returns the rows of the map without what they say of their files."""
    cells = (line.split(" | ") for line in text.splitlines() if line.startswith("|"))
    return {" | ".join(row[-2:]) for row in cells}


def faults_of_map(root):
    target = root / "docs" / "map.md"
    if not target.is_file():
        return ["docs/map.md: missing"]
    there, due = rows(target.read_text(encoding="utf-8")), rows(make_map.write_map(root))
    faults = [f"docs/map.md: no row {row} tools/make_map.py writes it" for row in due - there]
    faults += [f"docs/map.md: no more true: {row}" for row in there - due]
    return sorted(faults) + [
        f"{sources[0]}: no test" for unit, sources in sorted(make_map.units(root).items())
        if any(name.endswith(".cpp") for name in sources)
        and not make_map.all_tests_of(root, unit, sources)]


def faults_of_lists(root):
    """A source stands in the list of its folder's CMakeLists.txt, or of a folder above it."""
    listed = set()
    for name in tree_files.files(root, "CMakeLists.txt"):
        folder = name.removesuffix("CMakeLists.txt")
        text = re.sub(r"#.*", "", (root / name).read_text(encoding="utf-8"))
        listed.update(folder + word for word in re.findall(r"[\w./-]+\.cpp\b", text))
    return [f"{name}: in no CMakeLists.txt" for name in tree_files.files(root, ".cpp")
            if name not in listed
            and (tree_files.floor_of(name) or (name.startswith("tests/")
                                               and name.endswith("_test.cpp")))]


def faults_of_records(root):
    """The index of the decisions has a line for each record, and no other."""
    home = root / "docs" / "decisions"
    if not home.is_dir():
        return []
    index = home / "README.md"
    text = index.read_text(encoding="utf-8") if index.is_file() else ""
    due = {path.name for path in home.glob("[0-9]*.md")}
    there = set(re.findall(r"\(([0-9][\w-]*\.md)\)", text))
    return ([f"docs/decisions/{name}: not in the index README.md" for name in sorted(due - there)]
            + [f"docs/decisions/README.md: no record {name}" for name in sorted(there - due)])


def check(root):
    return ([fault for chief in CHIEFS for fault in faults_of_class(root, chief)]
            + faults_of_map(root) + faults_of_lists(root) + faults_of_records(root))


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
