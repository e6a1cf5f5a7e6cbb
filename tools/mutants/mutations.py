"""Makes mutants of C++ source text: each has one small fault that a test should find."""
import dataclasses
import re


@dataclasses.dataclass(frozen=True)
class Mutant:
    """Replaces text[start:end] of a file by `new`."""
    file: str
    start: int
    end: int
    new: str
    operator: str

    def apply(self, text):
        return text[:self.start] + self.new + text[self.end:]

    def line(self, text):
        return text.count("\n", 0, self.start) + 1

    def before(self, text):
        """Returns the changed lines in their original form, joined into one line."""
        return one_line(text[line_start(text, self.start):line_end(text, self.end)])

    def after(self, text):
        first, last = line_start(text, self.start), line_end(text, self.end)
        return one_line(text[first:self.start] + self.new + text[self.end:last])


def line_start(text, position):
    return text.rfind("\n", 0, position) + 1


def line_end(text, position):
    end = text.find("\n", position)
    return end if end >= 0 else len(text)


def one_line(text):
    return " ".join(text.split())


HIDDEN = re.compile(
    r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|\bR\"\((?:.*?)\)\"|\"(?:\\.|[^\"\\\n])*\""
    r"|(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'|\bstatic_assert\([^;]*;|\btemplate\s*<[^;{]*?>\s*(?=\w)",
    re.S | re.M)


def code_of(text):
    """Returns the text with everything but code blanked out, at the same positions."""
    return HIDDEN.sub(lambda match: re.sub(r"[^\n]", " ", match[0]), text)


SWAPS = (
    ("relation", r" (==|!=|<=|>=|<|>) ",
     {"==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">="}),
    ("logic", r" (&&|\|\|) ", {"&&": "||", "||": "&&"}),
    ("arithmetic", r" ([+-]=?) ", {"+": "-", "-": "+", "+=": "-=", "-=": "+="}),
    ("arithmetic", r"(\+\+|--)", {"++": "--", "--": "++"}),
    ("return", r"\breturn (true|false)\b", {"true": "false", "false": "true"}),
)


def swaps(code):
    for operator, pattern, table in SWAPS:
        for match in re.finditer(pattern, code):
            yield operator, match.start(1), match.end(1), table[match[1]]


def constants(code):
    for match in re.finditer(r"(?<![\w.'])\d+(?![\w.'])", code):
        yield "constant", match.start(), match.end(), str(int(match[0]) + 1)


def negations(code):
    for match in re.finditer(r"!(?=[\w(*:])", code):
        yield "negation", match.start(), match.end(), ""


def closing(code, position):
    """Returns the position of the bracket that closes the one at `position`."""
    depth = 0
    for at in range(position, len(code)):
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth == 0:
            return at
    return len(code)


# Stands in a replacement for the replaced text.
AS_IT_STANDS = "\0"


def conditions(code):
    """Negates conditions, except those that a swap or a removed `!` negates already."""
    for match in re.finditer(r"\b(?:if|while) \(", code):
        start, end = match.end(), closing(code, match.end() - 1)
        start += code[start:end].rfind(";") + 1
        condition = code[start:end].strip()
        if re.search(r"[^=!<>]=[^=]", condition):
            continue
        is_simple = not re.search(r"&&|\|\|", condition)
        if is_simple and re.search(r"^!|[=!]=", condition):
            continue
        start += len(code[start:end]) - len(code[start:end].lstrip())
        yield "condition", start, start + len(condition), f"!({AS_IT_STANDS})"


LEADS = re.compile(r"\s*(?:else\b|do\b|case [^:]*:(?!:)|default:)")
CONTROL = re.compile(r"\s*(?:if|for|while) (?:constexpr )?(?=\()")
CALL = re.compile(r"[*(]*[\w:.\[\]()<>*&-]+(?:<[^;]*>)?\(.*\)$|(?:\+\+|--)[\w.>-]+$"
                  r"|[\w.>-]+(?:\+\+|--)$", re.S)
ASSIGNMENT = re.compile(r"[*(]*[\w:.\[\]()>-]+ [-+*/|&^%]?= .*$"
                        r"|[*(]*[\w:.()>-]+\[[^\]]*\] [-+]?= .*$", re.S)


def statements(code):
    """Yields (start, end) of statements that end in ';', without the heads of `if` or `for`."""
    opened, start = [], 0
    for at, char in enumerate(code):
        if char in "([{":
            opened.append((char, start))
        elif char in ")]}" and opened:
            bracket, outer = opened.pop()
            start = at + 1 if bracket == "{" else outer
            if bracket == "{" and opened and opened[-1][0] != "{":
                start = outer
        if char == "{":
            start = at + 1
        elif char == ";" and (not opened or opened[-1][0] == "{"):
            yield body_start(code, start, at), at + 1
            start = at + 1


def body_start(code, start, end):
    while True:
        if match := LEADS.match(code, start, end):
            start = match.end()
        elif match := CONTROL.match(code, start, end):
            start = closing(code, match.end()) + 1
        else:
            return start + len(code[start:end]) - len(code[start:end].lstrip())


def deletions(code):
    for start, end in statements(code):
        body = code[start:end - 1].strip()
        head = re.split(r"[(=]", body, maxsplit=1)[0].strip()
        if body.startswith("return"):
            if not code[end:].lstrip().startswith("}") or code[:start].rstrip().endswith(")"):
                yield "early return", start, end, ";"
        elif re.search(r"= (?:delete|default)$|^\(void\)", body) or " " in head.rstrip("+-*/|&^% "):
            continue
        elif CALL.match(body) or ASSIGNMENT.match(body):
            yield "deletion", start, end, ";"


# Results that are empty already, as `Value()`, or have a mutant of their own.
NOTHING = re.compile(r"true|false|nullptr|0|\{\}|\*this|(?:\w+::)*[A-Z]\w*\(\)|\w+::Null")


def results(code):
    """Replaces results by null, false, 0 or an empty value."""
    for start, end in statements(code):
        match = re.match(r"return (.+);$", code[start:end], re.S)
        if match and not NOTHING.fullmatch(match[1]):
            yield "return", start + len("return "), end - 1, "{}"


MAKERS = (swaps, constants, negations, conditions, deletions, results)


def mutants_of(file, text):
    """Returns all mutants of a source, in the order of their places, without duplicates."""
    code = code_of(text)
    found = {}
    for maker in MAKERS:
        for operator, start, end, new in maker(code):
            new = new.replace(AS_IT_STANDS, text[start:end])
            found.setdefault((start, end, new), Mutant(file, start, end, new, operator))
    return [found[key] for key in sorted(found)]
