#!/usr/bin/env python3
"""Tells which small faults in the library no test finds.

mutants.py --tree TREE --build BUILD [FILE...]

TREE has the sources, BUILD their build with the tests. Without a FILE mutates the sources of the
core. The exit status is 0 when the share killed reaches the wanted share, 1 when it is less, 2 for
a wrong call."""
import argparse
import collections
import concurrent.futures
import math
import pathlib
import random
import sys

import equivalents
import mutations
import switchboard
import trial

CORE = ("kelvo/base/*.cpp", "kelvo/base/*.h", "kelvo/sdk/input*.*", "kelvo/sdk/output.h",
        "kelvo/sdk/node*.*", "kelvo/sdk/impl/*/node*.cpp", "kelvo/sdk/impl/*/input*.cpp",
        "kelvo/sdk/impl/*/output*.cpp")
EQUIVALENT = "tests/mutants_equivalent.txt"


def arguments(words):
    parser = argparse.ArgumentParser(prog="scripts/mutants", description=__doc__.splitlines()[0])
    parser.add_argument("--sample", type=int, default=300, help="how many mutants, 0 for all")
    parser.add_argument("--seed", type=int, default=1, help="which sample")
    parser.add_argument("--at-least", type=float, default=98, help="per cent to be killed")
    parser.add_argument("--jobs", type=int, default=2, choices=(1, 2), help="mutants at a time")
    parser.add_argument("--longest", type=float, default=math.inf, metavar="SECONDS",
                        help="leave out longer suites, so that more may be killed than found")
    parser.add_argument("--report", type=pathlib.Path, help="a file that gets the result as well")
    parser.add_argument("--tree", type=pathlib.Path, required=True, help="the sources")
    parser.add_argument("--build", type=pathlib.Path, required=True, help="they and tests, built")
    parser.add_argument("files", nargs="*", metavar="FILE")
    return parser.parse_intermixed_args(words)


def sources(tree, files):
    """Returns the sources to mutate, as paths from the root of the tree."""
    if not files:
        return sorted({str(path.relative_to(tree)) for glob in CORE for path in tree.glob(glob)})
    return sorted(set(files))


def sample(mutants, count, seed):
    """Returns `count` mutants (0: all) in their order, always the same for a seed."""
    if count == 0 or count >= len(mutants):
        return mutants
    chosen = random.Random(seed).sample(range(len(mutants)), count)
    return [mutants[index] for index in sorted(chosen)]


def summary(outcomes):
    """Returns the closing lines, and the share killed among the mutants that a test can find."""
    counts = collections.Counter(outcomes)
    meant = counts["killed"] + counts["survived"]
    share = 100 * counts["killed"] / meant if meant else 0
    parts = ", ".join(f"{counts[name]} {name}"
                      for name in ("killed", "survived", "equivalent", "not compiled"))
    closing = f"{share:.1f} % killed of {meant} that tests can find"
    return f"{len(outcomes)} mutants: {parts}\n{closing}", share


class Run:
    def __init__(self, trials, mutants, texts, known, jobs):
        self.trials, self.mutants, self.texts, self.jobs = trials, mutants, texts, jobs
        self.equivalent = {number for number, mutant in enumerate(mutants)
                           if equivalents.key(mutant, texts[mutant.file]) in known}
        tried = {number: mutant for number, mutant in enumerate(mutants)
                 if number not in self.equivalent}
        self.switchboard = switchboard.Switchboard(trials, tried, texts, jobs)

    def judge(self, number):
        mutant = self.mutants[number]
        if number in self.equivalent:
            return "equivalent", ""
        if self.switchboard.has(number):
            return self.switchboard.try_mutant(number)
        return self.trials.try_mutant(mutant, self.texts[mutant.file])

    def all(self):
        """Tries all mutants, prints each as it ends, and returns their outcomes in order."""
        outcomes = []
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            judged = pool.map(self.judge, range(len(self.mutants)))
            for mutant, (outcome, by) in zip(self.mutants, judged):
                outcomes.append(outcome)
                place = f"{mutant.file}:{mutant.line(self.texts[mutant.file])}"
                print(f"{len(outcomes)}/{len(self.mutants)} {outcome} {place} {by}", flush=True)
        return outcomes

    def survivors(self, outcomes):
        for mutant, outcome in zip(self.mutants, outcomes):
            if outcome == "survived":
                text = self.texts[mutant.file]
                yield (f"{mutant.file}:{mutant.line(text)}: {mutant.operator}\n"
                       f"    - {mutant.before(text)}\n    + {mutant.after(text)}")


def start(options):
    """Returns the run, ready to go; a ValueError describes a wrong call."""
    tree = options.tree.resolve()
    listed = tree / EQUIVALENT
    known = equivalents.read(listed.read_text()) if listed.exists() else {}
    build = options.build.resolve()
    trials = trial.Trials(tree, build, build / "mutants", options.longest)
    files = sources(tree, options.files)
    for file in files:
        if not trials.knows(file):
            raise ValueError(f"{file} is no source of the library")
    print("measuring the tests", flush=True)
    trials.measure()
    texts = {file: (tree / file).read_text() for file in files}
    found = [mutant for file, text in texts.items() for mutant in mutations.mutants_of(file, text)]
    chosen = sample(found, options.sample, options.seed)
    print("building the mutants", flush=True)
    return Run(trials, chosen, texts, known, options.jobs)


def main(words):
    options = arguments(words)
    try:
        run = start(options)
    except (ValueError, trial.Broken) as error:
        print(error, file=sys.stderr)
        return 2
    outcomes = run.all()
    lines, share = summary(outcomes)
    report = "\n".join([*run.survivors(outcomes), lines])
    print(report)
    if options.report:
        options.report.write_text(report + "\n")
    return 0 if share >= options.at_least else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
