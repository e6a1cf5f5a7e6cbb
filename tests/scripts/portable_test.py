#!/usr/bin/env python3
"""scripts/portable builds tests for other machines and runs them in an emulator."""
import unittest

from small_tree import SmallTree


class Portable(SmallTree):
    def setUp(self):
        super().setUp()
        self.script(self.programs / "dpkg-query", "printf installed")
        self.program("cmake", 'case "$*" in *--build*) exit ;; esac')
        for processor in ("aarch64", "s390x"):
            self.program(f"qemu-{processor}-static",
                         'echo "[==========] 90 tests from 9 test suites ran."')

    def test_all_machines_are_tested(self):
        ran = self.run_script("scripts/portable")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        for processor in ("aarch64", "s390x"):
            self.assertIn(f"\n{processor}: 90 tests passed\n", ran.stdout)
            self.assertIn(f"cmake --build build/portable/{processor} --target portable_tests",
                          self.called())

    def test_a_machine_can_be_chosen(self):
        ran = self.run_script("scripts/portable", "s390x")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertNotIn("aarch64", "".join(self.called()))

    def test_a_failure_is_reported_and_the_others_go_on(self):
        self.program("qemu-aarch64-static", "echo '[  FAILED  ] Hash.Words'", "exit 1")
        ran = self.run_script("scripts/portable")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("[  FAILED  ] Hash.Words", ran.stdout)
        self.assertIn("\naarch64: failed, see build/portable.aarch64.test.log\n"
                      "s390x: 90 tests passed", ran.stdout)

    def test_wrong_calls_show_the_usage(self):
        ran = self.run_script("scripts/portable", "vax")
        self.assertEqual(ran.returncode, 2)
        self.assertIn("usage: scripts/portable [aarch64] [s390x]", ran.stdout)


if __name__ == "__main__":
    unittest.main()
