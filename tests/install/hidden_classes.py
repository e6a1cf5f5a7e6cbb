#!/usr/bin/env python3
"""Prints one pattern per class of the implementation that is not for export, for the start of a
symbol: hidden_classes.py INCLUDE_DIR"""
import pathlib
import re
import sys

# Classes at the level of the namespace, not templates: those live where they are used.
CLASS = re.compile(r"^(?<!>\n)(?:class|struct) (\w+)(?: final)?(?: : [^{;]*)? \{", re.MULTILINE)


def main(include):
    for header in sorted(pathlib.Path(include, "sdk", "impl").glob("*.h")):
        for name in CLASS.findall(header.read_text(encoding="utf-8")):
            print(rf"^qv::kelvo_sdk::impl::{name}(::|$)")


if __name__ == "__main__":
    main(sys.argv[1])
