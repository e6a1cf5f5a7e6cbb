"""Shared by the tests of the documents: the pages, and the blocks of code in them."""
import dataclasses
import os
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]


def pages():
    """Returns the README and all pages of docs/, without the records of decisions."""
    return [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]


def name_of(page):
    return os.path.relpath(page, ROOT)


def configured(build, name):
    """Returns a value of a build's configuration, empty if it has none."""
    cache = (pathlib.Path(build) / "CMakeCache.txt").read_text()
    found = re.search(rf"^{name}:\w+=(.*)$", cache, re.M)
    return found[1] if found else ""


@dataclasses.dataclass
class Block:
    page: str
    line: int  # The number of its first line of code, counted from 1.
    language: str  # The language of the fence; empty for an indented block.
    text: str
    before: str  # The line of text before the block.

    def place(self):
        return f"{self.page}:{self.line}"


def blocks(page):
    """Returns the blocks of code of a page, fenced and indented, without their indentation."""
    found, before = [], ""
    lines = page.read_text().split("\n")
    at = 0
    while at < len(lines):
        line = lines[at]
        if line.startswith("```"):
            end = lines.index("```", at + 1)
            code, start, language = lines[at + 1:end], at + 2, line[3:].strip()
            at = end + 1
        elif line.startswith("    ") and (at == 0 or not lines[at - 1].strip()):
            end = at
            while end < len(lines) and (lines[end].startswith("    ") or not lines[end].strip()):
                end += 1
            code, start, language = [code[4:] for code in lines[at:end]], at + 1, ""
            at = end
        else:
            before = line.strip() or before
            at += 1
            continue
        text = "\n".join(code).rstrip("\n") + "\n"
        found.append(Block(name_of(page), start, language, text, before))
        before = ""
    return found


def headings(page):
    """Returns the anchors of a page's headings, as Markdown viewers make them."""
    code = re.sub(r"^```.*?^```", "", page.read_text(), flags=re.S | re.M)
    anchors = []
    for title in re.findall(r"^#+ (.+)$", code, re.M):
        title = re.sub(r"[^\w\- ]", "", title.strip().lower())
        anchors.append(title.replace(" ", "-"))
    return anchors


def printed_by(block, following):
    """Returns the next block, if the text before that block says that it is the output."""
    if following and re.search(r"\bprints:$", following.before):
        return following.text
    return None


def is_as_printed(expected, printed):
    """Compares line by line; a line "..." stands for any lines."""
    pattern = "".join(
        r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line.rstrip()) + r"[ ]*\n"
        for line in expected.splitlines())
    return re.fullmatch(pattern, printed) is not None
