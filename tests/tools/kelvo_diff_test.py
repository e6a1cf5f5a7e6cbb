#!/usr/bin/env python3
"""The commands `kelvo diff` and `kelvo patch`. kelvo_diff_test.py KELVO [...]"""
import json
import random
import unittest

from kelvo_tool import SCENE, ToolTest, main, scene, xform

EMPTY = '{\n  "format": "kelvo diff 1",\n  "changes": []\n}\n'


class DiffTest(ToolTest):
    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def edited(self, *pairs):
        """Writes b.kns, a copy of the scene with texts replaced."""
        text = SCENE
        for before, after in pairs:
            self.assertIn(before, text)
            text = text.replace(before, after)
        return self.write("b.kns", text)

    def diff(self, before, after):
        """Returns the changes from the JSON."""
        ran = self.run_tool("diff", before, after, "--format", "json")
        self.assertIn(ran.returncode, (0, 1), ran.stderr)
        found = json.loads(ran.stdout)
        self.assertEqual(found["format"], "kelvo diff 1")
        self.assertEqual(ran.returncode, 1 if found["changes"] else 0)
        (self.folder / "p.json").write_text(ran.stdout)
        return found["changes"]


class Diff(DiffTest):
    def test_scenes_that_say_the_same_differ_in_nothing(self):
        self.edited(("Real radius = 0.5", "Real   radius   = 5e-1"), ("    # nothing", "# nothing"))
        self.expect(0, "diff", "a.kns", "b.kns", out="")
        self.expect(0, "diff", "a.kns", "b.kns", "--format", "json", out=EMPTY)

    def test_a_line_tells_path_before_and_after(self):
        self.edited(("radius = 0.5", "radius = 0.7 @min 0"), ("[lamp, desk]", "[desk, wood]"),
                    ("    Int fixed = 1 @readonly\n", ""), (" <- wood.color", ""),
                    ("    # nothing follows\n", "    Object more {\n        Int i = 1\n    }\n"),
                    ("node wood", "node paint"), ("output Rgba color", "output Rgba paint"))
        self.expect(1, "diff", "a.kns", "b.kns", out="""\
- room.children[0]: lamp
+ room.children[1]: wood
- lamp.fixed: Int fixed = 1 @readonly
~ lamp.radius: 0.5 -> 0.7
~ lamp.radius @min: nothing -> 0
~ wood type: wood -> paint
- wood.color (output): output Rgba color
+ wood.paint (output): output Rgba paint
~ desk comment.inner: # nothing follows -> nothing
~ desk.color source: wood.color -> nothing
+ desk.more: Object more { ... 3 lines
""")

    def test_a_renamed_node_takes_its_references_along(self):
        self.edited(("lamp", "light_1"))
        self.expect(1, "diff", "a.kns", "b.kns", out="~ lamp: renamed to light_1\n")

    def test_order_counts(self):
        self.write("b.kns", scene(xform("b"), xform("a")))
        self.write("a.kns", scene(xform("a", "b"), xform("b")))
        self.expect(1, "diff", "a.kns", "b.kns", out="""\
~ b: behind a -> first
- a.children[0]: b
""")

    def test_long_values_are_cut(self):
        points = " ".join(f"({i} 0 0)" for i in range(1000))
        long_text = "é" * 100
        self.write("a.kns", scene('node a "a" {\n    Buffer<Pos3f> p = []\n    String s = ""\n}'))
        self.write("b.kns", scene(f'node a "a" {{\n    Buffer<Pos3f> p = [{points}]\n'
                                  f'    String s = "{long_text}"\n}}'))
        ran = self.run_tool("diff", "a.kns", "b.kns")
        self.assertRegex(ran.stdout, r"a\.p: \[\] -> \[\(0 0 0\) .* \.\.\.\] 1000 elements\n")
        self.assertRegex(ran.stdout, r'a\.s: "" -> "é{17}\.\.\. 202 bytes\n')
        self.assertLess(max(map(len, ran.stdout.splitlines())), 120)

    def test_comments_can_count_as_nothing(self):
        self.edited(("# A room.", "# Another room."), (" # metres", ""))
        self.expect(0, "diff", "a.kns", "b.kns", "--ignore-comments", out="")
        self.expect(1, "diff", "a.kns", "b.kns", "--quiet", out="")
        self.assertEqual([change["field"] for change in self.diff("a.kns", "b.kns")],
                         ["comment.leading", "comment.trailing"])

    def test_trouble_is_2(self):
        self.write("bad.kns", "kelvo scene 1\nnode")
        for arguments, error in ((["gone.kns", "a.kns"], "cannot read 'gone.kns'"),
                                 (["a.kns", "bad.kns"], "bad.kns:2:5"),
                                 (["a.kns", "a.kns", "--format", "xml"], "'xml' is no format")):
            ran = self.run_tool("diff", *arguments)
            self.assertEqual((ran.returncode, ran.stdout), (2, ""))
            self.assertIn(error, ran.stderr)

    def test_the_standard_input_and_nothing_are_scenes(self):
        self.expect(0, "diff", "-", "a.kns", out="", given=SCENE)
        ran = self.run_tool("diff", "/dev/null", "a.kns")
        self.assertEqual(ran.returncode, 1)
        self.assertEqual(ran.stdout.count("+ "), 4)


TYPED = """\
node add "sum" {
    Real b = 2%s
}
node multiply "product" {
}
"""


class Patch(DiffTest):
    def test_what_is_left_to_types_is_known(self):
        self.write("a.kns", scene(TYPED % ""))
        self.write("b.kns", scene(TYPED % " <- product.result"))
        self.expect(1, "diff", "a.kns", "b.kns",
                    out="~ sum.b source: nothing -> product.result\n")
        self.diff("a.kns", "b.kns")
        self.expect(0, "patch", "a.kns", "p.json", out="")
        self.expect(0, "diff", "a.kns", "b.kns", out="")
        self.expect(0, "eval", "a.kns", "sum.result")

    def test_a_diff_brings_back_the_other_scene(self):
        self.edited(("radius = 0.5", "radius = 0.7"), ("[lamp, desk]", "[desk, null, lamp]"),
                    ("    Int fixed = 1 @readonly\n", ""), ("# A room.\n", ""))
        self.expect(0, "get", "b.kns", "lamp.radius", out="0.7\n")
        self.diff("a.kns", "b.kns")
        self.expect(0, "patch", "a.kns", "p.json", "-o", "c.kns", out="")
        self.assertEqual((self.folder / "c.kns").read_text(), (self.folder / "b.kns").read_text())
        self.assertEqual(self.file.read_text(), SCENE)
        self.expect(0, "patch", "a.kns", "p.json", out="")
        self.assertEqual(self.file.read_text(), (self.folder / "b.kns").read_text())

    def test_the_patch_may_come_from_the_standard_input(self):
        self.edited(("radius = 0.5", "radius = 0.7"))
        self.diff("a.kns", "b.kns")
        patch = (self.folder / "p.json").read_text()
        out = self.expect(0, "patch", "a.kns", "-", "-o", "-", given=patch)
        self.assertEqual(out, (self.folder / "b.kns").read_text())

    def test_a_scene_that_changed_otherwise_takes_it_too(self):
        self.edited(("radius = 0.5", "radius = 0.7"))
        self.diff("a.kns", "b.kns")
        self.file.write_text(SCENE.replace("count = 3", "count = 4").replace("# A room.\n", ""))
        self.expect(0, "patch", "a.kns", "p.json", out="")
        self.expect(0, "get", "a.kns", "lamp.radius", out="0.7\n")
        self.expect(0, "get", "a.kns", "lamp.count", out="4\n")

    def test_a_change_that_does_not_fit_is_reported_and_nothing_is_written(self):
        self.edited(("radius = 0.5", "radius = 0.7"), ("count = 3", "count = 4"))
        self.diff("a.kns", "b.kns")
        text = SCENE.replace("count = 3", "count = 5")
        self.file.write_text(text)
        self.expect(1, "patch", "a.kns", "p.json", out="", error="kelvo: a.kns: cannot change "
                    "lamp.count: value is '5' and not '3' as it was.\n")
        self.assertEqual(self.file.read_text(), text)
        self.assertEqual(self.names(), ["a.kns", "b.kns", "p.json"])

    def test_what_is_no_patch_is_reported(self):
        change = {"action": "change", "what": "input", "path": "lamp.radius", "field": "value"}
        listed = {"format": "kelvo diff 1", "changes": [change]}
        for given, error in (
                ("", "this is no JSON: parse error at line 1, column 1"),
                ("[1, ", "this is no JSON: parse error at line 1, column 5"),
                ("[]", 'its "format" is not "kelvo diff 1"'),
                ('{"format": "kelvo diff 2"}', 'its "format" is not "kelvo diff 1"'),
                ('{"format": "kelvo diff 1"}', 'it has no list "changes"'),
                (json.dumps(listed | {"changes": [7]}), "change [0]: it is no object"),
                (json.dumps(listed | {"changes": [change | {"action": "mend"}]}),
                 'change [0]: its "action" is \'mend\', which is unknown'),
                (json.dumps(listed | {"changes": [{"action": "add"}]}),
                 'change [0]: its "what" is missing'),
                (json.dumps(listed | {"changes": [change | {"path": 1}]}),
                 'change [0]: its "path" is no text'),
                ("[" * 200000, "this is no JSON"),
                (json.dumps(listed | {"changes": [change | {"before": "0.5", "after": "\ud800"}]}),
                 "this is no JSON")):
            (self.folder / "p.json").write_text(given)
            ran = self.run_tool("patch", "a.kns", "p.json")
            self.assertEqual(ran.returncode, 1, given[:80])
            self.assertIn("kelvo: p.json: " + error, ran.stderr)
        self.assertEqual(self.file.read_text(), SCENE)

    def test_random_damage_of_a_patch_never_harms(self):
        self.edited(("radius = 0.5", "radius = 0.7"), ("[lamp, desk]", "[desk]"),
                    ("    Int fixed = 1 @readonly\n", ""), ("# A room.\n", ""))
        self.diff("a.kns", "b.kns")
        patch = (self.folder / "p.json").read_text()
        some = random.Random(5)
        for _ in range(60):
            text = list(patch)
            for _ in range(some.randint(1, 4)):
                text[some.randrange(len(text))] = some.choice('"{}[],:\\x 0.')
            (self.folder / "p.json").write_text("".join(text))
            ran = self.run_tool("patch", "a.kns", "p.json", "-o", "c.kns")
            self.assertIn(ran.returncode, (0, 1), ran.stderr)
            self.assertEqual(bool(ran.stderr), ran.returncode == 1)
            if ran.returncode == 0:
                self.assertEqual(self.run_tool("check", "c.kns").returncode, 0)
        self.assertEqual(self.file.read_text(), SCENE)


if __name__ == "__main__":
    main()
