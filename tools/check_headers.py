#!/usr/bin/env python3
"""Checks that every header of the floors, and every other header for clients, compiles alone and
without a warning. check_headers.py [ROOT]"""
import concurrent.futures
import os
import subprocess
import sys

import tree_files

AT_A_TIME = 2
FLAGS = ("-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
         "-Wshadow", "-Werror", "-x", "c++")


def compile_alone(root, name):
    compiler = os.environ.get("CXX", "g++")
    command = [compiler, *FLAGS, "-I", str(root), "-include", name, os.devnull]
    run = subprocess.run(command, cwd=root, capture_output=True, text=True, check=False)
    if run.returncode == 0:
        return None
    reasons = [line for line in run.stderr.splitlines() if "error:" in line]
    return f"{name}: does not compile alone: {(reasons or ['no reason given'])[0]}"


def check(root):
    names = [name for name in tree_files.files(root, ".h") if tree_files.is_for_use(name)]
    with concurrent.futures.ThreadPoolExecutor(AT_A_TIME) as workers:
        faults = workers.map(lambda name: compile_alone(root, name), names)
        return [fault for fault in faults if fault]


if __name__ == "__main__":
    sys.exit(tree_files.run_alone(check))
