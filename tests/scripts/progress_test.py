#!/usr/bin/env python3
"""Long steps show their progress: on a terminal in one line, in a log every few seconds."""
import os
import pty
import subprocess
import time
import unittest

from small_tree import SmallTree


class Progress(SmallTree):
    def show(self, function, *lines, after=()):
        """Writes a script with a step that runs the lines."""
        self.script(self.tree / "scripts/try", 'source "$(dirname "$0")/lib.sh"', "step() {",
                    *lines, "}", f"with_progress build/log {function} step", *after)

    def test_status_is_that_of_the_command(self):
        self.show("show_lines", "return 7")
        self.assertEqual(self.run_script("scripts/try").returncode, 7)

    def test_log_keeps_all_of_both_streams(self):
        self.show("show_compiling", "echo out; echo err >&2")
        ran = self.run_script("scripts/try")
        self.assertEqual(ran.stdout, "")
        self.assertEqual((self.tree / "build/log").read_text(), "out\nerr\n")

    def test_silent_command_is_never_silent_for_long(self):
        self.show("show_lines", "echo begun; sleep 8")
        last, gaps = time.monotonic(), []
        with subprocess.Popen([str(self.tree / "scripts/try")], env=self.environment(),
                              stdout=subprocess.PIPE, text=True) as ran:
            for line in ran.stdout:
                self.assertRegex(line, r"^ +0:\d\d  begun\n$")
                gaps.append(time.monotonic() - last)
                last = time.monotonic()
        self.assertGreaterEqual(len(gaps), 2)
        self.assertLess(max(gaps), 6)

    def test_log_shows_a_few_of_many_lines_and_the_last(self):
        self.show("show_compiling", "for n in {1..500}; do",
                  'echo "[$n/500] Building CXX object CMakeFiles/sdk.dir/sdk/a.cpp.o"; done')
        ran = self.run_script("scripts/try")
        self.assertTrue(ran.stdout.endswith("  [500/500] sdk/a.cpp\n"), ran.stdout)
        self.assertLess(len(ran.stdout.splitlines()), 20)

    def test_every_test_has_its_line(self):
        self.show("show_tests", "cat <<'LOG'",
                  "      Start  1: base_tests", "      Start 12: readme",
                  "12: FAIL: test_links (__main__.Readme)",
                  " 1/12 Test #12: readme ...........***Failed    0.05 sec",
                  " 2/12 Test  #1: base_tests .......   Passed   10.25 sec", "LOG")
        said = [line.split("  ", 2)[-1].split() for line in
                self.run_script("scripts/try").stdout.splitlines()]
        self.assertEqual(said, [["[1/12]", "Failed", "readme", "0.05", "s"],
                                ["[2/12]", "Passed", "base_tests", "10.25", "s"]])

    def test_running_tests_are_named_while_none_ends(self):
        self.show("show_tests", "echo '      Start  1: base_tests'", "sleep 4",
                  "echo '1/1 Test #1: base_tests ...   Passed   4.00 sec'")
        said = self.run_script("scripts/try").stdout
        self.assertRegex(said, r"^ +0:0\d  running: base_tests\n")

    def test_terminal_has_one_line_that_changes(self):
        self.show("show_lines", "for n in {1..50}; do echo step $n; done", after=["echo done"])
        inner, outer = pty.openpty()
        environment = self.environment(TERM="xterm", COLUMNS="80")
        ran = subprocess.run([str(self.tree / "scripts/try")], env=environment, stdout=outer,
                             stdin=subprocess.DEVNULL, timeout=60)
        os.close(outer)
        said = b""
        while b"done" not in said:
            said += os.read(inner, 65536)
        os.close(inner)
        self.assertEqual(ran.returncode, 0)
        self.assertEqual(said.count(b"\n"), 2)
        self.assertEqual(said.count(b"\r\x1b[K"), 51)


if __name__ == "__main__":
    unittest.main()
