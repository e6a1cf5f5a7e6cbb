#!/usr/bin/env python3
"""Writes docs/map.md: each source of the floors, its description and its tests.

The description comes from the file itself: a room's heading and the first sentence of its law, the
first sentence of the comment at the top, or the first `///` sentence."""
import itertools
import pathlib
import re
import sys

import tree_files

TITLES = {"kelvo/base": "Base", "kelvo/sdk/interfaces": "Interfaces",
          "kelvo/sdk": "Public handles", "kelvo/sdk/impl": "Implementation"}
INTRODUCTION = """# Map of the tree

Every source of the floors, with its room or what it is, and the test that holds it.
Written by `tools/make_map.py`; run it after adding, moving or renaming a file.
"""


def unit_of(name):
    return name.rsplit(".", 1)[0]


def units(root):
    """Returns {path without suffix: [its sources]} of the floors."""
    found = {}
    for name in tree_files.files(root, *tree_files.SOURCES):
        if tree_files.floor_of(name):
            found.setdefault(unit_of(name), []).append(name)
    return found


def comments_for_users(lines):
    """Yields (text, the two lines below it) of each `///` comment."""
    text = []
    for number, line in enumerate(lines):
        comment = re.match(r"\s*///\s?(.*)$", line)
        if comment:
            text.append(comment[1].strip())
        elif text:
            yield " ".join(filter(None, text)), " ".join(lines[number:number + 2]).strip()
            text = []


def sentence_of(text):
    """Returns the first sentence of a comment, fit for a cell of a table."""
    sentence = re.split(r"(?<=[.:;])\s", text, maxsplit=1)[0]
    return sentence.rstrip(".:;").replace("|", "\\|")


def comment_at_top(lines):
    """Returns the text of the `//` comment in front of all code, else ""."""
    below = itertools.dropwhile(lambda line: not line or line.startswith("#"), lines)
    top = itertools.takewhile(lambda line: re.match(r"//(?!/| --)", line), below)
    return " ".join(line[2:].strip() for line in top)


def first_sentence(root, name):
    """Returns a room's heading and law, else the first sentence of the comment at the top, else of
    the `///` comment on the class that the file is named after, else of the first `///` comment,
    else ""."""
    lines = tree_files.lines(root, name)
    if lines and (heading := re.match(r"// -+ (.*?) -*$", lines[0])):
        return f"{heading[1].strip()}: {sentence_of(comment_at_top(lines[1:]))}".rstrip(": ")
    if top := comment_at_top(lines):
        return sentence_of(top)
    subject = unit_of(name).rsplit("/", 1)[1].replace("_", "")
    comments = list(comments_for_users(lines))
    chosen = [text for text, below in comments if re.search(rf"(?i)\b{subject}\b", below)
              and re.match(r"template|class|struct|enum", below)]
    return sentence_of((chosen or [text for text, _ in comments] or [""])[0])


def describe(root, names):
    """Returns the description from the header or, if it has none, from the source."""
    for name in sorted(names, key=lambda name: name.endswith(".cpp")):
        if words := first_sentence(root, name):
            return words
    return unit_of(names[0]).rsplit("/", 1)[1].replace("_", " ").capitalize()


def tests_of(root, unit):
    """Returns the tests of a unit: unit_test.cpp, and unit_x_test.cpp unless a unit unit_x exists.
    A source that continues another one shares its test."""
    folder, stem = unit.rsplit("/", 1)
    home = root / "tests" / folder
    own = home / f"{stem}_test.cpp"
    more = [path for path in sorted(home.glob(f"{stem}_*_test.cpp"))
            if not any((root / folder).glob(path.name.removesuffix("_test.cpp") + ".*"))]
    found = ([own] if own.is_file() else []) + more
    if not found and folder.endswith("interfaces") and stem.startswith("i_"):
        found = sorted((root / "tests/kelvo/sdk/impl").glob(f"*/{stem[2:]}_test.cpp"))
    tests = [path.relative_to(root).as_posix() for path in found if path.is_file()]
    before = stem.rpartition("_")[0]
    if not tests and before and not (root / f"{unit}.h").is_file():
        return tests_of(root, f"{folder_of(root, folder, before)}/{before}")
    return tests


def folder_of(root, folder, stem):
    """Returns the folder of a unit: the given one, or another subject of the implementation."""
    places = [root / folder, *sorted((root / folder).parent.iterdir())]
    found = [place for place in places if (place / f"{stem}.h").is_file()]
    return found[0].relative_to(root).as_posix() if found else folder


def tests_by_include(root, names):
    """Returns up to three tests that include a header, the most similar names first."""
    headers = [name for name in names if name.endswith(".h")]
    return [test for test in tree_files.files(root, "_test.cpp")
            if any(f'#include "{header}"' in (root / test).read_text(encoding="utf-8")
                   for header in headers)][:3]


def tests_of_users(root, names):
    """Returns up to three tests of sources that include a header without exports: tests reach code
    that the shared library hides only through its users."""
    headers = [name for name in names if name.endswith(".h")]
    if not headers or any("QV_EXPORT" in (root / name).read_text(encoding="utf-8")
                          for name in headers):
        return []
    users = [name for name in tree_files.files(root, *tree_files.SOURCES)
             if tree_files.floor_of(name) and name not in names
             and f'#include "{headers[0]}"' in (root / name).read_text(encoding="utf-8")]
    found = [test for user in map(unit_of, users)
             for test in tests_of(root, user) or tests_by_include(root, [f"{user}.h"])]
    return sorted(set(found))[:3]


def all_tests_of(root, unit, names):
    return (tests_of(root, unit) or tests_by_include(root, names)
            or tests_of_users(root, names))


def law_of(folder):
    """Returns the law of a subject: the comment at the top of its CMakeLists.txt."""
    lists = folder / "CMakeLists.txt"
    text = lists.read_text(encoding="utf-8") if lists.is_file() else ""
    return text.split("\n", 1)[0].lstrip("# ")


def row(root, unit, sources):
    files = ", ".join(f"`{name.rsplit('/', 1)[1]}`" for name in reversed(sources))
    tests = all_tests_of(root, unit, sources)
    shown = ", ".join(f"`{test.removeprefix('tests/').removeprefix('kelvo/')}`" for test in tests)
    return f"| {describe(root, sources)} | {files} | {shown} |"


def write_map(root):
    found = units(root)
    text = [INTRODUCTION]
    for floor, folder in enumerate(tree_files.FLOORS, 1):
        here = sorted(unit for unit in found if tree_files.floor_of(found[unit][0]) == floor)
        if not here:
            continue
        text.append(f"## Floor {floor}: {TITLES[folder]}, `{folder}/`\n")
        for home, members in itertools.groupby(here, lambda unit: unit.rsplit("/", 1)[0]):
            if home != folder:
                text.append(f"### `{home.removeprefix(folder + '/')}/`\n\n{law_of(root / home)}\n")
            text.append("| room or subject | files | test |\n|---|---|---|")
            text += [row(root, unit, found[unit]) for unit in members]
            text.append("")
    return "\n".join(text)


def main(arguments):
    root = pathlib.Path(arguments[0]).resolve() if arguments else tree_files.HOME
    target, text = root / "docs" / "map.md", write_map(root)
    target.parent.mkdir(exist_ok=True)
    target.write_text(text, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
