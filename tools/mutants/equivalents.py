"""The mutants that no test can find, each with the reason: blocks of four lines,

    path of the source
    - the line as it stands
    + the line as the mutant has it
    the reason, one sentence

with an empty line between blocks. They are known by their text, so that they may move in the
file."""


def read(text):
    """Returns {(file, before, after): reason}; ValueError names a block that is malformed."""
    known = {}
    for block in text.split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if not line.startswith("#")]
        if not any(lines):
            continue
        if len(lines) != 4 or not (lines[1].startswith("- ") and lines[2].startswith("+ ")):
            raise ValueError(f"not a file, two lines and a reason: {lines[0]}")
        known[lines[0], lines[1][2:], lines[2][2:]] = lines[3]
    return known


def key(mutant, text):
    return mutant.file, mutant.before(text), mutant.after(text)
