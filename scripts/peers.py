#!/usr/bin/env python3
"""Compares the benchmarks of this library with those of its peers, in one run:
peers.py [--ratios FILE] [--rounds N] [--filter RE] [--record] PROGRAM PEER=PROGRAM ...
Without programs it only checks the call and the file.

A ratio is the processor time of a row here divided by that of the same row of a peer, or memory by
memory: below 1 is better. Each round runs all programs in turn, row by row, and a ratio is that of
the medians over the rounds. Rows that look worse than recorded are measured again.

Exit status 1 when a ratio is more than 25 % worse than recorded, a recorded ratio is not measured
or a row fails; 2 when the call is wrong. --record writes the ratios to the file instead."""
import argparse
import pathlib
import re
import statistics
import sys

import benchmarks
import ratios as recorded_ratios
from benchmarks import BenchmarkError

OURS = "kelvo"
REPEATS = 2


class Run:
    """The rows of all programs, and their values from all rounds."""

    def __init__(self, programs, pattern, min_time):
        self.programs = programs
        self.pattern = pattern
        self.min_time = min_time
        self.names = {each: benchmarks.names(path) for each, path in programs.items()}
        self.peers = [each for each in programs if each != OURS]
        everywhere = set().union(*self.names.values())
        self.all = {row for row in everywhere if pattern.search(row)}
        self.rows = sorted((row for row in self.all & self.names[OURS].keys()
                            if any(row in self.names[peer] for peer in self.peers)),
                           key=benchmarks.by_size)
        self.rounds = []
        self.failed = {}

    def measure(self, rows, rounds):
        """Adds values of the rows from as many rounds."""
        for number in range(1, rounds + 1):
            values = {}
            for group in grouped(rows):
                print(f"round {number} of {rounds}: {group[0].split('/')[0]}", flush=True)
                for each in self.programs:
                    self.take(each, group, values)
            self.rounds.append(values)

    def take(self, program, group, values):
        present = [row for row in group if row in self.names[program]]
        if not present:
            return
        full_names = [self.names[program][row] for row in present]
        try:
            found = benchmarks.results(self.programs[program], full_names, self.min_time)
        except BenchmarkError as error:
            self.failed.update({(program, row): str(error) for row in present})
            return
        for row in present:
            if row not in found or found[row].get("error_occurred"):
                said = found.get(row, {}).get("error_message", "it printed no result")
                self.failed[program, row] = said
            else:
                values[program, row] = benchmarks.value_of(found[row])

    def value(self, program, row):
        """Returns the median over the rounds; None for a row that the program lacks."""
        found = [values[program, row] for values in self.rounds if (program, row) in values]
        return statistics.median(found) if found else None

    def ratios(self):
        """Returns {row: {peer: ratio}}."""
        found = {}
        for row in self.rows:
            for peer in self.peers:
                ours, theirs = self.value(OURS, row), self.value(peer, row)
                if ours and theirs:
                    found.setdefault(row, {})[peer] = benchmarks.rounded(ours / theirs)
        return found


def grouped(rows):
    """Returns the rows that differ only in their size together; one run measures them all."""
    groups = {}
    for row in rows:
        groups.setdefault(row.split("/")[0], []).append(row)
    return groups.values()


def absent(run, recorded, ratios):
    """Returns the pairs (row, peer) that are recorded and were to be measured, but were not. A row
    that exists nowhere any more counts unless the filter leaves it out."""
    return [(row, peer) for row, of_row in sorted(recorded.items()) for peer in of_row
            if run.pattern.search(row) and peer not in ratios.get(row, {})]


def text_of(row, value):
    if value is None:
        return "-"
    return (benchmarks.bytes_text if row.startswith("memory") else benchmarks.time_text)(value)


def table(run, ratios, recorded):
    """Returns the lines of the table: a row for each benchmark, two columns for each peer."""
    head = f"{'':30}" + "".join(f"{each:>11}" for each in run.programs)
    lines = [head + "".join(f"{'to ' + peer:>10} {'recorded':>9}" for peer in run.peers)]
    for row in run.rows:
        line = f"{row:30}"
        for program in run.programs:
            line += f"{text_of(row, run.value(program, row)):>11}"
        for peer in run.peers:
            ratio, known = ratios.get(row, {}).get(peer), recorded.get(row, {}).get(peer)
            line += f"{short(ratio):>10} {short(known):>9}"
        lines.append(line)
    return lines


def short(ratio):
    return "-" if ratio is None else f"{ratio:.3g}"


def one_sided(run):
    """Returns a line for each program that lacks rows of the others."""
    lines = []
    wanted = run.all - (run.names[OURS].keys() - set(run.rows))
    for program in run.programs:
        lacking = sorted(wanted - run.names[program].keys(), key=benchmarks.by_size)
        if lacking:
            lines.append(f"missing: {program} has no {', '.join(lacking)}")
    return lines


def findings(run, ratios, recorded):
    """Returns the lines that make the comparison fail."""
    lines = [f"failed: {row} of {program}: {said}"
             for (program, row), said in sorted(run.failed.items())]
    lines += [f"missing: {row} against {peer} is recorded but was not measured"
              for row, peer in absent(run, recorded, ratios)]
    lines += [f"worse: {row} against {peer}: {ratio:.3g}, recorded {known:.3g}, "
              f"{100 * (ratio / known - 1):.0f} % worse"
              for row, peer, ratio, known in recorded_ratios.worse(recorded, ratios)]
    return lines


def unrecorded(ratios, recorded):
    rows = [row for row in ratios if ratios[row].keys() - recorded.get(row, {}).keys()]
    return [f"not recorded yet: {', '.join(rows)}"] if rows else []


def compare(run, recorded, rounds):
    """Measures and reports; returns the exit status."""
    run.measure(run.rows, rounds)
    for _ in range(REPEATS):
        suspects = {row for row, *_ in recorded_ratios.worse(recorded, run.ratios())}
        if not suspects:
            break
        run.measure(sorted(suspects), rounds)
    ratios = run.ratios()
    wrong = findings(run, ratios, recorded)
    count = sum(len(of_row) for of_row in ratios.values())
    print("\n".join(["", *table(run, ratios, recorded), "", *one_sided(run),
                     *unrecorded(ratios, recorded), *wrong,
                     f"{count} ratios of {len(run.rows)} rows, {len(wrong)} findings"]))
    return 1 if wrong else 0


def record(run, path, rounds, is_filtered):
    """Measures and writes the ratios; with a filter, the others stay as recorded."""
    known = recorded_ratios.read(path) if is_filtered and path.exists() else {}
    run.measure(run.rows, rounds)
    measured = run.ratios()
    print("\n".join(["", *table(run, measured, known), "", *one_sided(run)]))
    if run.failed:
        print("\n".join([*findings(run, measured, {}), "Nothing was recorded."]))
        return 1
    recorded_ratios.write(path, known | measured)
    print(f"Recorded the ratios of {len(measured)} rows in {path}")
    return 0


def positive(text):
    if not re.fullmatch(r"0*[1-9][0-9]{0,5}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is no count of rounds")
    return int(text)


def pattern_of(text):
    try:
        return re.compile(text)
    except re.error as error:
        raise argparse.ArgumentTypeError(f"'{text}' is no regular expression: {error}") from error


def read_arguments(arguments):
    parser = argparse.ArgumentParser(prog="scripts/bench --against peers", add_help=False,
                                     usage="%(prog)s [--rounds N] [--filter RE] [--record]")
    parser.add_argument("ours", nargs="?", help=argparse.SUPPRESS)
    parser.add_argument("peers", nargs="*", type=lambda text: tuple(text.split("=", 1)),
                        help=argparse.SUPPRESS)
    parser.add_argument("--ratios", type=pathlib.Path, default=pathlib.Path("bench/ratios.json"))
    parser.add_argument("--rounds", type=positive, default=5)
    parser.add_argument("--filter", type=pattern_of, default=re.compile(""))
    parser.add_argument("--min-time", default="0.05", help=argparse.SUPPRESS)
    parser.add_argument("--record", action="store_true")
    return parser.parse_args(arguments)


def work(asked):
    recorded = {} if asked.record else recorded_ratios.read(asked.ratios)
    if not asked.ours:
        return 0
    run = Run({OURS: asked.ours, **dict(asked.peers)}, asked.filter, asked.min_time)
    if not run.rows:
        raise BenchmarkError(f"No row that can be compared matches '{asked.filter.pattern}'")
    if asked.record:
        return record(run, asked.ratios, asked.rounds, bool(asked.filter.pattern))
    return compare(run, recorded, asked.rounds)


def main(arguments):
    try:
        return work(read_arguments(arguments))
    except BenchmarkError as error:
        print(f"\n{error}")
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
