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

GRAPH = "kelvo/sdk/impl/graph"
CHIEF = f"{GRAPH}/node.h"
FIND = f"{GRAPH}/node_find.cpp"
FIND_TEST = f"tests/{GRAPH}/node_find_test.cpp"
INCLUDE_CHIEF = f'#include "{CHIEF}"\n'
LAW = "// ---- Look-up ------------------\n// The first match\n// decides.\n"


def room(name, law):
    return f"// ---- {name} ------------------\n// {law}\n"


def small_class(kind):
    """A class of one room, as files by their names."""
    head, law = f"{GRAPH}/{kind}.h", room("Object", "Counted.")
    return {
        head: f'#pragma once\n\n///     Object  {kind}.cpp  counted\n{law}int count{kind}();\n',
        f"{GRAPH}/{kind}.cpp":
            f'{law}\n#include "{head}"\n\nint count{kind}() {{\n    return 1;\n}}\n',
        f"tests/{GRAPH}/{kind}_test.cpp":
            f'#include "{head}"\n\nint test() {{\n    return count{kind}();\n}}\n',
    }


CLEAN = {
    "kelvo/base/text.h": '#pragma once\n\n#include <string>\n\n/// Text.\nstruct Text {};\n',
    "kelvo/sdk/interfaces/i_node.h":
        '#pragma once\n\n#include "kelvo/base/text.h"\n\nstruct INode {};\n',
    "kelvo/sdk/handle.h":
        '#pragma once\n\n#include "kelvo/sdk/interfaces/i_node.h"\n\nstruct Handle {};\n',
    CHIEF:
        '#pragma once\n\n#include "kelvo/sdk/handle.h"\n\n'
        "///     Look-up  node_find.cpp  by name\n" + LAW + "int find();\n",
    FIND: LAW + "\n" + INCLUDE_CHIEF + "\nint find() {\n    return 1;\n}\n",
    "kelvo/sdk/CMakeLists.txt": "target_sources(objects PRIVATE\n  impl/graph/input.cpp\n"
                            "  impl/graph/node_find.cpp\n  impl/graph/scene.cpp\n)\n",
    FIND_TEST: INCLUDE_CHIEF + "\nint test() {\n    return find();\n}\n",
    "tests/CMakeLists.txt": "add_test(kelvo/sdk/impl/graph/input_test.cpp\n"
                            "  kelvo/sdk/impl/graph/node_find_test.cpp\n"
                            "  kelvo/sdk/impl/graph/scene_test.cpp)\n",
    "README.md": "A small tree.\n",
    **small_class("scene"),
    **small_class("input"),
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
            self.write("kelvo/base/text.h", '#include "kelvo/sdk/handle.h"\n')
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
        # Each row has a file, an include, and a word of the finding, or None if it is allowed.
        ("kelvo/base/a.h", "<vector>", None),
        ("kelvo/base/a.h", "<cstdio>", None),
        ("kelvo/base/a.h", "<fstream>", "opens files"),
        ("kelvo/base/a.h", "<unistd.h>", "standard library"),
        ("kelvo/base/a.h", "<sys/stat.h>", "standard library"),
        ("kelvo/base/a.h", "<stdio.h>", "standard library"),
        ("kelvo/base/a.h", '"kelvo/sdk/interfaces/i_node.h"', "floor 2, above floor 1"),
        ("kelvo/sdk/interfaces/a.h", '"kelvo/sdk/handle.h"', "floor 3, above floor 2"),
        ("kelvo/sdk/a.h", f'"{CHIEF}"', "floor 4, above floor 3"),
        ("kelvo/sdk/impl/a.h", '"kelvo/sdk/handle.h"', None),
        ("kelvo/sdk/impl/a.h", '"node.h"', "no path from the root"),
        ("kelvo/sdk/impl/a.h", '"../handle.h"', "no path from the root"),
        ("kelvo/sdk/impl/a.h", '"tools/help.h"', "outside the floors"),
        ("kelvo/sdk/impl/a.h", "HEADER", "names its file"),
        ("tools/a.cpp", f'"{CHIEF}"', "not the implementation"),
        ("tools/kelvo/a.h", f'"{CHIEF}"', "not the implementation"),
        ("fuzz/a.cpp", f'"{CHIEF}"', "not the implementation"),
        ("examples/a.cpp", f'"{CHIEF}"', "not the implementation"),
        ("bindings/a.cpp", f'"{CHIEF}"', "not the implementation"),
        ("kelvo/plugins/a.cpp", f'"{CHIEF}"', "not the implementation"),
        ("tests/a.cpp", f'"{CHIEF}"', None),
        ("bench/a.cpp", f'"{CHIEF}"', None),
        ("tools/a.cpp", '"kelvo/sdk/handle.h"', None),
        ("tools/a.cpp", "<unistd.h>", None),
        ("tools/a.cpp", '"tests/help.h"', "nothing includes the roof"),
        ("tests/a.cpp", '"tools/help.h"', None),
        ("other/a.cpp", "<vector>", "no floor"),
        ("kelvo/kelvo.h", '"kelvo/sdk/handle.h"', None),
        ("kelvo/kelvo.h", '"kelvo/sdk/interfaces/i_node.h"', None),
        ("kelvo/kelvo.h", '"kelvo/files/help.h"', None),
        ("kelvo/kelvo.h", f'"{CHIEF}"', "not for clients"),
        ("kelvo/kelvo.h", '"tools/help.h"', "not for clients"),
        ("kelvo/sdk/kelvo.h", '"kelvo/kelvo.h"', None),
        ("kelvo/sdk/kelvo.h", f'"{CHIEF}"', "not for clients"),
        ("kelvo/sdk/a.h", '"kelvo/sdk/kelvo.h"', "outside the floors"),
        ("kelvo/sdk/a.h", '"kelvo/kelvo.h"', "outside the floors"),
        ("kelvo/sdk/a.h", '"kelvo/files/help.h"', "outside the floors"),
        ("tools/a.cpp", '"kelvo/kelvo.h"', None),
        ("tools/a.cpp", '"kelvo/files/help.h"', None),
        ("kelvo/files/a.h", '"kelvo/files/help.h"', None),
        ("kelvo/files/a.h", '"kelvo/sdk/handle.h"', None),
        ("kelvo/files/a.h", "<fstream>", None),
        ("kelvo/files/a.h", "<unistd.h>", "standard library"),
        ("kelvo/files/a.h", f'"{CHIEF}"', "not for clients"),
        ("kelvo/files/a.h", '"kelvo/kelvo.h"', "not for clients"),
        ("kelvo/files/a.h", '"tools/help.h"', "not for clients"),
    )

    def test_includes(self):
        for folder in ("kelvo/files", "tests", "tools"):
            self.write(f"{folder}/help.h", "#pragma once\n")
        for file, include, word in self.INCLUDES:
            with self.subTest(file=file, include=include):
                for umbrella in tree_files.UMBRELLAS:
                    self.write(umbrella, "#pragma once\n")
                self.write(file, f"#include {include}\n")
                if word:
                    self.expect_one("layers", file, word)
                else:
                    self.assertEqual(self.findings("layers"), [])
                (self.root / file).unlink()


class Subjects(Planted):
    TABLE = ("| `graph/` | nodes | value, text |\n| `value/` | values | text |\n"
             "| `text/` | bytes | |\n")
    INCLUDES = (
        ("graph", "value", None),
        ("graph", "graph", None),
        ("value", "graph", "value may not use graph"),
        ("text", "value", "text may not use value"),
        ("other", "text", "the subject other has no row"),
    )

    def test_includes_between_subjects(self):
        self.write("CONTRIBUTING.md", self.TABLE)
        for here, there, word in self.INCLUDES:
            with self.subTest(here=here, there=there):
                file = f"kelvo/sdk/impl/{here}/a.h"
                self.write(f"kelvo/sdk/impl/{there}/b.h", "#pragma once\n")
                self.write(file, f'#include "kelvo/sdk/impl/{there}/b.h"\n')
                if word:
                    self.expect_one("layers", file, word)
                else:
                    self.assertEqual(self.findings("layers"), [])
                (self.root / file).unlink()

    def test_table_with_a_loop(self):
        self.write("CONTRIBUTING.md", self.TABLE.replace("bytes | ", "bytes | graph "))
        self.assertEqual(len(self.findings("layers")), 3)


class Lengths(Planted):
    def test_long_function_is_found_with_its_place(self):
        body = "    x += 1;\n" * 59
        self.write("kelvo/base/a.cpp", "\nint f(int x) {\n" + body + "}\n")
        self.expect_one("lengths", "kelvo/base/a.cpp:2", "61 lines", "int f(int x)")

    def test_function_of_sixty_lines_passes(self):
        self.write("kelvo/base/a.cpp", "int f(int x) {\n" + "    x += 1;\n" * 58 + "}\n")
        self.assertEqual(self.findings("lengths"), [])

    def test_long_source_is_found(self):
        self.write("kelvo/base/a.h", "\n" * 501)
        self.expect_one("lengths", "kelvo/base/a.h", "501 lines")

    def test_long_line_is_found(self):
        self.write("tools/a.py", "# " + "x" * 98 + "\n# " + "x" * 99 + "\n")
        self.expect_one("lengths", "tools/a.py:2", "101 columns")

    def test_lines_of_raw_strings_are_as_long_as_they_are(self):
        self.write("kelvo/base/a.cpp", 'const char* s = R"x(\n' + "y" * 101 + '\n)x";\n')
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

    def test_functions_are_distinguished_from_other_braces(self):
        for text, expected in self.FUNCTIONS:
            with self.subTest(text):
                self.assertEqual(list(check_lengths.functions(text)), expected)


class Rooms(Planted):
    def test_room_without_source(self):
        (self.root / FIND).unlink()
        self.assertTrue(any("node_find.cpp: missing, the source" in finding
                            for finding in self.findings("rooms")))

    def test_source_that_opens_otherwise(self):
        self.write(FIND, INCLUDE_CHIEF)
        self.assertTrue(any("does not open with the heading" in finding
                            for finding in self.findings("rooms")))

    def test_source_with_another_law(self):
        text = CLEAN[FIND].replace("first", "last")
        self.write(FIND, text)
        self.expect_one("rooms", "node_find.cpp:2", "law")

    def test_law_in_other_lines_is_the_same_law(self):
        text = CLEAN[FIND].replace("match\n// decides", "match decides")
        self.write(FIND, text)
        self.assertEqual(self.findings("rooms"), [])

    def test_rooms_of_scene_and_input_are_checked_too(self):
        for kind in ("scene", "input"):
            with self.subTest(kind):
                source = f"{GRAPH}/{kind}.cpp"
                self.write(source, CLEAN[source].replace("Counted", "Numbered"))
                self.expect_one("rooms", f"{kind}.cpp:2", f"stands in {GRAPH}/{kind}.h")
                self.write(source, CLEAN[source])

    def test_class_without_a_list_of_rooms(self):
        self.write(f"{GRAPH}/scene.h", "#pragma once\n\nint countscene();\n")
        self.expect_one("rooms", "scene.h: does not open with the list of its rooms")

    def test_heading_outside_the_list(self):
        self.write(CHIEF, CLEAN[CHIEF] + "\n// ---- Cellar ----\n// Law.\n")
        self.expect_one("rooms", "Cellar", "no room of the list")

    def test_room_without_test(self):
        (self.root / FIND_TEST).unlink()
        self.write("docs/map.md", make_map.write_map(self.root))
        found = self.findings("rooms")
        self.assertIn("node_find_test.cpp: missing", found[0])
        self.assertIn("node_find.cpp: no test", found[1])

    def test_source_that_the_map_lacks(self):
        self.write("kelvo/base/new.h", "#pragma once\n")
        self.expect_one("rooms", "docs/map.md: no row", "`new.h`")

    def test_row_of_a_file_that_is_gone(self):
        (self.root / "kelvo/sdk/handle.h").unlink()
        self.expect_one("rooms", "docs/map.md: no more true", "`handle.h`")

    def test_hidden_source_is_held_by_the_test_of_its_user(self):
        self.write("kelvo/sdk/impl/index.h", "#pragma once\n")
        self.write("kelvo/sdk/impl/index.cpp", '#include "kelvo/sdk/impl/index.h"\n')
        self.write(FIND, CLEAN[FIND] + '#include "kelvo/sdk/impl/index.h"\n')
        built = CLEAN["kelvo/sdk/CMakeLists.txt"]
        self.write("kelvo/sdk/CMakeLists.txt", built.replace(")", "impl/index.cpp)"))
        self.write("docs/map.md", make_map.write_map(self.root))
        self.assertEqual(self.findings("rooms"), [])
        self.write("kelvo/sdk/impl/index.h", "#pragma once\n#define QV_EXPORT\n")
        self.write("docs/map.md", make_map.write_map(self.root))
        self.expect_one("rooms", "kelvo/sdk/impl/index.cpp: no test")

    def test_source_that_nothing_builds(self):
        built = CLEAN["kelvo/sdk/CMakeLists.txt"]
        self.write("kelvo/sdk/CMakeLists.txt", built.replace("impl/graph/node_find", "# node_find"))
        self.expect_one("rooms", f"{FIND}: in no CMakeLists.txt")

    def test_test_that_nothing_builds(self):
        built = CLEAN["tests/CMakeLists.txt"]
        self.write("tests/CMakeLists.txt", built.replace("node_find_test.cpp", ""))
        self.expect_one("rooms", "node_find_test.cpp: in no CMakeLists.txt")


    def test_decision_that_the_index_lacks(self):
        self.write("docs/decisions/0001-a.md", "# 0001 A\n")
        self.expect_one("rooms", "0001-a.md: not in the index")
        self.write("docs/decisions/README.md", "[0001](0001-a.md)\n[0002](0002-b.md)\n")
        self.expect_one("rooms", "no record 0002-b.md")


class Headers(Planted):
    def test_header_that_needs_another(self):
        self.write("kelvo/base/a.h", "#pragma once\ninline std::string f();\n")
        self.expect_one("headers", "kelvo/base/a.h: does not compile alone")

    def test_header_with_a_warning(self):
        self.write("kelvo/base/a.h", "#pragma once\ninline int f(long x) { return x; }\n")
        self.expect_one("headers", "kelvo/base/a.h", "conversion")

    def test_what_clients_get_is_asked(self):
        for header in ("kelvo/files/a.h", "kelvo/kelvo.h"):
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
        self.write("kelvo/base/a.cpp", "int  f( ) { return 1; }\n")
        self.expect_one("format", "kelvo/base/a.cpp:1")


class Files(Planted):
    def test_floors(self):
        for name, floor in (("kelvo/base/a.h", 1), ("kelvo/base/x/a.h", 1),
                            ("kelvo/sdk/interfaces/a.h", 2), ("kelvo/sdk/a.h", 3),
                            ("kelvo/sdk/impl/x/a.h", 4), ("tests/kelvo/base/a.h", None),
                            ("kelvo/basement/a.h", None), ("kelvo/kelvo.h", None), ("a.h", None)):
            with self.subTest(name):
                self.assertEqual(tree_files.floor_of(name), floor)

    def test_builds_are_left_out(self):
        self.write("build/a.cpp", "int  f( );\n")
        self.assertNotIn("build/a.cpp", tree_files.files(self.root))


if __name__ == "__main__":
    unittest.main()
