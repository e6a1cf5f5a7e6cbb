"""Tries mutants in functions of sources: compiles all at once, each behind its number, and runs the
tests that reach the mutant's function."""
import collections
import concurrent.futures
import os
import pathlib
import re
import subprocess
import tempfile

import switched
import trial

RUNTIME = pathlib.Path(__file__).with_name("switch.cpp")
# The tests of a mutant run in batches of growing time, the quick ones first.
FIRST_BATCH_MS = 300
GROWTH = 4


class Switchboard:
    """Knows mutants by their numbers, the keys of `mutants`."""

    def __init__(self, trials, mutants, texts, jobs):
        self.trials, self.mutants, self.texts = trials, mutants, texts
        self.folder = trials.scratch / "switched"
        self.folder.mkdir(exist_ok=True)
        self.function_of = {}
        self.tests_of = collections.defaultdict(list)
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            objects = [made for made in pool.map(lambda part: self.compile(*part), self.parts())
                       if made]
            if objects:
                objects.append(self.compile_runtime())
                list(pool.map(lambda program: self.link(program, objects), trials.programs))
                list(pool.map(self.find_reached, trials.programs))

    def parts(self):
        """Returns (file, its mutants, its first function's number) of all sources."""
        by_file, function = collections.defaultdict(dict), 0
        for number, mutant in self.mutants.items():
            if not mutant.file.endswith(".h"):
                by_file[mutant.file][number] = mutant
        parts = []
        for file, mutants in by_file.items():
            parts.append((file, mutants, function))
            function += len(mutants)
        return parts

    def compile(self, file, mutants, first_function):
        """Returns the object of a source with its mutants, except those that do not compile, or
        None if it has none."""
        changed = self.folder / file
        changed.parent.mkdir(parents=True, exist_ok=True)
        while True:
            made = switched.switched(self.texts[file], mutants, first_function)
            if not made.function_of:
                return None
            changed.write_text(made.text)
            try:
                self.trials.compile_one(file, changed, self.folder, f"{changed}.o")
            except trial.NotCompiled as error:
                refused = refused_by(error.output, changed, made)
                mutants = {number: mutant for number, mutant in mutants.items()
                           if refused and number not in refused}
            else:
                self.function_of.update(made.function_of)
                return f"{changed}.o"

    def compile_runtime(self):
        made = self.folder / "switch.o"
        self.trials.compile_one(self.trials.any_test, RUNTIME, self.folder, made)
        return made

    def link(self, program, objects):
        trial.must(program.link_command(objects, set(), self.folder / program.name),
                   self.trials.build)

    def find_reached(self, program):
        """Runs the program without a mutant, to know the times of its tests and what they reach."""
        listed = self.folder / f"{program.name}.reached"
        listed.unlink(missing_ok=True)
        left_out = ":".join(f"{suite}.*" for suite in self.trials.too_long(program))
        done = subprocess.run(
            [self.folder / program.name, "--gtest_brief=1", f"--gtest_filter=-{left_out}"],
            cwd=self.trials.build, env={**os.environ, "MUTANTS_REACHED": str(listed)},
            capture_output=True)
        if done.returncode != 0:
            raise trial.Broken(f"{program.name} fails with mutants that are turned off")
        for line in listed.read_text().splitlines() if listed.exists() else ():
            name, took, *reached = line.split()
            for function in reached:
                self.tests_of[int(function)].append((program, name, int(took)))

    def has(self, number):
        return number in self.function_of

    def try_mutant(self, number):
        """Returns ("killed", by) or ("survived", "")."""
        with tempfile.TemporaryDirectory(dir=self.folder) as folder:
            for program, names, took in self.batches(number):
                round = trial.Round(program, ":".join(names), took / 1000)
                if by := trial.run(round, self.folder / program.name, pathlib.Path(folder),
                                   MUTANTS_SWITCH=str(number)):
                    return "killed", by
        return "survived", ""

    def batches(self, number):
        """Yields (program, tests, their time): tests of the mirror first, then the quicker ones."""
        mirror = trial.suites_of(trial.mirror_tests(self.trials.tree, self.mutants[number].file))
        tests = sorted(self.tests_of[self.function_of[number]],
                       key=lambda test: (not set(re.split("[./]", test[1])) & mirror, test[2]))
        budget = FIRST_BATCH_MS
        while tests:
            batch, spent = collections.defaultdict(list), 0
            while tests and (spent == 0 or spent + tests[0][2] <= budget):
                program, name, took = tests.pop(0)
                batch[program].append((name, took))
                spent += took
            for program, chosen in batch.items():
                yield program, [name for name, _ in chosen], sum(took for _, took in chosen)
            budget *= GROWTH


def refused_by(output, changed, made):
    """Returns the numbers of the mutants at whose lines the compiler found errors."""
    lines = re.findall(rf"{re.escape(str(changed))}:(\d+):\d+:\s+(?:error|required)", output)
    return {made.mutant_at.get(int(line)) for line in lines} - {None}
