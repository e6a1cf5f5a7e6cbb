#!/usr/bin/env python3
"""Single tests are counted in logs of `ctest -V`, even if programs ran at the same time."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

# The interleaved lines of three programs, as `ctest -V -j 2` prints them.
INTERLEAVED = """\
      Start  1: base_tests
1: Test command: base_tests "--gtest_brief=1"
      Start  2: sdk_tests
2: Test command: sdk_tests "--gtest_brief=1"
1: [==========] 300 tests from 16 test suites ran. (2072 ms total)
2: sdk/node_test.cpp:7: Failure
1: [  PASSED  ] 300 tests.
 1/3 Test #1: base_tests .......................   Passed    2.10 sec
      Start  3: readme
2: [  FAILED  ] Node.Name (0 ms)
3: ...
2: [==========] 50 tests from 1 test suite ran. (93 ms total)
3: Ran 3 tests in 0.001s
2: [  PASSED  ] 48 tests.
3: OK
2: [  FAILED  ] 2 tests, listed below:
2: [  FAILED  ] Node.Name
2:  2 FAILED TESTS
 2/3 Test #3: readme ...........................   Passed    0.05 sec
 3/3 Test #2: sdk_tests ........................***Failed    0.11 sec
"""

CASES = (
    ("programs at the same time", INTERLEAVED, "349 2"),
    ("another program counts as one",
     "1/1 Test #1: readme ....   Passed    0.05 sec\n", "1 0"),
    ("a program that failed before it counted",
     "1/1 Test #1: base_tests ....***Exception: SegFault  0.20 sec\n", "0 1"),
    ("a crash amid the tests of a program",
     "1: [  FAILED  ] Node.Name (0 ms)\n"
     "1/1 Test #1: base_tests ...Child aborted***Exception:   0.20 sec\n", "0 1"),
    ("all counted, then an error at the end",
     "1: [==========] 5 tests from 1 test suite ran. (9 ms total)\n"
     "1/1 Test #1: base_tests ....***Failed  0.20 sec\n", "4 1"),
    ("out of time", "1/1 Test #1: readme ....***Timeout 1500.04 sec\n", "0 1"),
    ("not built", "1/1 Test #1: readme ....***Not Run   0.00 sec\n", "0 1"),
    ("hundreds of tests", "100/120 Test #101: readme ....   Passed    0.05 sec\n", "1 0"),
    ("nothing ran", "No tests were found!!!\n", "0 1"),
    ("empty", "", "0 1"),
)
CLOSING = (
    ("the last line counts", "ok    layers\n3 passed, 1 failed\n", "3 1"),
    ("cut off", "ok    layers\n", "0 1"),
)


class CountTests(unittest.TestCase):
    def count(self, log, *arguments):
        with tempfile.NamedTemporaryFile("w", suffix=".log") as file:
            file.write(log)
            file.flush()
            ran = subprocess.run([sys.executable, str(ROOT / "scripts/count_tests.py"), *arguments,
                                  file.name], capture_output=True, text=True, check=True)
        return ran.stdout.strip()

    def test_logs_of_ctest(self):
        for note, log, expected in CASES:
            with self.subTest(note):
                self.assertEqual(self.count(log), expected)

    def test_logs_with_a_closing_line(self):
        for note, log, expected in CLOSING:
            with self.subTest(note):
                self.assertEqual(self.count(log, "--closing"), expected)


if __name__ == "__main__":
    unittest.main()
