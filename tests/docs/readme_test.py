#!/usr/bin/env python3
"""The README shows the program in examples/ and what it prints, word for word."""
import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class Readme(unittest.TestCase):
    def setUp(self):
        self.blocks = re.findall(
            r"^```(?:cpp)?\n(.*?)^```", (ROOT / "README.md").read_text(), re.S | re.M
        )

    def test_program_is_the_example(self):
        example = (ROOT / "examples/readme_example.cpp").read_text()
        self.assertEqual(self.blocks[0].strip(), example.strip())

    def test_output_is_what_the_example_prints(self):
        printed = (ROOT / "examples/expected/readme_example.txt").read_text()
        self.assertEqual(self.blocks[1].strip(), printed.strip())

    def test_linked_files_exist(self):
        for link in re.findall(r"\]\(([^)#]+)\)", (ROOT / "README.md").read_text()):
            self.assertTrue((ROOT / link).exists(), link)


if __name__ == "__main__":
    unittest.main()
