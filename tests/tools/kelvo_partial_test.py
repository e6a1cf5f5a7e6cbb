#!/usr/bin/env python3
"""The option --partial of the tool kelvo reads the readable parts of a scene with errors.
kelvo_partial_test.py KELVO [unittest ...]"""
import json

from kelvo_tool import ToolTest, main

TEXT = """kelvo scene 1

node pointLight "lamp" {
    Real radius = abc # metres
    Real intensity = 3
    Node target = nobody
}
node "wrong" {
    Real x = 1
}
# the room
node xform "room" {
    Array<Node> children = [lamp, wrong]
}
"""
GAPS = ("kelvo: a.kns:4:19: node 'lamp': Found 'abc' where a number was expected.\n"
        "kelvo: a.kns:6:19: node 'lamp': Unknown node 'nobody'.\n"
        "kelvo: a.kns:8:6: Found '\"' where a node type was expected.\n"
        "kelvo: a.kns:13:35: node 'room': Unknown node 'wrong'.\n")
TOLD = GAPS + "kelvo: a.kns: 4 parts were left out, and everything else taken.\n"


class PartialTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.file.write_text(TEXT)

    def test_without_it_nothing_is_read(self):
        for command in (("show",), ("get", "lamp.intensity"), ("set", "lamp.intensity=4")):
            ran = self.run_tool(command[0], "a.kns", *command[1:])
            self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        self.assertEqual(self.file.read_text(), TEXT)

    def test_show_prints_what_is_there(self):
        printed = self.expect(1, "show", "a.kns", "--partial", "--no-values", error=TOLD)
        self.assertEqual(printed, "room (xform)\n└─ lamp (pointLight)\n")

    def test_get_prints_a_value_and_tells_once(self):
        self.expect(1, "get", "a.kns", "lamp.intensity", "--partial", out="3\n", error=TOLD)
        self.expect(1, "get", "a.kns", "room.children[0]", "--partial", out="lamp\n", error=TOLD)

    def test_get_of_a_gap_finds_nothing(self):
        self.expect(2, "get", "a.kns", "wrong.x", "--partial", out="",
                    error=TOLD + self.run_tool("get", "a.kns", "wrong.x", "--partial").stderr[len(
                        TOLD):])

    def test_set_changes_a_value_and_keeps_the_rest(self):
        self.expect(1, "set", "a.kns", "lamp.intensity=4", "--partial", out="", error=TOLD)
        self.assertEqual(self.file.read_text(), TEXT.replace("= 3", "= 4"))

    def test_set_of_a_lost_link_mends_it(self):
        self.expect(1, "set", "a.kns", "lamp.target=room", "--partial", out="", error=TOLD)
        self.assertEqual(self.file.read_text(), TEXT.replace("nobody", "room"))
        self.assertNotIn("nobody", self.run_tool("show", "a.kns", "--partial").stderr)

    def test_set_keeps_the_ends_of_lines(self):
        text = "\ufeff" + TEXT.replace("\n", "\r\n")
        self.file.write_bytes(text.encode())
        self.run_tool("set", "a.kns", "lamp.intensity=4", "--partial")
        self.assertEqual(self.file.read_bytes().decode(), text.replace("= 3", "= 4"))

    def test_sound_scenes_are_as_without_it(self):
        self.file.write_text('kelvo scene 1\n\nnode xform "a" {\n    Real b = 1\n}\n')
        for command in (("show", "a.kns"), ("get", "a.kns", "a.b"), ("check", "a.kns")):
            plain = self.run_tool(*command)
            partial = self.run_tool(*command, "--partial")
            self.assertEqual((partial.returncode, partial.stdout, partial.stderr),
                             (0, plain.stdout, plain.stderr))

    def test_what_is_no_scene_is_refused(self):
        self.file.write_text("kelvo types 1\n")
        ran = self.run_tool("show", "a.kns", "--partial")
        self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        self.assertIn("it defines node types", ran.stderr)

    def test_check_tells_gaps_as_errors_and_findings_beside_them(self):
        ran = self.run_tool("check", "a.kns", "--partial")
        self.assertEqual(ran.returncode, 1)
        self.assertTrue(ran.stderr.startswith(GAPS), ran.stderr)
        self.assertIn("element [1] of 'children' links to no node. [empty-child]", ran.stderr)
        self.assertIn("a.kns: 2 nodes, 4 errors, 1 warning, 4 parts were left out", ran.stdout)

    def test_check_reports_gaps_as_json(self):
        ran = self.run_tool("check", "a.kns", "--partial", "--format", "json")
        report, = json.loads(ran.stdout)["files"]
        self.assertEqual((report["nodes"], report["errors"]), (2, 4))
        rules = [finding["rule"] for finding in report["findings"]]
        self.assertEqual(rules, ["unreadable"] * 4 + ["empty-child"])

    def test_many_gaps_are_counted(self):
        lines = "".join(f"    Foo x{i}\n" for i in range(50))
        self.file.write_text('kelvo scene 1\n\nnode t "a" {\n' + lines + "}\n")
        ran = self.run_tool("show", "a.kns", "--partial")
        self.assertEqual(len(ran.stderr.splitlines()), 21)
        self.assertIn("50 parts were left out", ran.stderr)
        self.assertIn("50 errors", self.run_tool("check", "a.kns", "--partial").stdout)

    def test_help_tells_of_it(self):
        for command in ("show", "get", "set", "check"):
            self.assertIn("--partial", self.run_tool("help", command).stdout)


if __name__ == "__main__":
    main()
