#!/usr/bin/env python3
"""The README shows the program in examples/ and its output, word for word; links in the README and
in docs/ have targets, and docs/README.md links to every page."""
import re
import unittest

import doc_text
from doc_text import ROOT

LINK = re.compile(r"\]\(([^)\s]+)\)")


def links(page):
    """Returns the targets of a page's links within the tree; links in code do not count."""
    text = re.sub(r"^```.*?^```", "", page.read_text(), flags=re.S | re.M)
    text = re.sub(r"^    .*$|`[^`\n]*`(?!\])", "", text, flags=re.M)
    return [link for link in LINK.findall(text) if not re.match(r"\w+:", link)]


def all_pages():
    return [*doc_text.pages(), ROOT / "CONTRIBUTING.md",
            *sorted((ROOT / "docs" / "decisions").glob("*.md"))]


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

    def test_leads_to_the_pages_by_task(self):
        self.assertIn("docs/README.md", links(ROOT / "README.md"))


class Links(unittest.TestCase):
    def test_lead_to_files(self):
        for page in all_pages():
            for link in links(page):
                file = link.split("#")[0]
                self.assertTrue(not file or (page.parent / file).exists(), f"{page}: {link}")

    def test_lead_to_headings(self):
        for page in all_pages():
            for link in links(page):
                file, _, anchor = link.partition("#")
                target = page.parent / file if file else page
                if anchor:
                    self.assertIn(anchor, doc_text.headings(target), f"{page}: {link}")

    def test_are_found(self):
        self.assertGreater(sum(len(links(page)) for page in all_pages()), 50)


class PagesByTask(unittest.TestCase):
    def test_every_page_is_there(self):
        listed = [link.split("#")[0] for link in links(ROOT / "docs" / "README.md")]
        for page in (ROOT / "docs").glob("*.md"):
            if page.name != "README.md":
                self.assertIn(page.name, listed)


if __name__ == "__main__":
    unittest.main()
