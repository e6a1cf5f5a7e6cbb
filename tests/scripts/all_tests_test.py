#!/usr/bin/env python3
"""scripts/test adds up the results of its builds and checks, and ends with one line."""
import sys
import unittest

from small_tree import SmallTree

PASSES = "1/1 Test #1: readme ....   Passed    0.05 sec"
FAILS = "1/1 Test #1: readme ....***Failed    0.05 sec"


class AllTests(SmallTree):
    def setUp(self):
        super().setUp()
        (self.programs / "python3").symlink_to(sys.executable)
        self.script(self.programs / "dpkg-query", "printf installed")
        self.program("cmake")
        self.program("ctest", f"echo '{PASSES}'")
        self.checks("2 passed, 0 failed")

    def checks(self, closing):
        tools = self.tree / "tools"
        tools.mkdir(exist_ok=True)
        (tools / "check_tree.py").write_text(f"print('{closing}')\n", encoding="utf-8")

    def expect(self, status, closing):
        ran = self.run_script("scripts/test")
        self.assertEqual((ran.returncode, ran.stdout.splitlines()[-1]), (status, closing),
                         ran.stdout)
        return ran.stdout

    def test_all_passed(self):
        said = self.expect(0, "5 passed, 0 failed")
        self.assertRegex(said, r"\ngcc +1 passed +0 failed +0:0\d\n")

    def test_tests_run_at_the_same_time(self):
        self.run_script("scripts/test")
        ran = [call for call in self.called() if call.startswith("ctest")]
        self.assertEqual(len(ran), 3)
        for call in ran:
            self.assertRegex(call, r" -j [0-9]+\b")

    def test_test_that_fails(self):
        self.program("ctest", f"echo '{FAILS}'", "exit 8")
        self.assertIn("***Failed", self.expect(1, "2 passed, 3 failed"))

    def test_build_that_fails(self):
        self.program("cmake", 'case "$*" in "--build --preset asan"*)',
                     'echo "a.cpp: error: no"; exit 1 ;; esac')
        said = self.expect(1, "4 passed, 1 failed")
        self.assertIn("a.cpp: error: no\n", said)
        self.assertRegex(said, r"\nclang, address .*\(does not build\) +0 passed +1 failed")

    def test_check_of_the_tree_that_fails(self):
        self.checks("1 passed, 1 failed")
        self.expect(1, "4 passed, 1 failed")


if __name__ == "__main__":
    unittest.main()
