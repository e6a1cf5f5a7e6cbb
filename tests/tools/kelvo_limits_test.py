#!/usr/bin/env python3
"""The tool kelvo and the limits of values. kelvo_limits_test.py KELVO [unittest ...]"""
import json

from kelvo_tool import ToolTest, main, scene

LIGHT = scene('node pointLight "a" {', "    Real intensity = 1", "    Real radius = 0", "}")
TYPES = """kelvo types 1

type lamp {
    Real power = 5 @min 0 @max 10
    String mode = "warm" @choices ["warm", "cold"]
    Int steps = 4 @choices [1, 4, 8]
    Vec2 place = (0 0) @min (0 0) @max (1 1)
    Int seal = 7 @readonly
    Node owner @readonly
    Object lid {
        Real weight = 1 @min 1
        Object knob {
            Int turns = 0 @max 3
        }
    }
    output Real heat
}
"""
# A scene with every input that the type limits.
LAMP = """kelvo scene 1

node lamp "l" {
    Real power = 5
    String mode = "warm"
    Int steps = 4
    Vec2 place = (0 0)
    Int seal = 7
    Node owner = null
    Object lid {
        Real weight = 1
        Object knob {
            Int turns = 0
        }
    }
}
node lamp "m" {
}
"""


class LimitsTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.write("my.knd", TYPES)

    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def read(self, name):
        return (self.folder / name).read_text()

    def with_types(self, status, *arguments, **expected):
        return self.expect(status, *arguments, "--library", "my.knd", **expected)

    def refused(self, assignment, reason, text=LAMP):
        """Checks that `set` and `edit` both refuse an assignment, and leave the file as it was."""
        self.write("l.kns", text)
        path, value = assignment.split("=", 1)
        told = f"Cannot set input '{path}' to '{value}': the value {reason}"
        self.with_types(2, "set", "l.kns", assignment, out="", error=f"kelvo: l.kns: {told}\n")
        quoted = value or '""'
        ran = self.run_tool("edit", "l.kns", "--library", "my.knd",
                            given=f"set {path} {quoted}\n")
        self.assertNotEqual(ran.returncode, 0)
        self.assertIn(told, ran.stderr)
        self.assertEqual(self.read("l.kns"), text)


class Set(LimitsTest):
    def test_a_spelled_out_input_keeps_the_bounds_of_its_type(self):
        self.refused("a.intensity=-1", "is below the minimum 0.", LIGHT)
        self.expect(0, "get", "l.kns", "a.intensity", out="1\n")

    def test_every_sort_of_limit_is_kept(self):
        for assignment, reason in (
                ("l.power=11", "is above the maximum 10 (the range is 0 to 10)."),
                ("l.power=nan", "is below the minimum 0 (the range is 0 to 10)."),
                ("l.power=inf", "is above the maximum 10 (the range is 0 to 10)."),
                ("l.power=-inf", "is below the minimum 0 (the range is 0 to 10)."),
                ("l.mode=worm", 'is not among the choices "warm", "cold": did you mean \'warm\'?'),
                ("l.mode=", 'is not among the choices "warm", "cold".'),
                ("l.steps=5", "is not among the choices 1, 4, 8."),
                ("l.place=(0 2)",
                 "is above the maximum (1 1) (the range is (0 0) to (1 1))."),
                ("l.lid.weight=0", "is below the minimum 1."),
                ("l.lid.knob.turns=4", "is above the maximum 3.")):
            with self.subTest(assignment):
                self.refused(assignment, reason)

    def test_values_at_the_limits_are_taken(self):
        for assignment in ("l.power=0", "l.power=-0", "l.power=10", "l.mode=cold", "l.steps=8",
                           "l.place=(1 0)", "l.lid.weight=1", "l.lid.knob.turns=3"):
            with self.subTest(assignment):
                self.write("l.kns", LAMP)
                self.with_types(0, "set", "l.kns", assignment, out="", error="")

    def test_read_only_inputs_of_the_type_stay(self):
        self.write("l.kns", LAMP)
        for assignment in ("l.seal=8", "l.owner=m"):
            with self.subTest(assignment):
                path = assignment.split("=")[0]
                self.with_types(2, "set", "l.kns", assignment, out="", error=(
                    f"kelvo: l.kns: Cannot set input '{path}': it is read-only.\n"))
                self.assertEqual(self.read("l.kns"), LAMP)

    def test_limits_of_the_text_count_alone_where_there_are_some(self):
        text = LAMP.replace("power = 5", "power = 5 @max 20")
        self.refused("l.power=21", "is above the maximum 20.", text)
        self.with_types(0, "set", "l.kns", "l.power=15", out="", error="")

    def test_connected_inputs_keep_their_limits(self):
        text = LAMP.replace("power = 5", "power = 5 <- m.heat")
        self.refused("l.power=11", "is above the maximum 10 (the range is 0 to 10).", text)

    def test_elements_keep_their_limits(self):
        text = scene('node lamp "l" {', "    Array<Int> list = [1, 2 @min 0 @max 3]", "}")
        self.refused("l.list[1]=4", "is above the maximum 3 (the range is 0 to 3).", text)
        self.with_types(0, "set", "l.kns", "l.list[0]=4", out="", error="")

    def test_an_object_of_the_texts_own_has_no_limits_of_the_type(self):
        self.write("l.kns", LAMP.replace("        Object knob", "        Object nob"))
        self.with_types(0, "set", "l.kns", "l.lid.nob.turns=9", out="", error="")

    def test_of_many_choices_the_first_are_reported(self):
        choices = ", ".join(str(choice) for choice in range(30))
        text = scene('node lamp "l" {', f"    Int i = 1 @choices [{choices}]", "}")
        self.refused("l.i=99", "is not among the choices 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, "
                               "13, 14, 15, 16, 17, 18, 19 and 10 more.", text)


class Forms(LimitsTest):
    VALUES = {
        "Bool": ("true", "yes", "true or false"),
        "Int": ("1", "1.5", "a whole number from -9223372036854775808 to 9223372036854775807"),
        "UInt": ("1", "-1", "a whole number from 0 to 18446744073709551615"),
        "Real": ("1", "1,5", "a number, such as 0.5"),
        "Vec2": ("(1 2)", "1 2", "two numbers, (x y)"),
        "Vec3": ("(1 2 3)", "(1 2)", "three numbers, (x y z)"),
        "Vec4": ("(1 2 3 4)", "(1 2 3)", "four numbers, (x y z w)"),
        "Pos2": ("(1 2)", "(1 2 3)", "two numbers, (x y)"),
        "Pos3": ("(1 2 3)", "", "three numbers, (x y z)"),
        "Quat": ("(0 0 0 1)", "(0 0 1)", "four numbers, (x y z w)"),
        "Rgba": ("(1 1 1 1)", "(1 0 0)", "four numbers, (r g b a)"),
        "Mat3": ("(1 0 0  0 1 0  0 0 1)", "(1)", "nine numbers row by row, (1 0 0  0 1 0  0 0 1)"),
        "Mat4": ("(1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)", "one",
                 "16 numbers row by row, (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)"),
        "Buffer": ("[1 2]", "1 2", "a list such as [1 2 3] or [(0 0 0) (1 0 0)], each element of "
                                   "the buffer's type"),
    }

    def test_a_text_of_another_form_gets_the_form(self):
        for kind, (value, wrong, form) in self.VALUES.items():
            with self.subTest(kind):
                name = "Buffer<Float>" if kind == "Buffer" else kind
                text = scene('node any "n" {', f"    {name} x = {value}", "}")
                self.write("n.kns", text)
                self.expect(2, "set", "n.kns", f"n.x={wrong}", out="", error=(
                    f"kelvo: n.kns: cannot set 'n.x': '{wrong}' is no value of kind {name}: "
                    f"expected {form}.\n"))
                self.assertEqual(self.read("n.kns"), text)
                self.expect(0, "set", "n.kns", f"n.x={value}", out="", error="")

    def test_whole_numbers_that_are_too_large_get_the_range(self):
        self.write("n.kns", scene('node any "n" {', "    Int x = 1", "}"))
        ran = self.run_tool("set", "n.kns", "n.x=99999999999999999999")
        self.assertEqual(ran.returncode, 2)
        self.assertIn("to 9223372036854775807.\n", ran.stderr)


class OutOfRange(LimitsTest):
    WILD = LAMP.replace("power = 5", "power = 11 # hot").replace('"warm"', '"worm"').replace(
        "steps = 4", "steps = 6").replace("turns = 0", "turns = 9")

    def test_every_command_reads_it(self):
        self.write("l.kns", self.WILD)
        for command, *rest in (["show"], ["get", "l.power"], ["stats"], ["hash"], ["find", "**"],
                               ["explain", "l.power"], ["deps", "l"], ["graph"]):
            with self.subTest(command):
                self.with_types(0, command, "l.kns", *rest)
        self.with_types(0, "diff", "l.kns", "l.kns", out="")

    def test_its_bytes_stay_when_something_else_changes(self):
        self.write("l.kns", self.WILD)
        self.with_types(0, "set", "l.kns", "l.place=(1 1)", out="")
        self.assertEqual(self.read("l.kns"), self.WILD.replace("(0 0)", "(1 1)"))

    def test_its_bytes_stay_where_types_are_needed_to_read_it(self):
        text = self.WILD + 'node add "s" {\n    Real a = 1\n    Real b = 2 <- m.heat\n}\n'
        self.write("l.kns", text)
        self.with_types(0, "set", "l.kns", "s.a=2", "-o", "-", out=text.replace("a = 1", "a = 2"))

    def test_a_mark_stays_with_and_without_types(self):
        text = LIGHT.replace("intensity = 1", "intensity = -1 @unchecked")
        self.expect(0, "set", "-", "a.radius=1", given=text,
                    out=text.replace("radius = 0", "radius = 1"))

    def test_check_tells_place_value_and_range(self):
        self.write("l.kns", self.WILD)
        self.with_types(0, "check", "l.kns", out="l.kns: 2 nodes, 0 errors, 4 warnings\n", error=(
            "kelvo: warning: l.kns: input 'l.power': the value 11 is above the maximum 10 (the "
            "range is 0 to 10). [out-of-range]\n"
            "kelvo: warning: l.kns: input 'l.mode': the value \"worm\" is not among the choices "
            "\"warm\", \"cold\": did you mean 'warm'? [out-of-range]\n"
            "kelvo: warning: l.kns: input 'l.steps': the value 6 is not among the choices 1, 4, 8. "
            "[out-of-range]\n"
            "kelvo: warning: l.kns: input 'l.lid.knob.turns': the value 9 is above the maximum 3. "
            "[out-of-range]\n"))

    def test_fix_takes_the_nearest(self):
        self.write("l.kns", self.WILD)
        self.with_types(0, "check", "l.kns", "--fix")
        self.assertEqual(self.read("l.kns"), self.WILD.replace("11", "10").replace(
            "worm", "warm").replace("steps = 6", "steps = 4").replace("turns = 9", "turns = 3"))

    def test_a_value_that_a_modifier_hides_is_reported_and_fixed(self):
        text = scene('node pointLight "a" {', "    Array<Node> modifiers = [o]",
                     "    Real intensity = -1", "}", 'node overrideModifier "o" {',
                     '    String modifies = "intensity"', '    String value = "3"', "}")
        self.write("m.kns", text)
        self.assertIn("input 'a.intensity': the value -1 is below the minimum 0. [out-of-range]",
                      self.run_tool("check", "m.kns").stderr)
        self.expect(0, "check", "m.kns", "--fix")
        self.assertEqual(self.read("m.kns"), text.replace("= -1", "= 0"))

    def test_limits_of_the_text_are_treated_alike(self):
        text = scene('node pointLight "n" {', "    Int x = 99 @min 0 @max 9", "}")
        self.write("n.kns", text)
        self.expect(0, "get", "n.kns", "n.x", out="99\n")
        self.expect(0, "set", "n.kns", "n.intensity=2", "-o", "-",
                    out=text.replace("\n}", "\n    Real intensity = 2\n}"))
        self.assertIn("[out-of-range]", self.run_tool("check", "n.kns").stderr)
        self.expect(0, "check", "n.kns", "--fix")
        self.assertEqual(self.read("n.kns"), text.replace("99", "9"))

    def test_limits_that_nothing_meets_are_reported_and_have_no_fix(self):
        text = scene('node pointLight "n" {', "    Int x = 5 @min 9 @max 1", "}")
        self.write("n.kns", text)
        ran = self.run_tool("check", "n.kns", "--fix")
        self.assertIn("the value 5 is below the minimum 9 (the range is 9 to 1). [out-of-range]",
                      ran.stderr)
        self.assertEqual(self.read("n.kns"), text)

    def test_the_report_for_programs_has_it(self):
        self.write("l.kns", self.WILD)
        file, = json.loads(self.with_types(0, "check", "l.kns", "--format", "json"))["files"]
        found = file["findings"][0]
        self.assertEqual((found["rule"], found["place"], found["fix"]),
                         ("out-of-range", "l.power", "set it to 10"))

    def test_a_changed_read_only_value_is_set_back(self):
        self.write("l.kns", LAMP.replace("seal = 7", "seal = 8"))
        ran = self.run_tool("check", "l.kns", "--library", "my.knd")
        self.assertIn("input 'l.seal' is read-only: type 'lamp' defines 7, not 8. "
                      "[changed-read-only]\n", ran.stderr)
        self.with_types(0, "check", "l.kns", "--fix")
        self.assertEqual(self.read("l.kns"), LAMP)


class Patches(LimitsTest):
    def patched(self, before, after):
        self.write("a.kns", before)
        self.write("b.kns", after)
        patch = self.run_tool("diff", "a.kns", "b.kns", "--format", "json", "--library", "my.knd")
        self.write("p.json", patch.stdout)
        return self.with_types(0, "patch", "a.kns", "p.json", "-o", "-", error="")

    def test_a_patch_may_say_what_a_file_may(self):
        for before, after in ((LAMP, OutOfRange.WILD), (OutOfRange.WILD, LAMP),
                              (LAMP, LAMP.replace("seal = 7", "seal = 8")),
                              (LAMP.replace("power = 5", "power = 5 @max 9"),
                               LAMP.replace("power = 5", "power = 10 @max 9")),
                              (LAMP.replace("seal = 7", "seal = 7 @readonly"),
                               LAMP.replace("seal = 7", "seal = 8 @readonly"))):
            with self.subTest(after):
                self.assertEqual(self.patched(before, after), after)

    def test_a_merge_keeps_what_either_side_has(self):
        self.write("base.kns", LAMP)
        self.write("mine.kns", LAMP.replace("power = 5", "power = 11"))
        self.write("theirs.kns", LAMP.replace("turns = 0", "turns = 9"))
        self.with_types(0, "merge", "base.kns", "mine.kns", "theirs.kns", error="", out=(
            LAMP.replace("power = 5", "power = 11").replace("turns = 0", "turns = 9")))


class Files(LimitsTest):
    TEXTURE = scene('node texture "wood" {', '    String dir = "maps"', '    String file = "wood"',
                    '    String ext = ".png"', "}")
    MISSING = ("kelvo: warning: {0}: node 'wood' stands for a file that is not there: "
               "\"maps/wood.png\". [missing-file]\n")

    def test_files_count_from_the_folder_of_the_scene(self):
        (self.folder / "sub" / "maps").mkdir(parents=True)
        self.write("sub/t.kns", self.TEXTURE)
        self.expect(0, "check", "sub/t.kns", out="sub/t.kns: 1 node, 0 errors, 1 warning\n",
                    error=self.MISSING.format("sub/t.kns"))
        self.write("sub/maps/wood.png", "")
        self.expect(0, "check", "sub/t.kns", out="sub/t.kns: 1 node, 0 errors, 0 warnings\n",
                    error="")

    def test_a_folder_is_no_file(self):
        (self.folder / "maps" / "wood.png").mkdir(parents=True)
        self.expect(0, "check", "-", given=self.TEXTURE,
                    error=self.MISSING.format("standard input"))

    def test_absolute_paths_count_as_they_are(self):
        self.write("wood.png", "")
        text = self.TEXTURE.replace('"maps"', f'"{self.folder}"')
        self.expect(0, "check", "-", given=text, error="")
        self.expect(0, "check", "-", given=text.replace('file = "wood"', 'file = "wool"'),
                    error=self.MISSING.format("standard input").replace(
                        "maps/wood.png", f"{self.folder}/wool.png"))

    def test_a_name_of_any_bytes_does_no_harm(self):
        for name in ("a\\0b", "x" * 5000, "\\xff", "..", "\\n"):
            with self.subTest(name[:9]):
                text = self.TEXTURE.replace('file = "wood"', f'file = "{name}"')
                ran = self.run_tool("check", "-", given=text)
                self.assertEqual(ran.returncode, 0, ran.stderr)
                self.assertIn("[missing-file]", ran.stderr)

    def test_the_reports_for_programs_have_it(self):
        file, = json.loads(self.expect(0, "check", "-", "--format", "json",
                                       given=self.TEXTURE))["files"]
        found, = file["findings"]
        self.assertEqual((found["rule"], found["severity"], found["place"]),
                         ("missing-file", "warning", "wood.file"))


class Conflicts(LimitsTest):
    def merged(self):
        for name, power in (("base", 5), ("mine", 6), ("theirs", 7)):
            self.write(f"{name}.kns", LAMP.replace("power = 5", f"power = {power}"))
        self.assertEqual(self.run_tool("merge", "base.kns", "mine.kns", "theirs.kns", "-o",
                                       "out.kns").returncode, 1)

    def test_what_a_merge_left_is_reported_until_it_is_settled(self):
        self.merged()
        told = "out.kns: 2 nodes, 0 errors, 1 warning\n"
        self.with_types(0, "check", "out.kns", out=told, error=(
            "kelvo: warning: out.kns: input 'l.power': a merge left a conflict to settle: l.power: "
            "base 5, mine 6, theirs 7. [conflict-mark]\n"))
        settled = "".join(line for line in self.read("out.kns").splitlines(True)
                          if "# conflict:" not in line)
        self.write("out.kns", settled)
        self.with_types(0, "check", "out.kns", out="out.kns: 2 nodes, 0 errors, 0 warnings\n",
                        error="")

    def test_the_report_for_programs_has_it(self):
        self.merged()
        file, = json.loads(self.with_types(0, "check", "out.kns", "--format", "json"))["files"]
        found, = file["findings"]
        self.assertEqual((found["rule"], found["severity"], found["place"], found["fix"]),
                         ("conflict-mark", "warning", "l.power", None))

    def test_marks_of_git_are_reported_once_for_each_conflict(self):
        text = LAMP.replace("    Real power = 5\n", "<<<<<<< HEAD\n    Real power = 6\n=======\n"
                                                    "    Real power = 7\n>>>>>>> theirs\n")
        self.write("c.kns", text)
        told = ("kelvo: c.kns:4:1: A merge left a conflict here, up to line 8: settle it and take "
                "out the lines with '<<<<<<<', '=======' and '>>>>>>>'.\n")
        for command in (["check", "c.kns"], ["show", "c.kns"], ["get", "c.kns", "l.power"],
                        ["check", "c.kns", "--fix"]):
            with self.subTest(command):
                self.expect(1, *command, out="", error=told)
        self.assertEqual(self.read("c.kns"), text)


class UnknownTypes(LimitsTest):
    def test_what_could_not_be_checked_is_reported(self):
        self.expect(0, "check", "-", given=scene('node gizmo "g" {\n}'),
                    out="standard input: 1 node, 0 errors, 1 warning\n", error=(
            "kelvo: warning: standard input: node 'g': no library knows its type 'gizmo'; its "
            "inputs and outputs were not checked. [unknown-type]\n"))


if __name__ == "__main__":
    main()
