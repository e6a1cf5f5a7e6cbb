#!/usr/bin/env python3
"""Checks that no C++ function exceeds 60 lines, no source 500 lines, and no line 100 columns except
in raw strings. check_lengths.py [ROOT]"""
import re
import sys

import tree_files

MOST_LINES_OF_A_FUNCTION = 60
MOST_LINES_OF_A_SOURCE = 500
MOST_COLUMNS = 100

# Braces inside comments and literals do not count. A quote inside a number starts no literal.
HIDING = re.compile(
    r'//(?:\\\n|[^\n])*|/\*.*?\*/'
    r'|(?:\b(?:u8|[uUL]))?R"(?P<mark>[^\s()\\"]{0,16})\(.*?\)(?P=mark)"'
    r'|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'",
    re.DOTALL)
TEMPLATE = re.compile(r"\btemplate\s*<(?:[^<>]|<(?:[^<>]|<[^<>]*>)*>)*>")
TYPE_OR_NAMESPACE = re.compile(
    r"^(?:(?:export|inline|static|const|constexpr|typedef|\[\[[^]]*\]\])\s+)*"
    r"(?:class|struct|union|enum|namespace|extern\s*\"\"\s*$)")
LAMBDA = re.compile(r"\[[^\[\]]*\]\s*(?:\([^()]*\))?[^()=;]*$")


def without_hidden(text):
    """Blanks comments, literals, directives and all but the first branch of `#if`; keeps lines."""
    def blank(match):
        quotes = '""' if match[0].startswith('"') else ""
        return quotes + "\n" * match[0].count("\n")

    kept, branches, continued = [], [], False
    for line in HIDING.sub(blank, text).split("\n"):
        directive = re.match(r"\s*#\s*(\w+)", line)
        if directive and not continued:
            word = directive[1]
            if word in ("if", "ifdef", "ifndef"):
                branches.append(False)
            elif word in ("else", "elif", "elifdef") and branches:
                branches[-1] = True
            elif word == "endif" and branches:
                branches.pop()
        hidden = directive or continued or any(branches)
        continued = bool(directive or continued) and line.endswith("\\")
        kept.append("" if hidden else line)
    return "\n".join(kept)


def lines_of_raw_text(text):
    """Returns the numbers of the lines in raw strings, which must not be wrapped."""
    found = set()
    for hidden in HIDING.finditer(text):
        if hidden["mark"] is not None:
            first = text.count("\n", 0, hidden.start()) + 1
            found.update(range(first + 1, first + hidden[0].count("\n") + 1))
    return found


def kind_of(head):
    """Returns what the brace after `head` opens: "outer", "function" or "inner"."""
    head = TEMPLATE.sub(" ", head).strip()
    if TYPE_OR_NAMESPACE.match(head):
        return "outer"
    flat = re.sub(r"\boperator\s*[^\s\w(]+", "operator", head)
    while (shorter := re.sub(r"\([^()]*\)", "", flat)) != flat:
        flat = shorter
    if "=" in flat:
        return "function" if LAMBDA.search(head.split("=", 1)[1]) else "inner"
    return "function" if "(" in head else "inner"


def functions(text):
    """Yields (name, first line, number of lines) of each function defined in C++ text."""
    text = without_hidden(text)
    scopes, head_start, parentheses = [], 0, 0
    for place, letter in enumerate(text):
        outer = not scopes or scopes[-1][0] == "outer"
        if letter in "()":
            parentheses = max(0, parentheses + (1 if letter == "(" else -1))
        elif letter == "{":
            kind = kind_of(text[head_start:place]) if outer and not parentheses else "inner"
            scopes.append((kind, head_start, parentheses))
            parentheses = 0
            if kind == "outer":
                head_start = place + 1
        elif letter == "}" and scopes:
            kind, start, parentheses = scopes.pop()
            if scopes and scopes[-1][0] != "outer":
                continue
            # The braces initialise a member: the statement goes on after them.
            if kind != "outer" and (parentheses or text[place + 1:].lstrip()[:1] in (",", "{")):
                continue
            if kind == "function":
                begin = start + len(text[start:]) - len(text[start:].lstrip())
                name = re.sub(r"\s+", " ", text[begin:text.index("{", begin)]).strip()
                yield name[:80], text.count("\n", 0, begin) + 1, text.count("\n", begin, place) + 1
            head_start = place + 1
        elif outer and not parentheses and letter == ";":
            head_start = place + 1
        elif outer and letter == ":" and re.search(r"\b(public|private|protected)\s*$",
                                                   text[max(0, place - 12):place]):
            head_start = place + 1


def check(root):
    findings = []
    for name in tree_files.files(root, ".h", ".cpp", ".py"):
        lines = tree_files.lines(root, name)
        if len(lines) > MOST_LINES_OF_A_SOURCE:
            findings.append(f"{name}: {len(lines)} lines, more than {MOST_LINES_OF_A_SOURCE}")
        fixed = lines_of_raw_text("\n".join(lines)) if name.endswith(tree_files.SOURCES) else ()
        for number, line in enumerate(lines, 1):
            if len(line) > MOST_COLUMNS and number not in fixed:
                findings.append(f"{name}:{number}: {len(line)} columns, more than {MOST_COLUMNS}")
        if name.endswith(tree_files.SOURCES):
            for function, number, length in functions("\n".join(lines)):
                if length > MOST_LINES_OF_A_FUNCTION:
                    findings.append(f"{name}:{number}: {length} lines, more than "
                                    f"{MOST_LINES_OF_A_FUNCTION}: {function}")
    return findings


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
