#!/usr/bin/env python3
"""Counts the single tests in a log: count_tests.py LOG prints "PASSED FAILED".

LOG is the output of `ctest -V`: a GoogleTest program counts by its own closing lines, any other
program as one test. With --closing the last line of the log reads "N passed, N failed"."""
import re
import sys

RESULT = re.compile(r"^\s*\d+/\d+ Test +#(\d+): (\S+) \.*\s*(\**\w[\w ]*\w)\s+[\d.]+ sec")
PASSED = re.compile(r"^(\d+): \[  PASSED  \] (\d+) tests?\.")
FAILED = re.compile(r"^(\d+): \[  FAILED  \] (\d+) tests?, listed below")
BRIEF = re.compile(r"^(\d+): \[==========\] (\d+) tests? from \d+ test suites? ran\.")


def count_ctest(lines):
    ran, failures, result = {}, {}, {}
    for line in lines:
        if match := BRIEF.match(line):
            ran[match[1]] = int(match[2])
        elif match := FAILED.match(line):
            failures[match[1]] = int(match[2])
        elif match := RESULT.match(line):
            result[match[1]] = match[3] == "Passed"
    passed = failed = 0
    for number, good in result.items():
        bad = failures.get(number, 0 if good else 1)
        passed += max(ran.get(number, 1) - bad, 0)
        failed += bad
    return passed, failed


def count_closing(lines):
    for line in reversed(lines):
        if match := re.match(r"^(\d+) passed, (\d+) failed$", line.strip()):
            return int(match[1]), int(match[2])
    return 0, 1


def main(arguments):
    with open(arguments[-1], encoding="utf-8", errors="replace") as log:
        lines = log.readlines()
    count = count_closing if "--closing" in arguments else count_ctest
    passed, failed = count(lines)
    if passed + failed == 0:
        failed = 1
    print(passed, failed)


if __name__ == "__main__":
    main(sys.argv[1:])
