#!/usr/bin/env python3
"""Checks that clang-format would change no C++ file. check_format.py [ROOT]"""
import re
import subprocess
import sys

import tree_files


def check(root):
    names = tree_files.files(root, *tree_files.SOURCES)
    if not names:
        return []
    run = subprocess.run(["clang-format", "--dry-run", "-Werror", "--style=file", *names],
                         cwd=root, capture_output=True, text=True, check=False)
    found = re.findall(r"^([^\s:][^:\n]*):(\d+):\d+: error:", run.stderr, re.MULTILINE)
    first = {}
    for name, number in found:
        first.setdefault(name, []).append(number)
    findings = [f"{name}:{numbers[0]}: not as clang-format writes it ({len(numbers)} places)"
                for name, numbers in sorted(first.items())]
    if run.returncode and not findings:
        findings.append("clang-format: " + run.stderr.strip()[:500])
    return findings


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
