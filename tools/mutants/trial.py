"""Tries mutants: compiles the changed file, links it into the test programs and runs them.

Writes only into the given folder, so that several mutants can be tried at the same time and the
sources do not change."""
import collections
import dataclasses
import json
import math
import os
import pathlib
import re
import resource
import shlex
import subprocess
import tempfile

LIBRARY = "libkelvo_sdk.a"
SEEN = re.compile(r"\[       OK \] ([\w/.]+)(?:, where .*)? \((\d+) ms\)")
# Suites that take longer than this in total run after the others.
SLOW_MS = 300
MEMORY = 6 << 30
# Ends the program where a mutant's function ends without its result, or takes what a container or
# an optional does not have: it would go on with any value.
STRICT = ("-fsanitize=return", "-fsanitize-undefined-trap-on-error", "-D_GLIBCXX_ASSERTIONS")


class Broken(Exception):
    """Raised when the tests fail, or do not build, even without a mutant."""


class NotCompiled(Exception):
    """Raised with the reason, and all that was said, when a mutant does not compile or link."""

    def __init__(self, output):
        found = re.search(r"error: (.*)", output)
        super().__init__(found[1] if found else output.strip()[:100])
        self.output = output


class Program:
    """A test program: its link command, and its suites with their times in milliseconds."""

    def __init__(self, build, name, path):
        self.name = name
        self.path = build / path
        commands = subprocess.run(["ninja", "-C", build, "-t", "commands", path], check=True,
                                  capture_output=True, text=True).stdout
        link = commands.strip().splitlines()[-1].removeprefix(": && ").removesuffix(" && :")
        self.link = shlex.split(link)
        self.suites = {}

    def measure(self, build):
        run = subprocess.run([self.path], cwd=build, capture_output=True, text=True,
                             errors="replace")
        if run.returncode != 0:
            raise Broken(f"{self.name} fails without a mutant")
        for test, took in SEEN.findall(run.stdout):
            suite = test.split(".")[0]
            self.suites[suite] = self.suites.get(suite, 0) + int(took)

    def link_command(self, objects, replaced, output):
        """Links objects before the library: the first definition of an inline function counts, and
        the library supplies only missing symbols."""
        command = [word for word in self.link if word not in replaced]
        command[command.index("-o") + 1] = str(output)
        first = next(at for at, word in enumerate(command) if word.endswith(".o"))
        return command[:first] + [str(made) for made in objects] + command[first:]


def programs_of(build):
    """Returns the GoogleTest programs of the build, except those with the shared library."""
    listed = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True,
                            capture_output=True, text=True).stdout
    found = []
    for test in json.loads(listed)["tests"]:
        command = test.get("command", [])
        if "--gtest_brief=1" in command and not test["name"].endswith("_shared"):
            path = str(pathlib.Path(command[0]).relative_to(build))
            program = Program(build, test["name"], path)
            if LIBRARY in program.link:
                found.append(program)
    return found


def mirror_tests(tree, file):
    """Returns the tests whose names begin with the name of a source or, if there are none, with the
    name's start up to a '_'. The shortest name comes first."""
    stem = pathlib.PurePath(file).with_suffix("")
    folder, name = tree / "tests" / stem.parent, stem.name
    while name:
        if tests := list(folder.glob(f"{name}*_test.cpp")):
            return sorted(tests, key=lambda test: (len(test.name), test.name))
        name = name.rpartition("_")[0]
    return []


def suites_of(tests):
    suite = re.compile(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),", re.M)
    return {name for test in tests for name in suite.findall(test.read_text())}


@dataclasses.dataclass(frozen=True)
class Round:
    """Suites or tests of one program that run together, and their time without a mutant."""
    program: Program
    names: str
    seconds: float

    @staticmethod
    def of(program, suites):
        took = sum(program.suites[suite] for suite in suites)
        return Round(program, ":".join(f"{suite}.*" for suite in suites), took / 1000)


class Trials:
    def __init__(self, tree, build, scratch, longest=math.inf):
        """Leaves out suites that take longer than `longest` seconds without a mutant."""
        self.tree, self.build, self.scratch, self.longest = tree, build, scratch, longest
        compiled = subprocess.run(["ninja", "-C", build, "-t", "compdb"], check=True,
                                  capture_output=True, text=True).stdout
        self.compile_commands, self.objects = {}, collections.defaultdict(set)
        for entry in json.loads(compiled):
            if entry["file"].startswith(f"{tree}/"):
                self.note_command(entry, str(pathlib.Path(entry["file"]).relative_to(tree)))
        self.any_test = next(file for file in self.compile_commands if file.startswith("tests/"))
        self.programs = programs_of(build)
        if not self.programs:
            raise Broken("the build has no test programs")

    def note_command(self, entry, source):
        """Keeps the first command of a source. Several programs may compile it, each for itself."""
        self.compile_commands.setdefault(source, entry["command"])
        self.objects[source].add(entry["output"])

    def measure(self):
        """Measures the tests without a mutant, but only of programs built since the last time."""
        kept = self.scratch / "measured.json"
        known = json.loads(kept.read_text()) if kept.exists() else {}
        for program in self.programs:
            built = program.path.stat().st_mtime_ns
            if known.get(program.name, {}).get("built") != built:
                program.measure(self.build)
                known[program.name] = {"built": built, "suites": program.suites}
            program.suites = known[program.name]["suites"]
        self.scratch.mkdir(exist_ok=True)
        kept.write_text(json.dumps(known))

    def knows(self, file):
        is_header = file.endswith(".h") and (self.tree / file).exists()
        return is_header or file in self.compile_commands

    def rounds(self, file):
        """Returns the rounds in order: suites of the mirror test, quick suites, and slow suites one
        by one, as a mutant that hangs is killed only after several times the time of its round."""
        mirror = suites_of(mirror_tests(self.tree, file))
        first, quick, slow = [], [], []
        for program in self.programs:
            parts = collections.defaultdict(list)
            for suite, took in program.suites.items():
                if suite in self.too_long(program):
                    continue
                if set(suite.split("/")) & mirror:
                    parts[id(first)].append(suite)
                elif took <= SLOW_MS:
                    parts[id(quick)].append(suite)
                else:
                    slow.append(Round.of(program, [suite]))
            for rounds in (first, quick):
                if suites := parts[id(rounds)]:
                    rounds.append(Round.of(program, suites))
        mirrored = {round.program.name for round in first}
        quick.sort(key=lambda round: round.program.name not in mirrored)
        slow.sort(key=lambda round: round.seconds)
        return first + quick + slow

    def too_long(self, program):
        return {suite for suite, took in program.suites.items() if took > 1000 * self.longest}

    def try_mutant(self, mutant, text):
        """Returns ("killed", by), ("survived", ""), or ("not compiled", first error)."""
        with tempfile.TemporaryDirectory(dir=self.scratch) as folder:
            return self.judge(mutant, text, pathlib.Path(folder))

    def judge(self, mutant, text, folder):
        changed = folder / "changed"
        (changed / mutant.file).parent.mkdir(parents=True)
        (changed / mutant.file).write_text(mutant.apply(text))
        try:
            objects, replaced = self.compile(mutant.file, changed, folder)
            for round in self.rounds(mutant.file):
                binary = folder / round.program.name
                if not binary.exists():
                    must(round.program.link_command(objects, replaced, binary), self.build)
                if by := run(round, binary, folder):
                    return "killed", by
        except NotCompiled as error:
            return "not compiled", str(error)
        return "survived", ""

    def compile(self, file, changed, folder):
        """Returns the mutant's objects, and the tests' objects that they replace."""
        if not file.endswith(".h"):
            return [self.compile_one(file, changed / file, changed, folder / "0.o")], set()
        # A header's mutant is compiled alone, with all functions that are not templates. Its
        # templates are compiled in the mirror test and in the header's source.
        whole = folder / "header.cpp"
        whole.write_text(f'#include "{file}"\n')
        tests = [str(test.relative_to(self.tree)) for test in mirror_tests(self.tree, file)[:1]]
        like = tests[0] if tests else self.any_test
        objects = [self.compile_one(like, whole, changed, folder / "0.o",
                                    "-fkeep-inline-functions")]
        objects += [self.compile_one(user, self.tree / user, changed, folder / f"{number}.o")
                    for number, user in enumerate(tests + self.source_of(file), 1)]
        return objects, {made for test in tests for made in self.objects[test]}

    def source_of(self, header):
        """Returns the source with the name of a header or, if there is none, with the name's start
        up to a '_'."""
        stem = pathlib.PurePath(header).with_suffix("")
        name = stem.name
        while name:
            if (source := f"{stem.with_name(name)}.cpp") in self.compile_commands:
                return [source]
            name = name.rpartition("_")[0]
        return []

    def compile_one(self, like, source, changed, made, *flags):
        """Compiles like another source; searches headers first in the folder of the changed one."""
        command = shlex.split(self.compile_commands[like])
        for flag, value in (("-o", made), ("-MF", f"{made}.d"), ("-c", source)):
            command[command.index(flag) + 1] = str(value)
        # A mutant that only causes a warning counts, such as an unused variable.
        command = [word for word in command if word != "-Werror" and not word.endswith("ccache")]
        must([command[0], "-I", str(changed), *command[1:], "-w", *STRICT, *flags], self.build)
        return made


def must(command, folder):
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True)
    if done.returncode != 0:
        raise NotCompiled(done.stderr)


def run(round, binary, folder, **environment):
    """Returns what killed the mutant, a failed test or the program's end; "" when all passed."""
    flags = folder / "flags"
    flags.write_text(f"--gtest_filter={round.names}\n")
    command = [binary, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_flagfile={flags}"]
    # Busy loops hit the limit of processor time; mutants that sleep hit the other limit, which is
    # long, as the machine may be busy.
    allowed = int(3 + 4 * round.seconds)
    name = round.program.name
    try:
        done = subprocess.run(command, cwd=folder, timeout=60 + 10 * allowed, capture_output=True,
                              text=True, errors="replace", env={**os.environ, **environment},
                              preexec_fn=lambda: limit(allowed))
    except subprocess.TimeoutExpired:
        return f"{name}: out of time"
    if done.returncode == 0:
        return ""
    failed = re.search(r"^\[  FAILED  \] ([\w/.]+)", done.stdout, re.M)
    return failed[1] if failed else f"{name}: ended with status {done.returncode}"


def limit(seconds):
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 1))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
