#!/usr/bin/env python3
"""The command `kelvo find`. kelvo_find_test.py KELVO [...]"""
import random
import re
import subprocess

from kelvo_tool import ToolTest, main, scene, tool

DEFINITIONS = "kelvo types 1\n\ntype glow : emitter {\n}\n"
BASED = 'node sphere : geometry, object "ball" {\n    Real r = 1\n}'


def as_expression(pattern):
    """Returns a path pattern as a regular expression."""
    text = re.escape(pattern.lower())
    text = re.sub(r"\\\.(\\\*\\\*\\\.)+", "<between>", text).replace(r"\*\*", "<across>")
    text = text.replace(r"\*", r"[^.\[\]]*").replace(r"\?", r"[^.\[\]]")
    return text.replace("<between>", r"\.(.*\.)?").replace("<across>", ".*")


class FindTest(ToolTest):
    def paths(self, *arguments, given=None):
        """Returns the paths that the tool finds, without kinds and values."""
        ran = self.run_tool("find", *arguments, given=given)
        self.assertEqual(ran.returncode, 0 if ran.stdout else 1, ran.stderr)
        return [line.split(" ")[0] for line in ran.stdout.splitlines()]


class Lines(FindTest):
    def test_a_line_tells_path_kind_and_short_value_in_scene_order(self):
        self.expect(0, "find", "a.kns", "lamp**", out="""\
lamp (light)
lamp.radius (Real) = 0.5
lamp.count (UInt) = 3
lamp.target (Node) = desk
lamp.label (String) = "say \\"hi\\""
lamp.fixed (Int) = 1
lamp.bounded (Int) = 1
lamp.shade (Object) = {2 members}
lamp.shade.tint (Rgba) = (1 0 0 1)
lamp.shade.stops (Array<Vec2>) = [(0 1), (2 3)]
lamp.shade.stops[0] (Vec2) = (0 1)
lamp.shade.stops[1] (Vec2) = (2 3)
""")

    def test_connections_are_shown_and_long_values_cut(self):
        self.expect(0, "find", "a.kns", "desk.*o*", "--inputs", out="""\
desk.positions (Buffer<Pos3f>) = [(0 0 0) (1 0 0) (1 1 0) (1 1 1) ...] 6 elements
desk.color (Rgba) = (0.8 0.6 0.4 1) <- wood.color
""")

    def test_the_number_can_stand_alone(self):
        self.expect(0, "find", "a.kns", "*", "--count", out="4\n")

    def test_nothing_found_is_reported(self):
        for arguments, expected in (
                (["lmp*"], "nothing matches 'lmp*'."),
                (["*.radius", "--nodes"], "no node matches '*.radius'."),
                (["lamp", "--inputs"], "no input matches 'lamp'."),
                (["**", "--type", "Quat"], "nothing matches '**' with type 'Quat'."),
                (["**", "--value", ">9"], "nothing matches '**' with value '>9'."),
                (["**", "--type", "Int", "--value", "9"],
                 "nothing matches '**' with type 'Int' and value '9'.")):
            with self.subTest(arguments):
                self.expect(1, "find", "a.kns", *arguments, out="",
                            error=f"kelvo: a.kns: {expected}\n")

    def test_nothing_found_counts_as_none(self):
        self.expect(1, "find", "a.kns", "x", "--count", out="0\n",
                    error="kelvo: a.kns: nothing matches 'x'.\n")

    def test_files_that_cannot_be_read_are_the_files_fault(self):
        self.expect(1, "find", "none.kns", "*", out="",
                    error="kelvo: cannot read 'none.kns': No such file or directory\n")

    def test_wrong_calls_are_reported(self):
        for arguments, expected in (
                (["a.kns"], "PATTERN is required"),
                (["a.kns", "*", "--nodes", "--inputs"], "--nodes excludes --inputs"),
                (["a.kns", "*", "--nodes", "--value", "1"], "--value excludes --nodes")):
            with self.subTest(arguments):
                ran = self.run_tool("find", *arguments)
                self.assertEqual((ran.returncode, ran.stdout), (2, ""))
                self.assertIn(expected, ran.stderr)

    def test_a_reader_that_goes_away_is_no_error(self):
        self.file.write_text(scene(*(f'node t "n{i}" {{\n}}' for i in range(20000))))
        with subprocess.Popen([tool(), "find", str(self.file), "*"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as running:
            self.assertNotEqual(running.stdout.readline(), b"")
            running.stdout.close()
            self.assertEqual(running.stderr.read(), b"")
            self.assertEqual(running.wait(60), 0)


class Patterns(FindTest):
    def test_patterns_are_compared_with_whole_paths(self):
        for pattern, expected in (
                ("lamp", ["lamp"]),
                ("LAMP.Radius", ["lamp.radius"]),
                ("lam", []),
                ("*", ["room", "lamp", "wood", "desk"]),
                ("?oo?", ["room", "wood"]),
                ("*m*", ["room", "lamp"]),
                ("*.*r*t", ["lamp.target"]),
                ("*.c*", ["room.children", "lamp.count", "desk.color"]),
                ("lamp.*.*", ["lamp.shade.tint", "lamp.shade.stops"]),
                ("lamp.**.stops", ["lamp.shade.stops"]),
                ("lamp.**.radius", ["lamp.radius"]),
                ("lamp.**.**.radius", ["lamp.radius"]),
                ("**.tint", ["lamp.shade.tint"]),
                ("**.wood", []),
                ("desk.weights", ["desk.weights"]),
                ("desk.weights[1]", ["desk.weights[1]"]),
                ("desk.weights[?]", [f"desk.weights[{i}]" for i in range(3)]),
                ("desk.weights*", ["desk.weights"]),
                ("*.*[0]", ["room.children[0]", "desk.weights[0]"]),
                ("**[0]", ["room.children[0]", "lamp.shade.stops[0]", "desk.weights[0]"]),
                ("**s[1]", ["lamp.shade.stops[1]", "desk.weights[1]"]),
                ("lamp[0]", [])):
            with self.subTest(pattern):
                self.assertEqual(self.paths("a.kns", pattern), expected)

    def test_members_of_elements_and_elements_of_elements_are_reached(self):
        given = scene('node t "t" {\n    Array<Object> o = [{\n        Int a = 1\n    }]\n'
                      '    Array<Array> m = [Array<Int> [1, 2], Array<Int> [3]]\n}')
        for pattern, expected in (("t.o[*].a", ["t.o[0].a"]), ("t.o[0]**", ["t.o[0]", "t.o[0].a"]),
                                  ("t.m[*][0]", ["t.m[0][0]", "t.m[1][0]"])):
            with self.subTest(pattern):
                self.assertEqual(self.paths("-", pattern, given=given), expected)

    def test_patterns_mean_what_their_regular_expressions_mean(self):
        every = self.paths("a.kns", "**")
        pieces = ["l", "a", "s", "o", "e", "de", "amp", ".", ".", "[0]", "[*]", "*", "**", "?"]
        chosen = random.Random(7)
        compared = 0
        for _ in range(4000):
            pattern = "".join(chosen.choices(pieces, k=chosen.randint(1, 7)))
            expression = re.compile(as_expression(pattern))
            expected = [path for path in every if expression.fullmatch(path.lower())]
            if not expected or "***" in pattern:
                continue
            with self.subTest(pattern):
                self.assertEqual(self.paths("a.kns", pattern), expected)
                compared += 1
        self.assertGreater(compared, 50)

    def test_what_is_no_pattern_is_refused(self):
        for pattern, expected in (
                ("", "nothing"),
                ("a..b", "an empty step"),
                (".a", "an empty step"),
                ("a.", "an empty step"),
                ("a***", "more than two '*' in a row"),
                ("a[1", "'[' without ']'"),
                ("a]", "']' without '['"),
                ("a[1]]", "']' without '['"),
                ("[1]", "an element without the array it is in"),
                ("a.[1]", "an element without the array it is in"),
                ("a.b[x]", "between '[' and ']' stands a number, '*' or '?'"),
                ("a.b[]", "between '[' and ']' stands a number, '*' or '?'"),
                ("a.b[**]", "between '[' and ']' stands a number, '*' or '?'"),
                ("a.b[+]", "'[+]' is for `set` alone"),
                ("a.b[1]c", "a name right behind ']'"),
                ("a b", "a character that no path has"),
                ("ä", "a character that no path has")):
            with self.subTest(pattern):
                self.expect(2, "find", "a.kns", pattern, out="",
                            error=f"kelvo: '{pattern}' is no pattern: it has {expected}.\n")

    def test_many_wildcards_take_no_time(self):
        name = "a" * 5000
        given = scene(f'node t "{name}" {{\n    String s = "{name}"\n}}')
        for pattern in ("*a" * 60 + "b", "**a" * 60 + "b", "*" + "a*" * 60 + ".**.**.**.s" * 20):
            with self.subTest(pattern):
                self.assertEqual(self.paths("-", pattern, given=given), [])
        self.assertEqual(self.paths("-", "**", "--value", "*a" * 200 + "b", given=given), [])


class Filters(FindTest):
    def test_types_are_those_of_nodes_their_bases_and_kinds_of_inputs(self):
        self.file.write_text(self.file.read_text() + BASED)
        for wanted, expected in (
                ("light", ["lamp"]),
                ("LIGHT", ["lamp"]),
                ("sphere", ["ball"]),
                ("object", ["ball", "lamp.shade", "room", "lamp", "desk"]),
                ("emitter", ["lamp"]),
                ("emit*", ["lamp"]),
                ("Geometry", ["ball"]),
                ("UInt", ["lamp.count"]),
                ("Array<Node>", ["room.children"]),
                ("Array", ["room.children", "lamp.shade.stops", "desk.weights"]),
                ("array<*e*>", ["room.children", "lamp.shade.stops", "desk.weights"]),
                ("Buffer", ["desk.positions"]),
                ("Buffer<Pos3f>", ["desk.positions"]),
                ("Mat?", ["room.matrix"]),
                ("Real", ["lamp.radius", "desk.weights[0]", "desk.weights[1]", "desk.weights[2]",
                          "ball.r"])):
            with self.subTest(wanted):
                self.assertEqual(sorted(self.paths("a.kns", "**", "--type", wanted)),
                                 sorted(expected))

    def test_bases_that_libraries_alone_know_match(self):
        (self.folder / "my.knd").write_text(DEFINITIONS)
        self.file.write_text(scene('node glow "g" {', "}", 'node pointLight "p" {', "}"))
        self.assertEqual(self.paths("a.kns", "*", "--type", "emitter"), ["p"])
        for wanted in ("emitter", "object", "OBJ*"):
            with self.subTest(wanted):
                self.assertEqual(
                    self.paths("a.kns", "*", "--type", wanted, "--library", "my.knd"), ["g", "p"])

    def test_inputs_that_the_file_leaves_to_types_are_not_found(self):
        self.file.write_text(scene('node pointLight "p" {', "}"))
        self.assertEqual(self.paths("a.kns", "**", "--type", "emitter"), ["p"])
        self.assertEqual(self.paths("a.kns", "p.*"), [])

    def test_values_are_compared_as_text(self):
        for wanted, expected in (
                ("desk", ["room.children[1]", "lamp.target"]),
                ("3", ["lamp.count", "desk.weights[2]"]),
                ('say "hi"', ["lamp.label"]),
                ("say*", ["lamp.label"]),
                ("Say*", []),
                ("(1 0 0 ?)", ["lamp.shade.tint"]),
                ("[1, 2, 3]", ["desk.weights"]),
                ("*0.4 1)", ["desk.color"]),
                ("*(0.5 0 1)]", ["desk.positions"]),
                ("", [])):
            with self.subTest(wanted):
                self.assertEqual(self.paths("a.kns", "**", "--value", wanted), expected)

    def test_numbers_are_compared_by_value(self):
        given = scene('node t "t" {', "    Int a = -3", "    UInt b = 18446744073709551615",
                      "    Real c = 0.1", "    Real d = nan", "    Real e = 9007199254740992",
                      '    Int f = 9007199254740993', '    String g = "7"', "}")
        for wanted, expected in (
                ("<0", "a"), ("<=-3", "a"), ("<-3", ""), ("=-3.0", "a"), ("=0.1", "c"),
                ("=0.10000000000000001", "c"), (">0.1", "bef"), (">=0.1", "bcef"),
                ("=9007199254740993", "f"), ("=9007199254740992", "e"),
                (">9007199254740992", "bf"), (">18446744073709551614", "b"),
                ("=18446744073709551615", "b"), ("=18446744073709551616", ""), ("=7", ""),
                ("<inf", "abcef"), ("=nan", "")):
            with self.subTest(wanted):
                found = self.paths("-", "**", "--value", wanted, given=given)
                self.assertEqual(found, [f"t.{name}" for name in expected])

    def test_a_backslash_takes_a_character_as_it_is(self):
        given = scene('node t "t" {', '    String a = "*"', '    String b = "x"',
                      '    String c = "<1"', '    String d = "?\\\\"', "}")
        for wanted, expected in (("*", "abcd"), ("\\*", "a"), ("\\x", "b"), ("\\<1", "c"),
                                 ("\\?\\\\", "d"), ("\\?\\", "d")):
            with self.subTest(wanted):
                found = self.paths("-", "**", "--value", wanted, given=given)
                self.assertEqual(found, [f"t.{name}" for name in expected])

    def test_only_numbers_compare(self):
        for wanted, operand in (("<x", "x"), (">=", ""), ("=", ""), ("==1", "=1")):
            with self.subTest(wanted):
                self.expect(2, "find", "a.kns", "**", "--value", wanted, out="",
                            error=f"kelvo: '{operand}' in '{wanted}' is no number to compare with "
                                  "(a text that begins like this needs a '\\' in front).\n")

    def test_filters_hold_together(self):
        self.assertEqual(self.paths("a.kns", "**", "--type", "Int", "--value", "1"),
                         ["lamp.fixed", "lamp.bounded"])
        self.assertEqual(self.paths("a.kns", "*.f*", "--type", "Int", "--value", ">=1"),
                         ["lamp.fixed"])


if __name__ == "__main__":
    main()
