#!/usr/bin/env python3
"""Each check of the tree finds a fault planted in a small tree, and passes the tree without it."""
import contextlib
import io
import pathlib
import shutil
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))

import check_lengths  # noqa: E402
import check_tree  # noqa: E402
import make_map  # noqa: E402
import tree_files  # noqa: E402

LAW = "// ---- Look-up ------------------\n// The first match\n// decides.\n"
CLEAN = {
    "base/text.h": '#pragma once\n\n#include <string>\n\n/// Text.\nstruct Text {};\n',
    "sdk/interfaces/i_node.h": '#pragma once\n\n#include "base/text.h"\n\nstruct INode {};\n',
    "sdk/handle.h": '#pragma once\n\n#include "sdk/interfaces/i_node.h"\n\nstruct Handle {};\n',
    "sdk/impl/node.h": '#pragma once\n\n#include "sdk/handle.h"\n\n'
                       "///     Look-up  node_find.cpp  by name\n" + LAW + "int find();\n",
    "sdk/impl/node_find.cpp": LAW + '\n#include "sdk/impl/node.h"\n\nint find() {\n'
                              "    return 1;\n}\n",
    "sdk/CMakeLists.txt": "target_sources(objects PRIVATE\n  impl/node_find.cpp\n)\n",
    "tests/sdk/impl/node_find_test.cpp": '#include "sdk/impl/node.h"\n\nint test() {\n'
                                         "    return find();\n}\n",
    "tests/CMakeLists.txt": "add_test(sdk/impl/node_find_test.cpp)\n",
    "README.md": "A small tree.\n",
}


class Planted(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp(prefix="tree"))
        self.addCleanup(shutil.rmtree, self.root)
        for name, text in CLEAN.items():
            self.write(name, text)
        shutil.copy(ROOT / ".clang-format", self.root)
        self.write("docs/map.md", make_map.write_map(self.root))

    def write(self, name, text):
        target = self.root / name
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8")

    def findings(self, check):
        return check_tree.CHECKS[check](self.root)

    def expect_one(self, check, *words):
        found = self.findings(check)
        self.assertEqual(len(found), 1, found)
        for word in words:
            self.assertIn(word, found[0])


class CleanTree(Planted):
    def test_passes_every_check(self):
        for check in check_tree.CHECKS:
            with self.subTest(check):
                self.assertEqual(self.findings(check), [])

    def test_report_counts_and_sets_the_status(self):
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            self.assertEqual(check_tree.main([str(self.root)]), 0)
            self.write("base/text.h", '#include "sdk/handle.h"\n')
            self.assertEqual(check_tree.main(["--only", "layers,words", str(self.root)]), 1)
        lines = printed.getvalue().splitlines()
        self.assertEqual(lines[0], "ok    layers")
        self.assertIn(f"{len(check_tree.CHECKS)} passed, 0 failed", lines)
        self.assertIn("FAIL  layers", lines)
        self.assertEqual(lines[-1], "1 passed, 1 failed")

    def test_wrong_call_has_a_status_of_its_own(self):
        with contextlib.redirect_stderr(io.StringIO()):
            self.assertEqual(check_tree.main(["--only", "nothing", str(self.root)]), 2)


class Layers(Planted):
    INCLUDES = (
        # file, include, word of the finding or None where it is allowed
        ("base/a.h", "<vector>", None),
        ("base/a.h", "<cstdio>", None),
        ("base/a.h", "<fstream>", "opens files"),
        ("base/a.h", "<unistd.h>", "standard library"),
        ("base/a.h", "<sys/stat.h>", "standard library"),
        ("base/a.h", "<stdio.h>", "standard library"),
        ("base/a.h", '"sdk/interfaces/i_node.h"', "floor 2, above floor 1"),
        ("sdk/interfaces/a.h", '"sdk/handle.h"', "floor 3, above floor 2"),
        ("sdk/a.h", '"sdk/impl/node.h"', "floor 4, above floor 3"),
        ("sdk/impl/a.h", '"sdk/handle.h"', None),
        ("sdk/impl/a.h", '"node.h"', "no path from the root"),
        ("sdk/impl/a.h", '"../handle.h"', "no path from the root"),
        ("sdk/impl/a.h", '"tools/help.h"', "outside the floors"),
        ("sdk/impl/a.h", "HEADER", "names its file"),
        ("tools/a.cpp", '"sdk/impl/node.h"', None),
        ("tools/a.cpp", "<unistd.h>", None),
        ("tools/a.cpp", '"tests/help.h"', "nothing includes the roof"),
        ("tests/a.cpp", '"tools/help.h"', None),
        ("other/a.cpp", "<vector>", "no floor"),
        ("sdk/kelvo.h", '"sdk/handle.h"', None),
        ("sdk/kelvo.h", '"sdk/interfaces/i_node.h"', None),
        ("sdk/kelvo.h", '"files/help.h"', None),
        ("sdk/kelvo.h", '"sdk/impl/node.h"', "not for clients"),
        ("sdk/kelvo.h", '"tools/help.h"', "not for clients"),
        ("sdk/a.h", '"sdk/kelvo.h"', "outside the floors"),
        ("sdk/a.h", '"files/help.h"', "outside the floors"),
        ("tools/a.cpp", '"sdk/kelvo.h"', None),
        ("tools/a.cpp", '"files/help.h"', None),
        ("files/a.h", '"files/help.h"', None),
        ("files/a.h", '"sdk/handle.h"', None),
        ("files/a.h", "<fstream>", None),
        ("files/a.h", "<unistd.h>", "standard library"),
        ("files/a.h", '"sdk/impl/node.h"', "not for clients"),
        ("files/a.h", '"sdk/kelvo.h"', "not for clients"),
        ("files/a.h", '"tools/help.h"', "not for clients"),
    )

    def test_includes(self):
        for folder in ("files", "tests", "tools"):
            self.write(f"{folder}/help.h", "#pragma once\n")
        for file, include, word in self.INCLUDES:
            with self.subTest(file=file, include=include):
                self.write("sdk/kelvo.h", "#pragma once\n")
                self.write(file, f"#include {include}\n")
                if word:
                    self.expect_one("layers", file, word)
                else:
                    self.assertEqual(self.findings("layers"), [])
                (self.root / file).unlink()


class Lengths(Planted):
    def test_long_function_is_found_with_its_place(self):
        body = "    x += 1;\n" * 59
        self.write("base/a.cpp", "\nint f(int x) {\n" + body + "}\n")
        self.expect_one("lengths", "base/a.cpp:2", "61 lines", "int f(int x)")

    def test_function_of_sixty_lines_passes(self):
        self.write("base/a.cpp", "int f(int x) {\n" + "    x += 1;\n" * 58 + "}\n")
        self.assertEqual(self.findings("lengths"), [])

    def test_long_source_is_found(self):
        self.write("base/a.h", "\n" * 501)
        self.expect_one("lengths", "base/a.h", "501 lines")

    def test_long_line_is_found(self):
        self.write("tools/a.py", "# " + "x" * 98 + "\n# " + "x" * 99 + "\n")
        self.expect_one("lengths", "tools/a.py:2", "101 columns")

    def test_lines_of_raw_strings_are_as_long_as_they_are(self):
        self.write("base/a.cpp", 'const char* s = R"x(\n' + "y" * 101 + '\n)x";\n')
        self.assertEqual(self.findings("lengths"), [])

    FUNCTIONS = (
        ("int f() {\n}", [("int f()", 1, 2)]),
        ("namespace a {\nclass B {\npublic:\n    int c() const {\n    }\n};\n}",
         [("int c() const", 4, 2)]),
        ("template <typename T>\nT f(T t) {\n    if (t) {\n    }\n    return t;\n}",
         [("template <typename T> T f(T t)", 1, 6)]),
        ("B::B() : m_a{1}, m_b{2} {\n    g();\n}", [("B::B() : m_a", 1, 3)]),
        ("const char* s = R\"x(\n) { }\n)x\";\nint f() {\n    return '{';\n}", [("int f()", 4, 3)]),
        ("// void f() {\n/* { */ int f() { return 1'000; }", [("int f()", 2, 1)]),
        ("#define F(x) {\\\n    x\nint f() {\n#if A\n    if (a) {\n#else\n    if (b) {\n#endif\n"
         "    }\n}",
         [("int f()", 3, 8)]),
        ("const int table[] = {\n    1,\n    2,\n};", []),
        ("enum class E : int { a, b };\nextern \"C\" {\nint f() {\n}\n}", [("int f()", 3, 2)]),
        ("auto f = [](int x) {\n    return x;\n};", [("auto f = [](int x)", 1, 3)]),
        ("bool operator==(A a, A b) {\n    return true;\n}",
         [("bool operator==(A a, A b)", 1, 3)]),
        ("void f(int x = g({1, 2})) {\n}", [("void f(int x = g(", 1, 2)]),
    )

    def test_functions_are_told_from_other_braces(self):
        for text, expected in self.FUNCTIONS:
            with self.subTest(text):
                self.assertEqual(list(check_lengths.functions(text)), expected)


class Rooms(Planted):
    def test_room_without_source(self):
        (self.root / "sdk/impl/node_find.cpp").unlink()
        self.assertTrue(any("node_find.cpp: missing, the source" in finding
                            for finding in self.findings("rooms")))

    def test_source_that_opens_otherwise(self):
        self.write("sdk/impl/node_find.cpp", '#include "sdk/impl/node.h"\n')
        self.assertTrue(any("does not open with the heading" in finding
                            for finding in self.findings("rooms")))

    def test_source_with_another_law(self):
        text = CLEAN["sdk/impl/node_find.cpp"].replace("first", "last")
        self.write("sdk/impl/node_find.cpp", text)
        self.expect_one("rooms", "node_find.cpp:2", "law")

    def test_law_in_other_lines_is_the_same_law(self):
        text = CLEAN["sdk/impl/node_find.cpp"].replace("match\n// decides", "match decides")
        self.write("sdk/impl/node_find.cpp", text)
        self.assertEqual(self.findings("rooms"), [])

    def test_heading_outside_the_list(self):
        self.write("sdk/impl/node.h", CLEAN["sdk/impl/node.h"] + "\n// ---- Cellar ----\n// Law.\n")
        self.expect_one("rooms", "Cellar", "no room of the list")

    def test_room_without_test(self):
        (self.root / "tests/sdk/impl/node_find_test.cpp").unlink()
        self.write("docs/map.md", make_map.write_map(self.root))
        found = self.findings("rooms")
        self.assertIn("node_find_test.cpp: missing", found[0])
        self.assertIn("node_find.cpp: no test", found[1])

    def test_source_that_the_map_lacks(self):
        self.write("base/new.h", "#pragma once\n")
        self.expect_one("rooms", "docs/map.md: no row", "`new.h`")

    def test_row_of_a_file_that_is_gone(self):
        (self.root / "sdk/handle.h").unlink()
        self.expect_one("rooms", "docs/map.md: no more true", "`handle.h`")

    def test_hidden_source_is_held_by_the_test_of_its_user(self):
        self.write("sdk/impl/index.h", "#pragma once\n")
        self.write("sdk/impl/index.cpp", '#include "sdk/impl/index.h"\n')
        self.write("sdk/impl/node_find.cpp",
                   CLEAN["sdk/impl/node_find.cpp"] + '#include "sdk/impl/index.h"\n')
        self.write("sdk/CMakeLists.txt", "impl/node_find.cpp impl/index.cpp")
        self.write("docs/map.md", make_map.write_map(self.root))
        self.assertEqual(self.findings("rooms"), [])
        self.write("sdk/impl/index.h", "#pragma once\n#define QV_EXPORT\n")
        self.write("docs/map.md", make_map.write_map(self.root))
        self.expect_one("rooms", "sdk/impl/index.cpp: no test")

    def test_source_that_nothing_builds(self):
        self.write("sdk/CMakeLists.txt", "# impl/node_find.cpp\n")
        self.expect_one("rooms", "sdk/impl/node_find.cpp: in no CMakeLists.txt")

    def test_test_that_nothing_builds(self):
        self.write("tests/CMakeLists.txt", "")
        self.expect_one("rooms", "node_find_test.cpp: in no CMakeLists.txt")


    def test_decision_that_the_index_lacks(self):
        self.write("docs/decisions/0001-a.md", "# 0001 A\n")
        self.expect_one("rooms", "0001-a.md: not in the index")
        self.write("docs/decisions/README.md", "[0001](0001-a.md)\n[0002](0002-b.md)\n")
        self.expect_one("rooms", "no record 0002-b.md")


class Headers(Planted):
    def test_header_that_needs_another(self):
        self.write("base/a.h", "#pragma once\ninline std::string f();\n")
        self.expect_one("headers", "base/a.h: does not compile alone")

    def test_header_with_a_warning(self):
        self.write("base/a.h", "#pragma once\ninline int f(long x) { return x; }\n")
        self.expect_one("headers", "base/a.h", "conversion")

    def test_what_clients_get_is_asked(self):
        for header in ("files/a.h", "sdk/kelvo.h"):
            with self.subTest(header=header):
                self.write(header, "#pragma once\ninline std::string f();\n")
                self.expect_one("headers", f"{header}: does not compile alone")
                (self.root / header).unlink()

    def test_headers_of_the_roof_are_not_asked(self):
        self.write("tests/a.h", "#pragma once\ninline std::string f();\n")
        self.assertEqual(self.findings("headers"), [])


class Words(Planted):
    LINES = (
        ("the spe" + "c says", "papers"),
        ("see Par" + "t 1.2", "papers"),
        ("special", None),
        ("/wor" + "k/main", "machine"),
        ("// TOD" + "O: later", "unfinished"),
        ("a stu" + "b", "unfinished"),
        ("EXPECT_TRUE(tru" + "e)", "test"),
        ("TEST(A, DISABLE" + "D_B)", "test"),
        ("    // Wha" + "t follows.", "noun"),
        ("# Thos" + "e below.", "noun"),
        ('"""Whoeve' + 'r asks."""', "noun"),
        ("// The list; what follows", None),
    )

    def test_lines(self):
        for line, word in self.LINES:
            with self.subTest(line):
                self.write("notes.txt", line + "\n")
                if word:
                    self.expect_one("words", "notes.txt:1", word)
                else:
                    self.assertEqual(self.findings("words"), [])

    def test_document_may_say_that_something_is_finished(self):
        self.write("a.md", "There is no place" + "holder.\n")
        self.assertEqual(self.findings("words"), [])

    def test_binary_files_are_passed_over(self):
        (self.root / "picture").write_bytes(b"\0 TOD" + b"O ")
        self.assertEqual(self.findings("words"), [])


class Format(Planted):
    def test_badly_formatted_source_is_found(self):
        self.write("base/a.cpp", "int  f( ) { return 1; }\n")
        self.expect_one("format", "base/a.cpp:1")


class Files(Planted):
    def test_floors(self):
        for name, floor in (("base/a.h", 1), ("base/x/a.h", 1), ("sdk/interfaces/a.h", 2),
                            ("sdk/a.h", 3), ("sdk/impl/a.h", 4), ("tests/base/a.h", None),
                            ("basement/a.h", None), ("a.h", None)):
            with self.subTest(name):
                self.assertEqual(tree_files.floor_of(name), floor)

    def test_builds_are_left_out(self):
        self.write("build/a.cpp", "int  f( );\n")
        self.assertNotIn("build/a.cpp", tree_files.files(self.root))


if __name__ == "__main__":
    unittest.main()
