#!/usr/bin/env python3
"""Commands read and write files that other programs use too. kelvo_files_test.py KELVO [...]"""
import fcntl
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import tempfile
import time

from kelvo_tool import SCENE, ToolTest, main, scene, tool

MARK = b"\xef\xbb\xbf"


class Together(ToolTest):
    """Several commands that edit one file."""

    def start(self, *arguments, **options):
        started = subprocess.Popen([tool(), *arguments], cwd=self.folder, text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, **options)
        self.addCleanup(started.kill)
        return started

    def end(self, started, given=None):
        out, error = started.communicate(given, timeout=90)
        return started.returncode, out, error

    def test_no_update_is_lost(self):
        count = 20
        self.file.write_text(scene('node n "a" {\n' + "".join(
            f"    Int v{i} = 0\n" for i in range(count)) + "}"))
        commands = []
        for i in range(count):
            edit = f"a.v{i}"
            commands.append((["set", "a.kns", edit + "=1"], ["edit", "a.kns", "-c",
                             f"set {edit} 1"])[i % 2])
        running = [self.start(*command) for command in commands]
        for started in running:
            self.assertEqual(self.end(started), (0, "", ""))
        self.assertEqual(self.file.read_text().count(" = 1\n"), count)
        self.assertEqual(self.names(), ["a.kns"])

    def test_patches_and_fixes_are_not_lost_either(self):
        self.file.write_text(scene('node t "a" {\n    Int x = 0\n    Int y = 0\n}',
                                   'node xform "r" {\n    Array<Node> children = [null]\n}'))
        (self.folder / "p.json").write_text(json.dumps(
            {"format": "kelvo diff 1", "changes": [
                {"action": "change", "what": "input", "path": "a.x", "field": "value",
                 "before": "0", "after": "1"}]}))
        running = [self.start(*command) for command in (
            ["patch", "a.kns", "p.json"], ["check", "a.kns", "--fix", "--severity", "note"],
            ["set", "a.kns", "a.y=1"], ["convert", "a.kns", "r", "pointLight"])]
        for started in running:
            status, _, error = self.end(started)
            self.assertEqual(status, 0, error)
        text = self.file.read_text()
        self.assertIn("    Int x = 1\n    Int y = 1\n", text)
        self.assertIn("node pointLight", text)

    def test_one_waits_for_another(self):
        with self.file.open() as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            waiting = self.start("set", "a.kns", "lamp.count=7")
            time.sleep(0.3)
            self.assertIsNone(waiting.poll())
            self.assertEqual(self.file.read_text(), SCENE)
        self.assertEqual(self.end(waiting), (0, "", ""))
        self.assertIn("count = 7", self.file.read_text())

    def test_reading_waits_for_nobody(self):
        with self.file.open() as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            self.expect(0, "get", "a.kns", "lamp.count", out="3\n")
            self.expect(0, "set", "-", "lamp.count=7", given=SCENE)

    def test_what_another_program_wrote_meanwhile_stays(self):
        (self.folder / "mine.kns").write_text(SCENE)
        os.mkfifo(self.folder / "theirs.kns")
        merging = self.start("merge", "a.kns", "mine.kns", "theirs.kns", "-o", "mine.kns")
        # Opening the pipe waits until the tool reads it, which it does after the other files.
        with (self.folder / "theirs.kns").open("w") as theirs:
            other = SCENE.replace("count = 3", "count = 9")
            (self.folder / "mine.kns").write_text(other)
            theirs.write(SCENE.replace("radius = 0.5", "radius = 2"))
        status, out, error = self.end(merging)
        self.assertEqual((status, out), (2, ""))
        self.assertEqual(error, "kelvo: cannot write 'mine.kns': it was changed by someone else "
                                "since it was read\n")
        self.assertEqual((self.folder / "mine.kns").read_text(), other)

    def test_a_patch_may_come_from_an_edit_of_the_same_file(self):
        patching = self.start("patch", "a.kns", "-")
        self.expect(0, "set", "a.kns", "lamp.count=7")
        self.assertEqual(self.end(patching, json.dumps(
            {"format": "kelvo diff 1", "changes": [
                {"action": "change", "what": "input", "path": "lamp.radius", "field": "value",
                 "before": "0.5", "after": "2"}]})), (0, "", ""))
        text = self.file.read_text()
        self.assertIn("count = 7", text)
        self.assertIn("radius = 2", text)


class Killed(ToolTest):
    def big(self):
        values = " ".join(str(i / 7) for i in range(150_000))
        self.file.write_text(scene('node n "a" {\n    Int v = 0\n'
                                   f"    Buffer<Double> b = [{values}]\n}}"))

    def test_a_killed_command_leaves_nothing_for_ever(self):
        self.big()
        before = self.file.read_bytes()
        started = time.monotonic()
        self.expect(0, "set", "a.kns", "a.v=1")
        length = time.monotonic() - started
        after = self.file.read_bytes()
        chance = random.Random(1)
        ended = 0
        for _ in range(25):
            self.file.write_bytes(before)
            running = subprocess.Popen([tool(), "set", "a.kns", "a.v=1"], cwd=self.folder)
            time.sleep(chance.uniform(0.2, 1) * length)
            running.send_signal(signal.SIGKILL)
            ended += running.wait() == -signal.SIGKILL
            self.assertIn(self.file.read_bytes(), (before, after))
        self.assertGreater(ended, 0)
        self.expect(0, "set", "a.kns", "a.v=2")
        self.assertEqual(self.names(), ["a.kns"])

    def test_what_a_killed_command_left_is_removed_by_the_next(self):
        for name in ("a.kns", "n" * 251 + ".kns"):
            self.file = self.folder / name
            self.file.write_text(SCENE)
            (self.folder / (".kelvo-" + name[:200])).write_text("half of a sce")
            self.expect(0, "set", name, "lamp.count=7")
            self.assertIn("count = 7", self.file.read_text())
        self.assertEqual(self.names(), ["a.kns", "n" * 251 + ".kns"])

    def test_what_another_command_is_writing_is_waited_for(self):
        left = self.folder / ".kelvo-a.kns"
        with left.open("w") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            waiting = subprocess.Popen([tool(), "set", "a.kns", "lamp.count=7"], cwd=self.folder)
            time.sleep(0.3)
            self.assertIsNone(waiting.poll())
            self.assertTrue(left.exists())
        self.assertEqual(waiting.wait(timeout=60), 0)
        self.assertEqual(self.names(), ["a.kns"])


# Is loaded in front of the system's open(), to simulate file systems without unnamed files.
NO_NAMELESS_FILES = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#define REPLACE(name) \
    int name(const char* path, int flags, ...) { \
        va_list rest; \
        va_start(rest, flags); \
        mode_t mode = flags & O_CREAT ? va_arg(rest, mode_t) : 0; \
        va_end(rest); \
        if ((flags & O_TMPFILE) == O_TMPFILE) { errno = EOPNOTSUPP; return -1; } \
        int (*known)(const char*, int, ...) = dlsym(RTLD_NEXT, #name); \
        return known(path, flags, mode); \
    }
REPLACE(open)
REPLACE(open64)
"""


class KilledWriters(ToolTest):
    """Several commands edit one file, and some of them are killed at any moment."""
    INPUTS = 12

    def setUp(self):
        super().setUp()
        self.file = self.folder / "a.kns"

    def run_rounds(self, **variables):
        environment = {**os.environ, **variables}
        padding = "".join(f'    String t{i} = "{"x" * 200}"\n' for i in range(400))
        before = scene('node n "a" {\n' + "".join(
            f"    Int v{i} = 0\n" for i in range(self.INPUTS)) + padding + "}")
        chance = random.Random(3)
        killed = 0
        for _ in range(6):
            self.file.write_text(before)
            running = []
            for i in range(self.INPUTS):
                edit = [["set", "a.kns", f"a.v{i}=1"],
                        ["edit", "a.kns", "-c", f"set a.v{i} 1"]][i % 2]
                running.append(subprocess.Popen([tool(), *edit], cwd=self.folder, env=environment,
                                                stderr=subprocess.PIPE))
            for command in running[::2]:
                time.sleep(chance.uniform(0, 0.02))
                command.send_signal(signal.SIGKILL)
            statuses = []
            for command in running:
                _, error = command.communicate(timeout=90)
                statuses.append(command.returncode)
                self.assertIn((command.returncode, error), ((0, b""), (-signal.SIGKILL, b"")))
            killed += statuses.count(-signal.SIGKILL)
            # Finished edits stand; a killed one is done completely or not at all.
            text = self.file.read_text()
            values = [int(value) for value in re.findall(r"Int v\d+ = (\d)\n", text)]
            self.assertEqual(re.sub(r"(Int v\d+ =) \d", r"\1 0", text), before)
            for status, value in zip(statuses, values):
                self.assertTrue(value == 1 or status == -signal.SIGKILL)
        self.assertGreater(killed, 0)
        ran = subprocess.run([tool(), "set", "a.kns", "a.v0=2"], cwd=self.folder, env=environment)
        self.assertEqual(ran.returncode, 0)

    def test_the_others_lose_nothing(self):
        self.run_rounds()
        self.assertEqual(self.names(), ["a.kns"])

    def test_the_others_lose_nothing_where_each_file_has_a_name(self):
        with tempfile.TemporaryDirectory() as folder:
            source, shim = pathlib.Path(folder, "shim.c"), pathlib.Path(folder, "shim.so")
            source.write_text(NO_NAMELESS_FILES)
            subprocess.run(["cc", "-shared", "-fPIC", "-o", shim, source, "-ldl"], check=True)
            self.run_rounds(LD_PRELOAD=str(shim), ASAN_OPTIONS="verify_asan_link_order=0")
        self.assertEqual(self.names(), ["a.kns"])


class Layout(ToolTest):
    """Byte order marks and line ends."""
    LAYOUTS = {"mark": lambda text: MARK + text.encode(),
               "returns": lambda text: text.replace("\n", "\r\n").encode(),
               "both": lambda text: MARK + text.replace("\n", "\r\n").encode()}

    def test_commands_keep_them(self):
        for name, laid_out in self.LAYOUTS.items():
            for command in (["set", "a.kns", "lamp.count=4"],
                            ["edit", "a.kns", "-c", "set lamp.count 4"],
                            ["patch", "a.kns", "p.json"]):
                with self.subTest(layout=name, command=command[0]):
                    self.file.write_text(SCENE.replace("count = 3", "count = 4"))
                    (self.folder / "b.kns").write_text(SCENE)
                    (self.folder / "p.json").write_text(self.run_tool(
                        "diff", "b.kns", "a.kns", "--format", "json").stdout)
                    self.file.write_bytes(laid_out(SCENE))
                    self.expect(0, *command, out="")
                    self.assertEqual(self.file.read_bytes(),
                                     laid_out(SCENE.replace("count = 3", "count = 4")))

    def test_conversions_and_fixes_keep_them(self):
        text = scene('node spotLight "lamp" {\n    Real radius = 2 # m\n}',
                     'node xform "r" {\n    Array<Node> children = [lamp, lamp]\n}')
        for name, laid_out in self.LAYOUTS.items():
            with self.subTest(layout=name):
                self.file.write_bytes(laid_out(text))
                self.expect(0, "convert", "a.kns", "lamp", "pointLight")
                self.run_tool("check", "a.kns", "--fix", "--severity", "note")
                bytes_ = self.file.read_bytes()
                plain = bytes_.removeprefix(MARK).replace(b"\r\n", b"\n").decode()
                self.assertIn("    Real radius = 2 # m\n", plain)
                self.assertEqual(bytes_, laid_out(plain))

    def test_a_merge_keeps_those_of_mine(self):
        for name, laid_out in self.LAYOUTS.items():
            with self.subTest(layout=name):
                (self.folder / "mine.kns").write_bytes(laid_out(SCENE))
                (self.folder / "theirs.kns").write_text(SCENE.replace("count = 3", "count = 4"))
                self.expect(0, "merge", "a.kns", "mine.kns", "theirs.kns", "-o", "out.kns")
                self.assertEqual((self.folder / "out.kns").read_bytes(),
                                 laid_out(SCENE.replace("count = 3", "count = 4")))

    def test_streams_keep_them(self):
        given = self.LAYOUTS["both"](SCENE)
        ran = subprocess.run([tool(), "set", "-", "lamp.count=4"], input=given,
                             capture_output=True, timeout=60)
        self.assertEqual(ran.stdout, given.replace(b"count = 3", b"count = 4"))

    def test_most_lines_count(self):
        for given, ending in (("\r\n", "\n"), ("\n", "\r\n")):
            text = SCENE.replace("\n", ending).replace(f"count = 3{ending}", f"count = 3{given}")
            self.file.write_bytes(text.encode())
            self.expect(0, "set", "a.kns", "lamp.count=4")
            self.assertEqual(self.file.read_bytes(), SCENE.replace("count = 3", "count = 4")
                             .replace("\n", ending).encode())

    def test_they_count_for_nothing_in_a_scene(self):
        for laid_out in self.LAYOUTS.values():
            (self.folder / "b.kns").write_bytes(laid_out(SCENE))
            self.expect(0, "diff", "a.kns", "b.kns", out="")
            self.expect(0, "get", "b.kns", "lamp.label", out='say "hi"\n')

    def test_scripts_may_have_them(self):
        for laid_out in self.LAYOUTS.values():
            (self.folder / "s.txt").write_bytes(laid_out(
                "set lamp.count 4\n# all\nset lamp.label a b\n"))
            self.expect(0, "edit", "a.kns", "-s", "s.txt")
            self.expect(0, "get", "a.kns", "lamp.label", out="a b\n")

    def test_errors_are_reported_at_the_columns_that_are_seen(self):
        for laid_out in self.LAYOUTS.values():
            self.file.write_bytes(laid_out('node x "n" {\n    Real r = nothing\n}\n'))
            ran = self.run_tool("get", "a.kns", "n.r")
            self.assertEqual(ran.returncode, 1)
            self.assertTrue(re.match(r"kelvo: a\.kns:2:14: ", ran.stderr), ran.stderr)

    def test_a_last_line_without_an_end_gets_one(self):
        for end in ("\n", "\r\n"):
            given = SCENE.replace("\n", end)
            self.file.write_bytes(given.removesuffix(end).encode())
            self.expect(0, "set", "a.kns", "lamp.count=4")
            self.assertEqual(self.file.read_bytes(), given.replace("= 3", "= 4", 1).encode())

    def test_links_to_files_in_other_folders_keep_them(self):
        (self.folder / "far").mkdir()
        target = self.folder / "far" / "b.kns"
        (self.folder / "link.kns").symlink_to("far/b.kns")
        for command in (["set", "link.kns", "lamp.count=4"],
                        ["edit", "link.kns", "-c", "set lamp.count 4"],
                        ["merge", "a.kns", "link.kns", "theirs.kns", "-o", "link.kns"]):
            target.write_bytes(self.LAYOUTS["both"](SCENE))
            (self.folder / "theirs.kns").write_text(SCENE.replace("count = 3", "count = 4"))
            self.expect(0, *command, out="")
            self.assertTrue((self.folder / "link.kns").is_symlink())
            self.assertEqual(target.read_bytes(),
                             self.LAYOUTS["both"](SCENE.replace("count = 3", "count = 4")))
        self.assertEqual([entry.name for entry in (self.folder / "far").iterdir()], ["b.kns"])

    def test_a_file_of_nothing_but_a_mark_is_an_empty_scene(self):
        self.file.write_bytes(MARK)
        self.expect(0, "edit", "a.kns", "-c", "new xform n")
        self.assertTrue(self.file.read_bytes().startswith(MARK + b"kelvo scene 1\n"))


if __name__ == "__main__":
    main()
