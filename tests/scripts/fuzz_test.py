#!/usr/bin/env python3
"""scripts/fuzz divides the time among the targets, stores failing inputs and prints a summary."""
import unittest

from small_tree import SmallTree

ENDS = ("echo 'stat::number_of_executed_units: 120'", "echo '#120 pulse cov: 34 ft: 50'")


class Fuzz(SmallTree):
    def setUp(self):
        super().setUp()
        self.script(self.programs / "dpkg-query", "printf installed")
        self.script(self.programs / "nproc", "echo 1")
        self.program("cmake")
        for tool in ("xargs", "nice"):
            self.script(self.programs / tool, f'exec /usr/bin/{tool} "$@"')
        for name in ("icon", "path"):
            (self.tree / "fuzz/seeds" / name).mkdir(parents=True)
            self.fuzzer(name, *ENDS)

    def fuzzer(self, name, *lines):
        self.script(self.tree / f"build/fuzz/fuzz/{name}_fuzz",
                    f'echo "{name} $*" >>"{self.calls}"', *lines)

    def test_targets_share_the_time(self):
        ran = self.run_script("scripts/fuzz", "2")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        for name in ("icon", "path"):
            self.assertRegex(ran.stdout, rf"\n{name} +120 executions +34 covered +0 found\n")
            call = next(call for call in self.called() if call.startswith(name))
            self.assertIn("-max_total_time=60 ", call)
        self.assertEqual(ran.stdout.splitlines()[-1], "0 found")

    def test_only_those_named_run(self):
        ran = self.run_script("scripts/fuzz", "1", "path")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertIn("cmake --build --preset fuzz --target path_fuzz", self.called())
        self.assertFalse([call for call in self.called() if call.startswith("icon")])

    def test_what_was_found_is_kept(self):
        self.fuzzer("path", "for a; do case $a in -artifact_prefix=*)",
                    'echo bad >"${a#*=}crash-1" ;; esac; done', *ENDS, "exit 77")
        ran = self.run_script("scripts/fuzz", "1")
        self.assertEqual(ran.returncode, 1, ran.stdout)
        kept = self.tree / "fuzz/regressions/path/crash-1"
        self.assertEqual(kept.read_text(encoding="utf-8"), "bad\n")
        self.assertIn("    fuzz/regressions/path/crash-1\n", ran.stdout)
        self.assertEqual(ran.stdout.splitlines()[-1], "1 found")

    def test_fuzzer_that_does_not_run_is_a_finding(self):
        self.fuzzer("path", "echo no such dictionary", "exit 1")
        ran = self.run_script("scripts/fuzz", "1")
        self.assertEqual(ran.returncode, 1, ran.stdout)
        self.assertIn("no such dictionary\n", ran.stdout)

    def test_wrong_calls_show_the_usage(self):
        for arguments in ([], ["no"], ["1", "picture"]):
            ran = self.run_script("scripts/fuzz", *arguments)
            self.assertEqual(ran.returncode, 2)
            self.assertIn("usage: scripts/fuzz MINUTES [NAME...]", ran.stdout)


if __name__ == "__main__":
    unittest.main()
