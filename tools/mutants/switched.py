"""Puts all mutants of a source into one text, each behind its number, so that one build has all."""
import dataclasses
import re

import mutations

SCOPE = re.compile(r"\b(?:namespace|class|struct)\b[^()=]*$")
# A constant expression cannot ask for the number of the mutant at run time.
CONSTANT = re.compile(r"\b(?:constexpr|consteval)\b")
DECLARATIONS = "extern int mutantSwitch; extern unsigned char reachedFunctions[];\n"


def functions(code):
    """Yields (start, end) of the bodies of functions, brackets included, outermost ones alone."""
    at = head = 0
    while at < len(code):
        char = code[at]
        if char in ";}":
            head = at + 1
        elif char == "(":
            at = mutations.closing(code, at)
        elif char == "{" and SCOPE.search(code[head:at]):
            head = at + 1
        elif char == "{" and not is_value_of_member(code[head:at]):
            end = mutations.closing(code, at) + 1
            if is_function(code[head:at]):
                yield at, end
            at, head = end - 1, end
        elif char == "{":
            at = mutations.closing(code, at)
        at += 1


def is_value_of_member(head):
    """Tells whether a '{' behind this head of a constructor begins the value of a member."""
    return bool(re.search(r"[\w>]$", head))


def is_function(head):
    outer = head
    while "(" in outer:
        start = outer.index("(")
        outer = outer[:start] + outer[mutations.closing(outer, start) + 1:]
    return "(" in head and " = " not in outer and not CONSTANT.search(head)


@dataclasses.dataclass
class SwitchedText:
    """A source with mutants. A function's number is its place in `reachedFunctions`."""
    text: str = ""
    # Mutants by the lines that have them, and the functions of mutants.
    mutant_at: dict = dataclasses.field(default_factory=dict)
    function_of: dict = dataclasses.field(default_factory=dict)

    def add(self, piece, mutant=None):
        line = self.text.count("\n") + 1
        self.text += piece
        for at in range(line, line + piece.count("\n")):
            self.mutant_at[at] = mutant


def switched(text, mutants, first_function):
    """Returns the SwitchedText of a source with mutants, given by their numbers. Leaves out those
    outside of functions. The numbers of functions begin with `first_function`."""
    made = SwitchedText()
    made.add(DECLARATIONS)
    done, function = 0, first_function
    for start, end in functions(mutations.code_of(text)):
        inside = {number: mutant for number, mutant in mutants.items()
                  if start < mutant.start and mutant.end <= end}
        if not inside:
            continue
        made.add(f"{text[done:start]}\n{{ reachedFunctions[{function}] = 1;\n"
                 "switch (mutantSwitch) {\n")
        for number, mutant in inside.items():
            body = text[start:mutant.start] + mutant.new + text[mutant.end:end]
            made.add(f"case {number}: {body}\nbreak;\n", number)
            made.function_of[number] = function
        made.add(f"default: {text[start:end]}\n}} }}\n")
        done, function = end, function + 1
    made.add(text[done:])
    return made
