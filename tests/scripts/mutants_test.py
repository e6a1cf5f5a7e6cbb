#!/usr/bin/env python3
"""scripts/mutants copies the tree, builds the copy and passes it to tools/mutants."""
import subprocess
import sys
import unittest

from small_tree import SmallTree

# Replaces tools/mutants: prints its arguments and writes the report.
TOOL = """\
import pathlib, sys
words = sys.argv[1:]
pathlib.Path(words[words.index("--report") + 1]).write_text("the report " + " ".join(words[6:]))
sys.exit(int(pathlib.Path("status").read_text()))
"""


class Mutants(SmallTree):
    def setUp(self):
        super().setUp()
        (self.programs / "python3").symlink_to(sys.executable)
        self.script(self.programs / "dpkg-query", "printf installed")
        self.program("cmake")
        self.write("tools/mutants/mutants.py", TOOL)
        self.write("sdk/a.cpp", "int a;\n")
        self.write("status", "0")
        self.write(".gitignore", "build/\nstatus\n")
        subprocess.run(["git", "init", "-q", self.tree], check=True)
        self.copy = self.tree / "build/mutants/tree"

    def write(self, name, text):
        (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
        (self.tree / name).write_text(text, encoding="utf-8")

    def test_copy_has_what_belongs_to_the_tree(self):
        ran = self.run_script("scripts/mutants")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertEqual((self.copy / "sdk/a.cpp").read_text(encoding="utf-8"), "int a;\n")
        self.assertFalse((self.copy / "status").exists())

    def test_copy_follows_the_tree(self):
        self.run_script("scripts/mutants")
        (self.tree / "sdk/a.cpp").unlink()
        self.write("sdk/b.cpp", "int b;\n")
        self.run_script("scripts/mutants")
        self.assertEqual([file.name for file in (self.copy / "sdk").iterdir()], ["b.cpp"])

    def test_copy_is_built_with_its_tests_alone(self):
        self.run_script("scripts/mutants")
        calls = [call for call in self.called() if call.startswith("cmake")]
        self.assertEqual(len(calls), 2)
        self.assertIn("--preset dev", calls[0])
        self.assertIn("-DKELVO_BUILD_TOOLS=OFF", calls[0])
        self.assertEqual(calls[1], f"cmake --build {self.copy}/build/mutants")

    def test_report_ends_what_is_said(self):
        ran = self.run_script("scripts/mutants", "sdk/a.cpp", "--seed", "7")
        self.assertTrue(ran.stdout.endswith("the report sdk/a.cpp --seed 7"), ran.stdout)

    def test_too_few_killed_is_a_failure(self):
        self.write("status", "1")
        ran = self.run_script("scripts/mutants")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("the report", ran.stdout)

    def test_build_that_fails_is_reported(self):
        self.program("cmake", 'case "$*" in --build*) echo "a.cpp: error: no"; exit 1 ;; esac')
        ran = self.run_script("scripts/mutants")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("a.cpp: error: no\n", ran.stdout)
        self.assertNotIn("the report", ran.stdout)


if __name__ == "__main__":
    unittest.main()
