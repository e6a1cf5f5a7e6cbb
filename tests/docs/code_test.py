#!/usr/bin/env python3
"""The C++ in the README and in docs/ compiles; whole programs print what the page says.
code_test.py LIBRARY BUILD_DIR

A block without a `main` is compiled alone: at namespace scope when it defines functions or classes,
else as the body of a function in which `scene` is a scene and `lamp` one of its nodes.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import doc_text
from doc_text import ROOT

HEAD = """
#include "kelvo/sdk/callback_table.h"
#include "kelvo/kelvo.h"
#include "kelvo/sdk/validation.h"
#include "kelvo/plugins/plugins.h"
#include <cstdio>
#include <filesystem>
using namespace qv;
using namespace qv::kelvo_sdk;
"""

BODY = """
[[maybe_unused]] static void example(const Scene& scene, const Node& lamp) {
    (void)scene, (void)lamp;
    [[maybe_unused]] const std::vector<String> paths;
    [[maybe_unused]] const auto complain = [](auto&&...) {};
"""

DEFINITION = re.compile(r"^(class|struct|static|extern|namespace|template|[\w:]+ \w+\(.*\{$)", re.M)


def is_cpp(block):
    """Tells by the language of the fence, or by the code if it names none."""
    return block.language == "cpp" or bool(re.search(r"(?m)^\s*#include|;$", block.text))


def cpp_blocks(page):
    """Returns (block, its documented output or None) for each block of C++."""
    blocks = doc_text.blocks(page)
    return [(block, doc_text.printed_by(block, following))
            for block, following in zip(blocks, [*blocks[1:], None]) if is_cpp(block)]


def is_program(block):
    return "int main(" in block.text


def whole_source(block):
    """Returns a complete source, with the lines of the block at their line numbers."""
    if is_program(block):
        return block.text
    includes = re.findall(r"^#include .*$", block.text, re.M)
    text = re.sub(r"^#include .*$", "", block.text, flags=re.M)
    place = f'#line {block.line} "{block.page}"\n'
    head = HEAD + "\n".join(includes) + "\n"
    if DEFINITION.search(text):
        return head + place + text
    return head + BODY + place + text + "}\n"


class Code(unittest.TestCase):
    library = build = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def compile(self, block, *arguments):
        source = self.folder / "code.cpp"
        source.write_text(whole_source(block))
        compiler = doc_text.configured(self.build, "CMAKE_CXX_COMPILER")
        # A page is about one thing, and shows its results alone.
        flags = ["-Wall", "-Wextra", "-Wno-unused", "-Wno-unused-result", "-Werror"]
        ran = subprocess.run([compiler, "-std=c++20", *flags, f"-I{ROOT}", str(source), *arguments],
                             capture_output=True, text=True, timeout=300)
        self.assertEqual(ran.returncode, 0, ran.stderr)

    def run_program(self, block):
        program = self.folder / "code"
        sanitize = doc_text.configured(self.build, "KELVO_SANITIZE")
        self.compile(block, "-o", str(program), self.library, "-pthread",
                     f"-Wl,-rpath,{os.path.dirname(self.library)}",
                     *([f"-fsanitize={sanitize}"] if sanitize else []))
        ran = subprocess.run([program], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             text=True, timeout=60, cwd=self.folder)
        self.assertEqual(ran.returncode, 0, ran.stdout)
        return ran.stdout

    def check_page(self, page):
        for block, says in cpp_blocks(page):
            with self.subTest(place=block.place()):
                if not is_program(block):
                    self.compile(block, "-fsyntax-only")
                    continue
                self.assertIsNotNone(says, "the page does not say what the program prints")
                printed = self.run_program(block)
                self.assertTrue(doc_text.is_as_printed(says, printed),
                                f"the page says:\n{says}\nit prints:\n{printed}")


def add_page(page):
    def test(self):
        self.check_page(page)
    setattr(Code, "test_code_of_" + re.sub(r"\W", "_", doc_text.name_of(page)), test)


class Blocks(unittest.TestCase):
    def test_every_fence_in_cpp_is_compiled(self):
        for page in doc_text.pages():
            fences = re.findall(r"^```cpp$", page.read_text(), re.M)
            self.assertGreaterEqual(len(cpp_blocks(page)), len(fences), page)

    def test_code_without_a_fence_is_found(self):
        block = doc_text.Block("page", 1, "", "lamp.setDirty(false);\n", "")
        self.assertTrue(is_cpp(block))
        self.assertFalse(is_cpp(doc_text.Block("page", 1, "", "kelvo show a.kns\n", "")))


if __name__ == "__main__":
    Code.library = os.path.abspath(sys.argv.pop(1))
    Code.build = os.path.abspath(sys.argv.pop(1))
    for each in doc_text.pages():
        if cpp_blocks(each):
            add_page(each)
    unittest.main()
