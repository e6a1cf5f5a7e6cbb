#!/usr/bin/env python3
"""Runs all checks of the tree: check_tree.py [--only NAME,...] [ROOT]

One line per check, "ok" or "FAIL" and its name, with the findings below; at the end how many
passed. Exit status 0 when all did, 1 when one failed, 2 when the call is wrong."""
import pathlib
import sys

import check_format
import check_headers
import check_layers
import check_lengths
import check_rooms
import check_words
import tree_files

CHECKS = {
    "layers": check_layers.check,
    "lengths": check_lengths.check,
    "rooms": check_rooms.check,
    "words": check_words.check,
    "format": check_format.check,
    "headers": check_headers.check,
}


def report(root, names):
    """Runs the checks and prints; returns how many failed."""
    failed = 0
    for name in names:
        findings = CHECKS[name](root)
        failed += bool(findings)
        print(("FAIL  " if findings else "ok    ") + name)
        for finding in findings:
            print("      " + finding)
    print(f"{len(names) - failed} passed, {failed} failed")
    return failed


def main(arguments):
    names = list(CHECKS)
    if arguments[:1] == ["--only"] and len(arguments) > 1:
        names, arguments = arguments[1].split(","), arguments[2:]
    root = pathlib.Path(arguments[0]).resolve() if arguments else tree_files.HOME
    if len(arguments) > 1 or not root.is_dir() or any(name not in CHECKS for name in names):
        print(__doc__, file=sys.stderr)
        return 2
    return 1 if report(root, names) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
