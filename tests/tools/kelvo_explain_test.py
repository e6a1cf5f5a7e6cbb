#!/usr/bin/env python3
"""The command `kelvo explain`. kelvo_explain_test.py KELVO [...]"""
from kelvo_tool import MODIFIED, READER, ToolTest, main, scene, xform

SCENE = """\
kelvo scene 1

node xform "top" {
    Array<Node> children = [room]
}
node xform "room" {
    Array<Node> children = [lamp, desk]
}
node clock "clock" {
    Real speed = 2 @default 2 @min 0 @max 9 @unit "Hz"
    output Real time
}
node noise : source, maker "noise" {
    Real seed = 1 <- clock.time
    Int steps
    output Real value
}
node light "lamp" {
    Real radius = 0.5
    String label = "off" <- noise.value
    Array<Real> w = [1, 2 <- noise.value, 3]
    Object o {
        Int a = 0
        Int b = 1 @readonly @choices [1, 2]
    }
    Node target = desk
    Buffer<Pos3f> p = [(0 0 0) (1 0 0)]
    Int low = 3 @stashed 4 @min 1
    Int high = 3 @max 9
}
node mesh "desk" {
    Rgba c
}
"""
AFTER_LAMP = """\
node read by: 2 nodes: room, top
    room.children[0] links to it
dirty after a change: 3 nodes: lamp, room, top
dirty now: yes, as every node of a scene that was just read
    it depends on 3 nodes, 3 of them dirty: noise, clock, desk
"""


class ExplainTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.file.write_text(SCENE)

    def explain(self, path, given=None):
        """Returns the lines about a path, without the first."""
        lines = self.expect(0, "explain", "a.kns" if given is None else "-", path,
                            given=given).splitlines()
        self.assertEqual(lines[0], path)
        return lines[1:]


class Inputs(ExplainTest):
    def test_everything_about_an_input_is_shown(self):
        self.expect(0, "explain", "a.kns", "lamp.radius", out="""\
lamp.radius
kind: Real
value: 0.5
from: set, default 0
depends on: no node
""" + AFTER_LAMP)

    def test_a_connection_is_followed_upstream(self):
        self.expect(0, "explain", "a.kns", "lamp.label", out="""\
lamp.label
kind: String
stored value: "off"
size: 3 bytes
from: connection
    lamp.label <- noise.value, converted from Real to String
    noise.seed <- clock.time
evaluates to: no value, as 'noise.value' has none, and its node no eval callback to produce one
depends on: 2 nodes: noise, clock
""" + AFTER_LAMP)

    def test_what_the_value_is_and_where_it_comes_from(self):
        for path, expected in (
                ("clock.speed", ["kind: Real", "value: 2", "from: default, 2",
                                 "bounds: at least 0, at most 9", "unit: Hz"]),
                ("desk.c", ["kind: Rgba", "value: (0 0 0 1)", "from: default, (0 0 0 1)"]),
                ("lamp.w[0]", ["kind: Real", "value: 1", "from: set, default 0"]),
                ("lamp.w", ["kind: Array<Real>", "value: [1, 2, 3]", "size: 3 elements",
                            "from: set, default []", "connections inside:",
                            "    lamp.w[1] <- noise.value", "    noise.seed <- clock.time"]),
                ("lamp.o", ["kind: Object", "value: {2 members}", "size: 2 members",
                            "from: set, 1 of 2 members not at the default"]),
                ("lamp.o.b", ["kind: Int", "value: 1", "from: set, default 0", "choices: 1, 2",
                              "read-only: yes"]),
                ("lamp.target", ["kind: Node", "value: desk", "from: set, default null"]),
                ("lamp.p", ["kind: Buffer<Pos3f>", "value: [(0 0 0) (1 0 0)]",
                            "size: 2 elements, 24 bytes", "from: set, default []"]),
                ("lamp.low", ["kind: Int", "value: 3", "kept aside: 4", "from: set, default 0",
                              "bounds: at least 1"]),
                ("lamp.high", ["kind: Int", "value: 3", "from: set, default 0",
                               "bounds: at most 9"])):
            with self.subTest(path):
                lines = self.explain(path)
                self.assertEqual(lines[:len(expected)], expected)
                self.assertRegex(lines[len(expected)], r"^depends on: ")

    def test_an_input_depends_on_what_it_alone_links_to(self):
        for path, expected in (("lamp.target", "1 node: desk"), ("lamp.o", "no node"),
                               ("lamp.w", "2 nodes: noise, clock"),
                               ("room.children", "4 nodes: lamp, noise, clock, desk"),
                               ("top.children[0]", "5 nodes: room, lamp, noise, clock, desk")):
            with self.subTest(path):
                self.assertIn("depends on: " + expected, self.explain(path))

    def test_what_comes_through_a_connection_is_reported(self):
        self.assertEqual(self.explain("r.x", READER)[:5], [
            "kind: Real", "stored value: 0.5", "from: connection", "    r.x <- sum.result",
            "evaluates to: 3"])
        self.assertIn('evaluates to: "3"', self.explain("r.text", READER))
        self.assertIn("evaluates to: 3", self.explain("r.list[1]", READER))

    def test_the_default_of_the_type_is_reported(self):
        given = scene('node pointLight "l" {', "    Real intensity = 2 <- v.result",
                      "    Rgba color = (1 0 0 1)", "    Bool castShadows = true", "}",
                      'node realValue "v" {', "    Real value = 7", "    output Real result", "}")
        for path, expected in (
                ("l.intensity", ["evaluates to: 7", "default: 1 of type pointLight",
                                 "bounds: at least 0"]),
                ("l.color", ["from: set, default (1 1 1 1) of type pointLight"]),
                ("l.castShadows", ["from: default, true of type pointLight"])):
            with self.subTest(path):
                lines = self.explain(path, given)
                first = lines.index(expected[0])
                self.assertEqual(lines[first:first + len(expected)], expected)

    def test_inputs_that_the_file_leaves_to_the_type_are_reported(self):
        lines = self.explain("lamp.castShadows", MODIFIED)
        self.assertEqual(lines[:4], [
            "kind: Bool", "value: true",
            "from: default, true of type pointLight, to which the file leaves it",
            "depends on: no node"])

    def test_the_modifiers_of_a_value_are_reported(self):
        self.assertEqual(self.explain("lamp.color", MODIFIED)[:5], [
            "kind: Rgba", "stored value: (1 0 0 1)", "from: modifier paint",
            "evaluates to: (0 1 0 1)", "default: (1 1 1 1) of type pointLight"])
        self.assertIn("from: default, 1 of type pointLight",
                      self.explain("lamp.intensity", MODIFIED))

    def test_only_the_modifiers_at_work_are_reported(self):
        idle = 'node overrideModifier "idle" {\n    String modifies = "color"\n' \
               '    Bool enabled = false\n}\n'
        other = 'node scaleModifier "other" {\n    String modifies = "intensity"\n' \
                '    Real factor = 3\n}\n'
        more = 'node scaleModifier "more" {\n    String modifies = "x,color"\n' \
               '    Real factor = 0.5\n}\n'
        given = MODIFIED.replace("[paint]", "[idle, paint, other, more]") + idle + other + more
        self.assertIn("from: modifiers paint, more", self.explain("lamp.color", given))
        self.assertIn("from: modifier other", self.explain("lamp.intensity", given))

    def test_long_values_are_cut_and_tell_their_size(self):
        given = scene('node t "t" {', f'    String s = "{"x" * 100}"', "}")
        lines = self.explain("t.s", given)
        self.assertEqual(lines[1:3], [f'value: "{"x" * 60}"... 100 bytes', "size: 100 bytes"])

    def test_many_choices_are_cut(self):
        choices = ", ".join(str(i) for i in range(30))
        given = scene('node t "t" {', f"    Int a @choices [{choices}]", "}")
        expected = "choices: " + ", ".join(str(i) for i in range(20)) + " and 10 more"
        self.assertIn(expected, self.explain("t.a", given))

    def test_a_unit_cannot_command_the_terminal(self):
        given = scene('node t "t" {', '    Int a @unit "\\x1b[2J"', "}")
        self.assertIn("unit: ?[2J", self.explain("t.a", given))


class Neighbours(ExplainTest):
    def test_a_node_alone_is_reported(self):
        self.expect(0, "explain", "a.kns", "noise", out="""\
noise
type: noise [source, maker]
inputs: 2, 1 not at the default
outputs: 1
connections:
    noise.seed <- clock.time
depends on: 1 node: clock
node read by: 3 nodes: lamp, room, top
    lamp.label <- noise.value and 1 more
dirty after a change: 4 nodes: noise, lamp, room, top
dirty now: yes, as every node of a scene that was just read
    it depends on 1 node, 1 of them dirty: clock
""")

    def test_the_nearest_come_first(self):
        lines = self.explain("desk")
        self.assertIn("node read by: 3 nodes: room, lamp, top", lines)
        self.assertIn("    lamp.target links to it", lines)

    def test_a_node_that_nobody_reads(self):
        lines = self.explain("top.children")
        self.assertIn("node read by: no node", lines)
        self.assertIn("dirty after a change: 1 node: top", lines)

    def test_a_node_without_dependencies_has_none_that_are_dirty(self):
        self.assertEqual(self.explain("clock")[-1],
                         "dirty now: yes, as every node of a scene that was just read")

    def test_many_readers_are_counted(self):
        given = scene(xform("a"), *(xform(f"n{i}", "a") for i in range(20)))
        lines = self.explain("a", given)
        names = ", ".join(f"n{i}" for i in range(8))
        self.assertIn(f"node read by: 20 nodes: {names} and 12 more", lines)
        self.assertIn("    n7.children[0] links to it", lines)
        self.assertIn("    and 12 more directly", lines)

    def test_many_sources_are_counted(self):
        nodes = ['node t "n0" {\n    output Real o\n}']
        nodes += [f'node t "n{i}" {{\n    Real i <- n{i - 1}.o\n    output Real o\n}}'
                  for i in range(1, 20)]
        lines = self.explain("n19.i", scene(*nodes))
        first = lines.index("    n19.i <- n18.o")
        self.assertEqual(lines[first + 11:first + 13],
                         ["    n8.i <- n7.o", "    and 7 connections more"])

    def test_cycles_of_links_end(self):
        given = scene(xform("a", "b"), xform("b", "a"), xform("self", "self"))
        self.assertIn("dirty after a change: 2 nodes: a, b", self.explain("a", given))
        self.assertIn("dirty after a change: 1 node: self", self.explain("self", given))

    def test_a_chain_as_deep_as_the_scene_is_followed(self):
        count = 20000
        nodes = [xform(f"n{i}", f"n{i + 1}") for i in range(count)] + [xform(f"n{count}")]
        lines = self.explain(f"n{count}", scene(*nodes))
        self.assertTrue(any(line.startswith("dirty after a change: 20001 nodes: n20000, n19999")
                            for line in lines), lines)


class Errors(ExplainTest):
    def test_unknown_paths_are_the_calls_fault(self):
        for path, expected in (
                ("lmp", "no node 'lmp': did you mean 'lamp'?"),
                ("lamp.radus", "no input 'radus' in 'lamp': did you mean 'radius'?"),
                ("lamp.w[3]", "no element [3] in 'lamp.w', which has 3."),
                ("lamp.w[+]", "'lamp.w[+]' is for `set` alone."),
                ("a..b", "'a..b' is no path: expected something like node.input, node.array[3] "
                         "or node.object.member.")):
            with self.subTest(path):
                self.expect(2, "explain", "a.kns", path, out="",
                            error=f"kelvo: a.kns: {expected}\n")

    def test_files_that_cannot_be_read_are_the_files_fault(self):
        self.expect(1, "explain", "none.kns", "a", out="",
                    error="kelvo: cannot read 'none.kns': No such file or directory\n")


if __name__ == "__main__":
    main()
