#!/usr/bin/env python3
"""Measures the figures that docs/performance.md shows, and records them:
figures.py [--figures FILE] [--rounds N] PROGRAM...

Each row is measured once a round, and the medians are recorded. Rows that need more memory than the
machine has are named and left out. Exit status 1, and nothing is recorded, when another row fails.
Without programs it only checks the call."""
import argparse
import pathlib
import statistics
import sys

import benchmarks
import performance_rows
from benchmarks import BenchmarkError
from peers import positive

# The benchmark says this of a scene that does not fit into the memory of the machine.
TOO_LARGE = "not enough free memory"


def counters(result):
    """Returns the numbers that pages show: processor time in nanoseconds, and what rows count."""
    counted = {name: number for name, number in result.items()
               if name.endswith(performance_rows.COUNTERS)}
    return {"ns": result["cpu_time"] * benchmarks.NANOSECONDS[result["time_unit"]]} | counted


def measure(program, names, rounds, min_time):
    """Returns {row: {counter: [a number for each round]}}, and {row: message} of failed rows."""
    found, failed = {}, {}
    for number in range(1, rounds + 1):
        for row, name in names.items():
            print(f"round {number} of {rounds}: {row}", flush=True)
            result = benchmarks.results(program, [name], min_time).get(row, {})
            if "cpu_time" not in result or result.get("error_occurred"):
                failed[row] = result.get("error_message", "it printed no result")
                continue
            for counter, value in counters(result).items():
                found.setdefault(row, {}).setdefault(counter, []).append(value)
    return found, failed


def medians(found):
    return {row: {name: benchmarks.rounded(statistics.median(values))
                  for name, values in of_row.items()} for row, of_row in found.items()}


def measure_all(asked):
    """Returns the figures and the messages of failed rows."""
    wanted, figures, failed = performance_rows.all_rows(), {}, {}
    for program in asked.programs:
        names = {row: name for row, name in benchmarks.names(program).items() if row in wanted}
        found, wrong = measure(program, names, asked.rounds, asked.min_time)
        figures |= medians(found)
        failed |= wrong
    missing = wanted - figures.keys() - failed.keys()
    return figures, failed | {row: "no program has this row" for row in missing}


def work(asked):
    if not asked.programs:
        return 0
    figures, failed = measure_all(asked)
    print()
    for row, message in sorted(failed.items()):
        print(f"left out: {row}: {message}")
    if any(TOO_LARGE not in message for message in failed.values()):
        print("Nothing was recorded.")
        return 1
    benchmarks.write_json(asked.figures, {"about": performance_rows.ABOUT, "rows": figures})
    print(f"Recorded {len(figures)} rows in {asked.figures}")
    return 0


def main(arguments):
    parser = argparse.ArgumentParser(prog="scripts/bench --figures", add_help=False,
                                     usage="%(prog)s [--rounds N]")
    parser.add_argument("programs", nargs="*", help=argparse.SUPPRESS)
    parser.add_argument("--figures", type=pathlib.Path, default=pathlib.Path("bench/figures.json"))
    parser.add_argument("--rounds", type=positive, default=1)
    parser.add_argument("--min-time", default="0.05", help=argparse.SUPPRESS)
    try:
        return work(parser.parse_args(arguments))
    except BenchmarkError as error:
        print(f"\n{error}")
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
