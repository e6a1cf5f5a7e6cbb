"""Finds the commands in the pages, and their documented output."""
import re

import doc_text

# A line of a code block that begins with one of these programs is a command.
PROGRAMS = ("kelvo", "cmake", "ctest", "git", "pkg-config", "cp", "cd", "mkdir", "printf", "grep",
            "c++", "g++", "export", "python3")

# A line that begins with one of these programs would be a command that the list above lacks.
OTHER_PROGRAMS = ("apt", "apt-get", "bash", "cat", "clang++", "curl", "dot", "echo", "env", "ls",
                  "make", "mv", "ninja", "pip", "rm", "sed", "sh", "sudo", "tar")


def is_command(line):
    if re.fullmatch(r"kelvo (scene|types) \d", line):  # The head of a text.
        return False
    word = line.split(" ")[0]
    return word in PROGRAMS or re.match(r"(scripts|build)/\w+$|[A-Z_]+=", word)


def without_explanation(line):
    """Cuts off the explanation in the right-hand column, after three blanks or a '#'."""
    return re.sub(r"(\s{3,}| +# ).*$", "", line.rstrip())


def joined(block):
    """Returns the lines of a block without empty ones; a line that ends in '\\' joins the next."""
    lines = re.sub(r" *\\\n *", " ", block.text).split("\n")
    return [line for line in map(str.strip, lines) if line and not line.startswith("#")]


def commands(page):
    """Returns (block, command, its documented output or None) for each command."""
    found = []
    blocks = doc_text.blocks(page)
    for block, following in zip(blocks, [*blocks[1:], None]):
        lines = [without_explanation(line) for line in joined(block) if is_command(line)]
        for line in lines:
            says = doc_text.printed_by(block, following) if line is lines[-1] else None
            found.append((block, line, says))
    return found
