#!/usr/bin/env python3
"""The mutants that tools/mutants makes, and how they fare in a small tree of their own."""
import contextlib
import io
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools/mutants"))
sys.dont_write_bytecode = True

import equivalents  # noqa: E402
import mutants  # noqa: E402
import mutations  # noqa: E402
import switched  # noqa: E402

# An operator, a text, and the mutants that the operator makes of it.
CASES = (
    ("relation", "x = a == b;", ["x = a != b;"]),
    ("relation", "x = a < b;", ["x = a <= b;"]),
    ("relation", "Vector<int> x;", []),
    ("logic", "x = a && b || c;", ["x = a || b || c;", "x = a && b && c;"]),
    ("logic", "void f(T&& value);", []),
    ("arithmetic", "x = a + b;", ["x = a - b;"]),
    ("arithmetic", "x += 2;", ["x -= 2;"]),
    ("arithmetic", "++x;", ["--x;"]),
    ("constant", "x = 7;", ["x = 8;"]),
    ("constant", "u64 x = y2 + 1.5 + 0x10;", []),
    ("negation", "x = !a;", ["x = a;"]),
    ("negation", "x = a != b;", []),
    ("condition", "if (a) b();", ["if (!(a)) b();"]),
    ("condition", "if (a && !b) c();", ["if (!(a && !b)) c();"]),
    ("condition", "if (auto x = f(); x) g();", ["if (auto x = f(); !(x)) g();"]),
    ("condition", "if (c == 'x' || d) g();", ["if (!(c == 'x' || d)) g();"]),
    ("condition", "if (!a) b();", []),
    ("condition", "if (a == b) c();", []),
    ("condition", "if (const auto* x = f()) g();", []),
    ("deletion", "{ f(a, b); }", ["{ ; }"]),
    ("deletion", "{ m_x = 3; }", ["{ ; }"]),
    ("deletion", "{ a->b[i] += f(); }", ["{ ; }"]),
    ("deletion", "{ if (a) f(); }", ["{ if (a) ; }"]),
    ("deletion", "{ else f(); }", ["{ else ; }"]),
    ("deletion", "{ for (int i = 0; i < 3; ++i) f(); }", ["{ for (int i = 0; i < 3; ++i) ; }"]),
    ("deletion", "{ each([](int& i) { i = 1; }); }", ["{ ; }", "{ each([](int& i) { ; }); }"]),
    ("deletion", "{ int x = 3; const auto y = f(); Scope scope(z); }", []),
    ("deletion", "class A { A(const A&) = delete; };", []),
    ("early return", "{ if (a) return; f(); }", ["{ if (a) ; f(); }"]),
    ("early return", "{ f(); return 3; }", []),
    ("return", "{ return true; }", ["{ return false; }"]),
    ("return", "{ return f(x); }", ["{ return {}; }"]),
    ("return", "{ return nullptr; }", []),
    ("return", "{ return DataType::Null; }", []),
    ("return", "{ return impl::Value(); }", []),
    ("return", "{ return Value(3); }", ["{ return {}; }"]),
    ("relation", 'f("a == b"); // a == b', []),
    ("relation", "#if A == B\n#endif", []),
)


class Mutations(unittest.TestCase):
    def test_each_operator_makes_its_mutants(self):
        for operator, text, expected in CASES:
            made = [mutant.apply(text) for mutant in mutations.mutants_of("a.cpp", text)
                    if mutant.operator == operator]
            self.assertEqual(made, expected, (operator, text))

    def test_no_two_mutants_are_the_same(self):
        text = (ROOT / "kelvo/sdk/impl/graph/output.cpp").read_text(encoding="utf-8")
        made = [mutant.apply(text) for mutant in mutations.mutants_of("a.cpp", text)]
        self.assertEqual(len(made), len(set(made)))
        self.assertGreater(len(made), 40)

    def test_mutant_tells_its_line_and_both_texts(self):
        text = "a;\n  if (b == c)\n    d();\n"
        mutant = mutations.mutants_of("a.cpp", text)[0]
        self.assertEqual((mutant.line(text), mutant.before(text), mutant.after(text)),
                         (2, "if (b == c)", "if (b != c)"))


BODIES = (
    ("int f(int a) { return a; }", ["{ return a; }"]),
    ("namespace n {\nclass A {\n    void f() const noexcept {}\n};\n}", ["{}"]),
    ("struct A { A() : m_a{1}, m_b(2) { f(); } int m_a = g({}); };", ["{ f(); }"]),
    ("void f() { auto g = [] { h(); }; }", ["{ auto g = [] { h(); }; }"]),
    ("template<class T> auto A<T>::operator==(A a) -> bool { return {}; }", ["{ return {}; }"]),
    ("const auto f = [](int a) { return a; };", []),
    ("constexpr int f() { return 1; }", []),
    ("enum class A { b, c };\nconst int a[] = {1, 2};\nint b{3};", []),
)


class Switched(unittest.TestCase):
    def test_bodies_are_those_of_functions_at_run_time(self):
        for text, expected in BODIES:
            self.assertEqual([text[start:end] for start, end in switched.functions(text)], expected)

    def test_lines_and_functions_of_mutants_are_known(self):
        text = "int a = 1;\nbool f() { return true; }\nint g() {\n    return h(1) + 2;\n}\n"
        mutants = dict(enumerate(mutations.mutants_of("a.cpp", text)))
        made = switched.switched(text, mutants, 40)
        lines = made.text.splitlines()
        self.assertEqual(made.function_of, {1: 40, 2: 41, 3: 41, 4: 41, 5: 41})
        for line, number in made.mutant_at.items():
            if number is not None and mutants[number].operator == "constant":
                self.assertNotIn("h(1) + 2", lines[line - 1])
        self.assertIn("int a = 1;", made.text)
        self.assertEqual(made.text.count("return h(1) + 2;"), 1)


class Equivalents(unittest.TestCase):
    def test_block_is_known_by_file_and_both_lines(self):
        known = equivalents.read("# Why\n\na.cpp\n- x = 1;\n+ x = 2;\nNobody reads x.\n")
        self.assertEqual(known, {("a.cpp", "x = 1;", "x = 2;"): "Nobody reads x."})

    def test_block_without_a_reason_is_refused(self):
        with self.assertRaises(ValueError):
            equivalents.read("a.cpp\n- x = 1;\n+ x = 2;\n")

    def test_those_of_the_tree_are_mutants_of_its_sources(self):
        text = (ROOT / mutants.EQUIVALENT).read_text(encoding="utf-8")
        for file, before, after in equivalents.read(text):
            source = (ROOT / file).read_text(encoding="utf-8")
            keys = {equivalents.key(mutant, source)
                    for mutant in mutations.mutants_of(file, source)}
            self.assertIn((file, before, after), keys)


class Samples(unittest.TestCase):
    def test_seed_decides_the_sample(self):
        all_of_them = list(range(1000))
        first = mutants.sample(all_of_them, 50, 1)
        self.assertEqual(len(first), 50)
        self.assertEqual(first, mutants.sample(all_of_them, 50, 1))
        self.assertNotEqual(first, mutants.sample(all_of_them, 50, 2))

    def test_zero_is_all(self):
        self.assertEqual(mutants.sample([1, 2, 3], 0, 1), [1, 2, 3])

    def test_share_counts_what_tests_can_find(self):
        _, share = mutants.summary(["killed"] * 3 + ["survived", "equivalent", "not compiled"])
        self.assertEqual(share, 75)

    def test_nothing_tried_is_no_success(self):
        self.assertEqual(mutants.summary(["not compiled"])[1], 0)


CMAKE = """\
cmake_minimum_required(VERSION 3.20)
project(small CXX)
set(CMAKE_CXX_STANDARD 20)
enable_testing()
find_package(GTest REQUIRED)
add_library(kelvo_sdk STATIC sdk/kinds.cpp sdk/limits.cpp
            sdk/sign.cpp sdk/size.cpp)
target_include_directories(kelvo_sdk PUBLIC "${PROJECT_SOURCE_DIR}")
add_executable(tests tests/sdk/kinds_test.cpp tests/sdk/limits_test.cpp tests/sdk/sign_test.cpp
               tests/sdk/size_test.cpp)
target_link_libraries(tests PRIVATE kelvo_sdk GTest::gtest_main)
add_test(NAME tests COMMAND tests --gtest_brief=1)
add_executable(again EXCLUDE_FROM_ALL tests/sdk/size_test.cpp)
"""
SOURCES = {
    "CMakeLists.txt": CMAKE,
    "sdk/limits.cpp": "int atMost(int value, int limit) {\n    if (value > limit) return limit;\n"
                      "    return value;\n}\n"
                      "int sum(int count) {\n    int all = 0;\n"
                      "    while (count != 0)\n        all += --count;\n    return all;\n}\n",
    "sdk/sign.cpp": "#include <optional>\nint sign(int of) {\n    if (of < 0)\n"
                    "        return -1;\n    else\n        return 1;\n}\n"
                    "int valueOf(std::optional<int> of) {\n    if (!of) return 0;\n"
                    "    return *of;\n}\n",
    "sdk/kinds.cpp": "struct Kind {\n    Kind(int of) : number(of) {}\n    int number;\n};\n"
                     "int first = 4;\n"
                     "Kind kindOf(int of) {\n    return Kind(of + first);\n}\n",
    "sdk/size.cpp": '#include "sdk/size_steps.h"\nint twice(int size) { return doubled(size); }\n',
    "sdk/size_steps.h": "#pragma once\n"
                        "template<typename T>\nT doubled(T size) {\n    return size + size;\n}\n",
    "sdk/size.h": "#pragma once\ninline bool isEmpty(int size) {\n    return size == 0;\n}\n",
    "tests/sdk/kinds_test.cpp": "#include <gtest/gtest.h>\nstruct Kind { int number; };\n"
                                "Kind kindOf(int);\n"
                                "TEST(Kinds, Number) { EXPECT_EQ(kindOf(3).number, 7); }\n",
    "tests/sdk/limits_test.cpp": "#include <gtest/gtest.h>\nint atMost(int, int);\nint sum(int);\n"
                                 "TEST(Limits, AtMost) { EXPECT_EQ(atMost(5, 3), 3); }\n"
                                 "TEST(Limits, Sum) { EXPECT_EQ(sum(4), 6); }\n",
    "tests/sdk/sign_test.cpp": "#include <gtest/gtest.h>\n#include <optional>\n"
                               "#include <unistd.h>\nint sign(int);\n"
                               "int valueOf(std::optional<int>);\n"
                               "TEST(Sign, IsCalled) { sign(-3); }\n"
                               "TEST(ValueOf, IsCalled) { valueOf({}); }\n"
                               "TEST(Late, Sign) {\n    usleep(500000);\n"
                               "    EXPECT_EQ(sign(3), 1);\n}\n",
    "tests/sdk/size_test.cpp": '#include "sdk/size.h"\n#include <gtest/gtest.h>\nint twice(int);\n'
                               "TEST(Size, Twice) { EXPECT_EQ(twice(3), 6); }\n"
                               "TEST(Size, IsEmpty) { EXPECT_TRUE(isEmpty(0)); }\n",
    mutants.EQUIVALENT: "sdk/limits.cpp\n- if (value > limit) return limit;\n"
                        "+ if (value >= limit) return limit;\nEqual values are the same.\n",
}


class Run(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="mutants")
        cls.addClassCleanup(folder.cleanup)
        cls.tree, cls.build = pathlib.Path(folder.name, "tree"), pathlib.Path(folder.name, "build")
        for name, text in SOURCES.items():
            (cls.tree / name).parent.mkdir(parents=True, exist_ok=True)
            (cls.tree / name).write_text(text, encoding="utf-8")
        for command in (["cmake", "-G", "Ninja", "-S", cls.tree, "-B", cls.build,
                         "-DCMAKE_CXX_FLAGS=-O0"], ["cmake", "--build", cls.build]):
            subprocess.run(command, check=True, stdout=subprocess.PIPE)

    def run_tool(self, *words):
        said = io.StringIO()
        with contextlib.redirect_stdout(said), contextlib.redirect_stderr(said):
            status = mutants.main([*words, f"--tree={self.tree}", f"--build={self.build}"])
        return status, said.getvalue()

    def test_sources_are_judged_and_survivors_listed(self):
        status, said = self.run_tool("sdk/limits.cpp", "--sample", "0", "--at-least", "100")
        self.assertEqual(status, 1, said)
        self.assertIn("killed sdk/limits.cpp:2 Limits.AtMost\n", said)
        # A loop that never ends is killed, too.
        self.assertIn("killed sdk/limits.cpp:8 tests: ", said)
        self.assertIn("sdk/limits.cpp:3: return\n    - return value;\n    + return {};\n", said)
        self.assertIn(" 1 equivalent, ", said)

    def test_mutants_that_do_not_compile_leave_the_others(self):
        _, said = self.run_tool("sdk/kinds.cpp", "--sample", "0")
        self.assertIn("not compiled sdk/kinds.cpp:7 could not convert", said)
        self.assertIn("killed sdk/kinds.cpp:7 Kinds.Number", said)

    def test_mutants_outside_of_functions_are_judged(self):
        self.assertIn("killed sdk/kinds.cpp:5 Kinds.Number",
                      self.run_tool("sdk/kinds.cpp", "--sample", "0")[1])

    def test_share_that_was_asked_for_is_success(self):
        self.assertEqual(self.run_tool("sdk/limits.cpp", "--sample", "0", "--at-least", "50")[0], 0)

    def test_header_is_judged_by_its_mirror(self):
        status, said = self.run_tool("sdk/size.h", "--sample", "0")
        self.assertEqual(status, 0, said)
        self.assertIn("3 mutants: 3 killed", said)

    def test_template_of_a_header_is_judged_by_its_source(self):
        status, said = self.run_tool("sdk/size_steps.h", "--sample", "0")
        self.assertEqual(status, 0, said)
        self.assertIn("2 mutants: 2 killed", said)

    def test_function_that_ends_without_its_result_is_killed(self):
        _, said = self.run_tool("sdk/sign.cpp", "--sample", "0")
        self.assertIn("killed sdk/sign.cpp:4 tests: ended", said)

    def test_function_that_takes_what_is_not_there_is_killed(self):
        _, said = self.run_tool("sdk/sign.cpp", "--sample", "0")
        self.assertEqual(said.count("killed sdk/sign.cpp:9 tests: ended"), 2, said)

    def test_long_suites_are_left_out_on_request(self):
        self.assertIn("killed sdk/sign.cpp:6 Late.Sign", self.run_tool("sdk/sign.cpp")[1])
        self.assertIn("survived sdk/sign.cpp:6",
                      self.run_tool("sdk/sign.cpp", "--longest", "0.4")[1])

    def test_sources_stay_as_they_are(self):
        self.run_tool("sdk/limits.cpp", "--sample", "2")
        for name, text in SOURCES.items():
            self.assertEqual((self.tree / name).read_text(encoding="utf-8"), text)

    def test_unknown_file_is_named(self):
        status, said = self.run_tool("sdk/none.cpp")
        self.assertEqual((status, said), (2, "sdk/none.cpp is no source of the library\n"))


if __name__ == "__main__":
    unittest.main()
