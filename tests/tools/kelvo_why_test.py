#!/usr/bin/env python3
"""The command why: the chains of nodes down to the inputs that differ.
kelvo_why_test.py KELVO [...]"""
from kelvo_tool import SCENE, ToolTest, main, scene


class Why(ToolTest):
    def write(self, name, text):
        (self.folder / name).write_text(text)

    def why(self, before, after, node, *options):
        """Returns what the command prints for two texts."""
        self.write("a.kns", before)
        self.write("b.kns", after)
        return self.expect(0, "why", "a.kns", "b.kns", node, *options)

    def test_equal_scenes_print_nothing(self):
        self.assertEqual(self.why(SCENE, SCENE, "room"), "")
        self.assertEqual(self.why(SCENE, SCENE.replace("# big", "# small"), "room"), "")

    def test_a_value_is_reached_by_the_shortest_chain(self):
        after = SCENE.replace("weights = [1, 2, 3]", "weights = [1, 5, 3]")
        self.assertEqual(self.why(SCENE, after, "room"),
                         "room -> desk\n    ~ desk.weights[1]: 2 -> 5\n")
        self.assertEqual(self.why(SCENE, after, "wood"), "")

    def test_each_part_of_an_input_is_told(self):
        changes = (
            ("radius = 0.5", "radius = 0.25", "~ lamp.radius: 0.5 -> 0.25"),
            ('"say \\"hi\\""', '"no"', '~ lamp.label: "say \\"hi\\"" -> "no"'),
            ("Node target = desk", "Node target", "~ lamp.target: desk -> null"),
            ("UInt count", "Int count", "~ lamp.count kind: UInt -> Int"),
            ("    UInt count = 3\n", "", "- lamp.count: 3"),
            ("    UInt count = 3\n", "    UInt count = 3\n    Real more = 7\n", "+ lamp.more: 7"),
            ("UInt count", "UInt number", "~ lamp.number name: count -> number"),
            ("(2 3)]", "(2 3), (4 5)]", "~ lamp.shade.stops: 2 elements -> 3 elements"),
            ("tint = (1 0 0 1)", "tint = (1 0 1 1)", "~ lamp.shade.tint: (1 0 0 1) -> (1 0 1 1)"),
            ('node light "lamp"', 'node spot "lamp"', "~ lamp type: light -> spot"),
        )
        for before, after, line in changes:
            with self.subTest(line):
                self.assertEqual(self.why(SCENE, SCENE.replace(before, after, 1), "lamp"),
                                 f"lamp\n    {line}\n")

    def test_connections_and_outputs_are_told(self):
        text = SCENE.replace("output Rgba color\n", "output Rgba color\n    output Rgba dark\n")
        after = text.replace("wood.color", "wood.dark")
        self.assertEqual(self.why(text, after, "desk"),
                         "desk\n    ~ desk.color source: wood.color -> wood.dark\n")
        self.assertEqual(self.why(text, text.replace(" <- wood.color", ""), "desk"),
                         "desk\n    ~ desk.color source: wood.color -> not connected\n")
        self.assertEqual(self.why(SCENE, text, "desk"),
                         "desk -> wood\n    ~ wood type: other bases or outputs\n")

    def test_chains_come_in_order_of_length(self):
        after = SCENE.replace("count = 3", "count = 4").replace("[(0 0 0)", "[(9 0 0)")
        lines = self.why(SCENE, after, "room").splitlines()
        self.assertEqual(lines[0::2], ["room -> lamp", "room -> desk"])
        self.assertIn("~ desk.positions: [(0 0 0)", lines[3])

    def test_a_node_of_one_scene_alone_is_told(self):
        more = SCENE + 'node light "sun" {\n}\n'
        self.assertEqual(self.why(SCENE, more, "sun"), "sun\n    + sun: light\n")
        self.assertEqual(self.why(more, SCENE, "SUN"), "sun\n    - sun: light\n")

    def test_limit_bounds_the_nodes(self):
        nodes = [f'node t "n{i}" {{\n    Real x = 0\n    Node next = n{i + 1}\n}}'
                 for i in range(9)]
        before = scene(*nodes, 'node t "n9" {\n}')
        after = before.replace("x = 0", "x = 1")
        self.assertEqual(self.why(before, after, "n0").count(".x: 0 -> 1"), 9)
        self.write("a.kns", before)
        self.write("b.kns", after)
        run = self.run_tool("why", "a.kns", "b.kns", "n0", "--limit", "2")
        self.assertEqual(run.stdout.count(".x: 0 -> 1"), 2)
        self.assertIn("More than 2 nodes differ (see --limit).", run.stderr)

    def test_a_cycle_is_no_endless_chain(self):
        text = scene('node t "a" {\n    Node link = b\n    Real x = 1\n}',
                     'node t "b" {\n    Node link = a\n    Real x = 1\n}')
        after = text.replace('Node link = a\n    Real x = 1', 'Node link = a\n    Real x = 2')
        self.assertEqual(self.why(text, after, "a"), "a -> b\n    ~ b.x: 1 -> 2\n")

    def test_an_unknown_node_is_a_wrong_call(self):
        self.write("a.kns", SCENE)
        run = self.run_tool("why", "a.kns", "a.kns", "lampe")
        self.assertEqual(run.returncode, 2)
        self.assertIn("'lampe'", run.stderr)
        self.assertIn("lamp", run.stderr)

    def test_a_broken_file_is_named(self):
        self.write("a.kns", SCENE)
        self.write("b.kns", SCENE.replace("Real radius = 0.5", "Real radius = x"))
        run = self.run_tool("why", "a.kns", "b.kns", "lamp")
        self.assertEqual(run.returncode, 1)
        self.assertIn("b.kns:10:19", run.stderr)


if __name__ == "__main__":
    main()
