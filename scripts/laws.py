#!/usr/bin/env python3
"""Helps scripts/soak with the tests that have the label "laws".

laws.py programs    prints the names in the JSON of `ctest --show-only`
laws.py sum LOG...  sums up the logs of `ctest -V` in files ROUND-SEED.log, threads-SEED.log and
                    models-SEED.log; status 1 when a failure was found"""
import json
import pathlib
import re
import sys

LAW = re.compile(r"^\d+: law (.+): (\d+) trials, (\d+) found, seed \d+$")
RESULT = re.compile(r"^\s*\d+/\d+ Test +#(\d+): (\S+) \.*\s*(\**\w[\w ]*\w)\s+[\d.]+ sec")
TOLD = re.compile(r"^(\d+): (.*(?:Failure|Repeat it with|ERROR: |runtime error|SUMMARY).*)$")
MOST_TOLD = 20
# How a test is repeated, by the kind of its log.
REPEATS = {
    "threads": "GTEST_FILTER='SnapshotThreads.*' KELVO_LAWS_FULL=1 KELVO_LAWS_SEED={} "
               "ctest --preset tsan",
    "models": "KELVO_ALL_MODELS=1 ctest --preset asan"}
REPEAT_A_ROUND = "KELVO_LAWS_FULL=1 KELVO_LAWS_SEED={} ctest --preset asan"


def programs(text):
    return [test["name"] for test in json.loads(text)["tests"]]


def read(log, laws):
    """Sums up the laws of a log; returns the tests that failed, each with its message."""
    told, failed, ended = {}, [], False
    for line in log.read_text(encoding="utf-8", errors="replace").splitlines():
        if match := LAW.match(line):
            trials, found, rounds = laws.get(match[1], (0, 0, 0))
            laws[match[1]] = trials + int(match[2]), found + int(match[3]), rounds + 1
        elif match := TOLD.match(line):
            told.setdefault(match[1], []).append(match[2])
        elif match := RESULT.match(line):
            ended = True
            if match[3] != "Passed":
                failed.append((match[2], told.get(match[1], [])))
    return failed if ended else [("ctest", ["no test ended"])]


def sum_up(logs):
    laws, failed = {}, []
    for log in logs:
        kind, seed = log.stem.split("-")
        repeat = REPEATS.get(kind, REPEAT_A_ROUND).format(seed)
        failed += [(repeat, name, told) for name, told in read(log, laws)]
    for law, (trials, found, rounds) in sorted(laws.items()):
        print(f"{law:<34} {trials:9} trials {rounds:5} rounds {found:6} found")
    for repeat, name, told in failed:
        print(f"\n{name} failed; repeat it with\n    {repeat} -V -R '^{name}$'")
        for line in told[:MOST_TOLD]:
            print(f"    {line}")
    rounds = sum(log.stem.split("-")[0] not in REPEATS for log in logs)
    print(f"\n{rounds} round{'s' * (rounds != 1)}, {len(failed)} failed")
    return 1 if failed else 0


def main(arguments):
    if arguments[:1] == ["programs"]:
        print("\n".join(programs(sys.stdin.read())))
        return 0
    return sum_up([pathlib.Path(each) for each in arguments[1:]])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
