#!/usr/bin/env python3
"""The tests of the documents find blocks, commands and documented output."""
import pathlib
import tempfile
import unittest

import doc_commands
import doc_text


class Reading(unittest.TestCase):
    def test_explanations_are_cut_off(self):
        for line, expected in [
            ("kelvo show a.kns   the tree", "kelvo show a.kns"),
            ("kelvo show a.kns # the tree", "kelvo show a.kns"),
            ("grep -n '# conflict:' *.kns", "grep -n '# conflict:' *.kns"),
            ('kelvo set a.kns "m=(1 0  0 1)"', 'kelvo set a.kns "m=(1 0  0 1)"'),
        ]:
            self.assertEqual(doc_commands.without_explanation(line), expected)

    def test_lines_with_a_backslash_go_on(self):
        block = doc_text.Block("page", 1, "", "kelvo import a.glb \\\n    -o a.kns\n# it\n\n", "")
        self.assertEqual(doc_commands.joined(block), ["kelvo import a.glb -o a.kns"])

    def test_beginnings_of_texts_are_no_commands(self):
        for line, expected in [("kelvo scene 1", False), ("kelvo show a.kns", True),
                               ("PATH=$PWD:$PATH", True), ("scripts/run", True),
                               ("node mesh {", False)]:
            self.assertEqual(bool(doc_commands.is_command(line)), expected, line)

    def test_three_dots_stand_for_any_lines(self):
        for said, printed, expected in [
            ("a\n", "a\n", True), ("a\n", "a\nb\n", False), ("a\n", "", False),
            ("a\n...\nd\n", "a\nb\nc\nd\n", True), ("...\nd\n", "d\n", True),
            ("a.c\n", "abc\n", False),
        ]:
            self.assertEqual(doc_text.is_as_printed(said, printed), expected, said)

    def test_blocks_are_fenced_or_indented(self):
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder) / "page.md"
            copy.write_text("It prints:\n\n    a\n\n    b\n\nText\n```cpp\nc;\n```\n")
            found = doc_text.blocks(copy)
        self.assertEqual([(block.text, block.language, block.line, block.before)
                          for block in found],
                         [("a\n\nb\n", "", 3, "It prints:"), ("c;\n", "cpp", 9, "Text")])


if __name__ == "__main__":
    unittest.main()
