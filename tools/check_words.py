#!/usr/bin/env python3
"""Finds words that do not belong in the tree: names of outside papers, paths of a machine, marks of
unfinished work, tests switched off, and comments that open without naming their noun.
check_words.py [ROOT]"""
import re
import sys

import tree_files

# Each pattern is written so that it does not find itself here.
RULES = (
    ("names papers outside the tree",
     r"\b(?:[Ss]pe[c]|[Ss]pe[c]s|[Ss]pe[c]ification|SPE[C])\b|\bPar[t] [0-9]+\.[0-9]"
     r"|\b[Pp]er the Par[t]"),
    ("names a path of a machine or a workplace",
     r"/(?:wor[k]|far[m])/[a-z]|\bsession(?:s)? of (?:mine|yours)|\bas an A[I]\b|\bsub[a]gent"),
    ("is unfinished",
     r"\b(?:TOD[O]|FIXM[E]|XX[X]|HAC[K])\b|not (?:yet )?implemente[d]|\bstu[b](?:bed)?\b"
     r"|place[h]older"),
    ("is a test switched off or without a fact",
     r"\bDISABLE[D]_[A-Z]|GTEST_SKI[P]\(|\bSUCCEE[D]\(\)|(?:EXPECT|ASSERT)_TRUE\(tru[e]\)"),
    ("is a comment that names no noun",
     r'^\s*(?:///?|#|""") ?(?:What|Those|One that|Whoever|Whatever)\b'),
)
RULES = tuple((meaning, re.compile(pattern)) for meaning, pattern in RULES)


def excused(name, meaning, line):
    """Pictures may contain any letters, documents may write about unfinished work, and headings of
    documents only look like comments."""
    if meaning == "is a comment that names no noun":
        return name.endswith(".md")
    if meaning != "is unfinished":
        return False
    return name.endswith(".svg") or bool(
        name.endswith(".md") and re.search(r"\b(?:no|never|without) ", line))


def check(root):
    findings = []
    for name in tree_files.files(root):
        data = (root / name).read_bytes()
        if b"\0" in data[:8192]:
            continue
        for number, line in enumerate(data.decode("utf-8", "replace").splitlines(), 1):
            for meaning, pattern in RULES:
                found = pattern.search(line)
                if found and not excused(name, meaning, line):
                    findings.append(f"{name}:{number}: {meaning}: {found[0]}")
    return findings


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
