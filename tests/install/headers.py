#!/usr/bin/env python3
"""Every installed header compiles alone, and the headers that it includes are installed too:
headers.py INCLUDE_DIR COMPILER"""
import os
import pathlib
import re
import subprocess
import sys

OWN = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)
FLAGS = ("-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
         "-Wshadow", "-Werror", "-x", "c++")
NEEDED = ("kelvo/kelvo.h", "kelvo/sdk/kelvo.h", "kelvo/sdk/library_entry.h",
          "kelvo/sdk/callback_table.h", "kelvo/sdk/interfaces/i_node.h",
          "kelvo/files/scene_file.h", "kelvo/base/string.h")


def faults_of(include, header, compiler):
    text = (include / header).read_text(encoding="utf-8")
    faults = [f"{header}: includes {other}, which is not installed"
              for other in OWN.findall(text) if not (include / other).is_file()]
    run = subprocess.run([compiler, *FLAGS, "-I", str(include), "-include", header, os.devnull],
                         capture_output=True, text=True, check=False)
    if run.returncode != 0 and not faults:
        faults.append(f"{header}: does not compile alone:\n{run.stderr}")
    return faults


def main(include, compiler):
    headers = sorted(path.relative_to(include).as_posix() for path in include.rglob("*.h"))
    faults = [f"{header}: not installed" for header in NEEDED if header not in headers]
    faults += [f"{header}: belongs to the implementation" for header in headers
               if header.startswith("kelvo/sdk/impl/")]
    faults += [f"{path}: an empty folder" for path in include.rglob("*")
               if path.is_dir() and not any(path.iterdir())]
    for header in headers:
        faults += faults_of(include, header, compiler)
    print("\n".join(faults) if faults else f"{len(headers)} headers installed")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2]))
