#!/usr/bin/env python3
"""The check of every change runs the tests, then the bare machine, which alone may be skipped."""
import shutil
import unittest

from small_tree import ROOT, SmallTree

# The status of scripts/test and of scripts/bare, the expected status, and the scripts that ran.
CASES = (
    (0, 0, 0, ["test", "bare run"]),
    (0, 77, 0, ["test", "bare run"]),
    (0, 1, 1, ["test", "bare run"]),
    (1, 0, 1, ["test"]),
    (77, 0, 77, ["test"]),
)


class ContinuousIntegration(SmallTree):
    def test_statuses(self):
        shutil.copytree(ROOT / ".ci", self.tree / ".ci")
        for tests, bare, expected, ran in CASES:
            with self.subTest(tests=tests, bare=bare):
                self.calls.write_text("")
                for name, status in (("test", tests), ("bare", bare)):
                    self.script(self.tree / "scripts" / name,
                                f'echo {name} $* >>"{self.calls}"; exit {status}')
                self.assertEqual(self.run_script(".ci/run").returncode, expected)
                self.assertEqual(self.called(), ran)


if __name__ == "__main__":
    unittest.main()
