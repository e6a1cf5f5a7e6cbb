"""The mutants that no test can find, each with the reason: blocks of four lines,

    path of the source
    - the line in the source
    + the line in the mutant
    the reason, one sentence

with an empty line between blocks. Mutants are identified by their text, so that lines may
move within the file."""


def read(text):
    """Returns {(file, before, after): reason}; a ValueError names a malformed block."""
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
