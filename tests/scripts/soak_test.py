#!/usr/bin/env python3
"""scripts/soak runs the tests labelled "laws" with new seeds each round, and prints a summary."""
import sys
import unittest

from small_tree import SmallTree

JSON = '{"tests": [{"name": "law_tests"}, {"name": "memory_tests"}]}'
PASSES = ("1: law of one: 12 trials, 0 found, seed 5", "2: law of two: 3 trials, 0 found, seed 5",
          "1/2 Test #1: law_tests ....   Passed    0.05 sec",
          "2/2 Test #2: memory_tests ....   Passed    0.05 sec")
THREADS = ("1: law of threads: 7 trials, 0 found, seed 5",
           "1/1 Test #1: thread_tests_static ....   Passed    0.05 sec")
RACE = ("1: SUMMARY: ThreadSanitizer: data race a.cpp:3 in f",
        "1/1 Test #1: thread_tests_static ....***Failed    0.05 sec")
MODELS = ("1/1 Test #1: kelvo_models_test ....   Passed    0.05 sec",)
END = "--no-tests=error -V --timeout 7200"
FAILS = ("1: a_test.cpp:7: Failure", "1: Repeat it with KELVO_LAWS_CASE='1 2'",
         "1: law of one: 12 trials, 1 found, seed 5",
         "1/1 Test #1: law_tests ....***Failed    0.05 sec")


class Soak(SmallTree):
    def setUp(self):
        super().setUp()
        (self.programs / "python3").symlink_to(sys.executable)
        self.script(self.programs / "dpkg-query", "printf installed")
        self.script(self.programs / "date", "echo 5")
        # Makes a minute last a second.
        script = self.tree / "scripts/soak"
        text = script.read_text(encoding="utf-8")
        script.write_text(text.replace("length=$(($1 * 60))", "length=$1"), encoding="utf-8")
        self.program("cmake")
        self.ctest(PASSES)

    # Each run sleeps longer than the requested time, so that there is one round.
    def ctest(self, lines, threads=THREADS):
        def told(printed):
            return "; ".join(f'echo "{line}"' for line in printed)
        variables = "$GTEST_FILTER seed $KELVO_LAWS_SEED full $KELVO_LAWS_FULL"
        self.program("ctest", f"case $* in *--show-only*) echo '{JSON}'; exit ;; esac",
                     f'echo "{variables} models $KELVO_ALL_MODELS: $*" >>"{self.calls}"',
                     f"case $* in *tsan*) {told(threads)}; exit ;; esac",
                     f"case $* in *models*) {told(MODELS)}; exit ;; esac",
                     told(lines), "sleep 2")

    def soak(self, *arguments):
        return self.run_script("scripts/soak", *arguments)

    def test_programs_are_those_with_the_label(self):
        ran = self.soak("1")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertIn("cmake --build --preset asan --target law_tests memory_tests kelvo",
                      self.called())
        self.assertTrue(any(line.startswith(" seed 5 full 1 models : --preset asan -L ^laws$ ")
                            for line in self.called()), self.called())
        self.assertRegex(ran.stdout, r"\nof one +12 trials +1 rounds +0 found\n")
        self.assertEqual(ran.stdout.splitlines()[-1], "1 round, 0 failed")

    def test_snapshots_on_threads_run_for_a_minute(self):
        ran = self.soak("1")
        self.assertIn("cmake --build --preset tsan --target thread_tests_static", self.called())
        self.assertIn("SnapshotThreads.* seed 5 full 1 models : --preset tsan "
                      f"-R ^thread_tests_static$ {END}", self.called())
        self.assertRegex(ran.stdout, r"\nof threads +7 trials +1 rounds +0 found\n")

    def test_a_race_is_reported_with_what_repeats_it(self):
        self.ctest(PASSES, RACE)
        ran = self.soak("1")
        self.assertEqual(ran.returncode, 1, ran.stdout)
        self.assertIn("    GTEST_FILTER='SnapshotThreads.*' KELVO_LAWS_FULL=1 KELVO_LAWS_SEED=5 "
                      "ctest --preset tsan -V -R '^thread_tests_static$'\n"
                      "    SUMMARY: ThreadSanitizer: data race a.cpp:3 in f\n", ran.stdout)
        self.assertEqual(ran.stdout.splitlines()[-1], "1 round, 1 failed")

    def test_all_models_are_converted_and_rendered(self):
        self.soak("1")
        tests = "^kelvo_(render_)?models_test$"
        self.assertIn(f" seed  full  models 1: --preset asan -R {tests} {END}", self.called())

    def test_what_was_found_is_reported_with_what_repeats_it(self):
        self.ctest(FAILS)
        ran = self.soak("1")
        self.assertEqual(ran.returncode, 1, ran.stdout)
        self.assertIn("KELVO_LAWS_FULL=1 KELVO_LAWS_SEED=5 ctest --preset asan -V -R '^law_tests$'",
                      ran.stdout)
        self.assertIn("    Repeat it with KELVO_LAWS_CASE='1 2'\n", ran.stdout)
        self.assertEqual(ran.stdout.splitlines()[-1], "1 round, 1 failed")

    def test_wrong_calls_show_the_usage(self):
        for arguments in ([], ["0"], ["long"], ["1", "2"]):
            ran = self.soak(*arguments)
            self.assertEqual(ran.returncode, 2)
            self.assertIn("usage: scripts/soak MINUTES", ran.stdout)


if __name__ == "__main__":
    unittest.main()
