#!/usr/bin/env python3
"""The command `kelvo edit` with scripts. kelvo_edit_test.py KELVO [unittest ...]"""
import pathlib
import re

from kelvo_tool import SCENE, ToolTest, main, scene, xform


class Edit(ToolTest):
    def edit(self, *commands, out="", error=None, status=0, options=()):
        """Edits a.kns, each command an argument, and returns its text."""
        arguments = [part for command in commands for part in ("-c", command)]
        self.expect(status, "edit", "a.kns", *arguments, *options, out=out, error=error)
        return self.file.read_text()

    def value(self, path, file="a.kns"):
        return self.expect(0, "get", file, path).rstrip("\n")


class Commands(Edit):
    def test_one_command_changes_one_line(self):
        """Tests each command with the line of the scene that it changes, and the changed line."""
        for command, line, expected in (
                ("set lamp.radius 0.75", "radius = 0.5", "radius = 0.75"),
                ("set lamp.label a b", r'"say \"hi\""', '"a b"'),
                (r'set lamp.label "a;b # \"c\""', r'"say \"hi\""', r'"a;b # \"c\""'),
                ('set lamp.label ""', r'"say \"hi\""', '""'),
                ("set lamp.shade.stops[0] (5 -6)", "(0 1)", "(5 -6)"),
                ("set lamp.target \"\"", "target = desk", "target = null"),
                ("set desk.weights[+] 4", "2, 3]", "2, 3, 4]"),
                ("reset lamp.count", "count = 3", "count = 0"),
                ("disconnect desk.color", " <- wood.color", ""),
                ("connect lamp.shade.tint wood.color", "tint = (1 0 0 1)",
                 "tint = (1 0 0 1) <- wood.color"),
                ("link lamp.target room", "target = desk", "target = room"),
                ("add Vec3 lamp.shade.size = (1 2 3)", "[(0 1), (2 3)]\n",
                 "[(0 1), (2 3)]\n        Vec3 size = (1 2 3)\n"),
                ("add Array<Real> desk.more", "[1, 2, 3]\n",
                 "[1, 2, 3]\n    Array<Real> more = []\n"),
                ("add-output Real wood.grain", "color\n", "color\n    output Real grain\n"),
                ("append desk.weights 4", "2, 3]", "2, 3, 4]"),
                ("append desk.weights", "2, 3]", "2, 3, 0]"),
                ("insert desk.weights 0 9", "[1, 2", "[9, 1, 2"),
                ("insert desk.weights 3 9", "2, 3]", "2, 3, 9]"),
                ("move desk.weights[2] 0", "[1, 2, 3]", "[3, 1, 2]"),
                ("remove desk.weights[0]", "[1, 2, 3]", "[2, 3]"),
                ("remove lamp.count", "    UInt count = 3\n", ""),
                ("remove lamp.shade.tint", "        Rgba tint = (1 0 0 1)\n", ""),
                ("new camera eye", "# nothing follows\n}\n",
                 '# nothing follows\n}\nnode camera "eye" {\n}\n'),
                ("clone wood oak", "# nothing follows\n}\n",
                 '# nothing follows\n}\nnode wood "oak" {\n    output Rgba color\n}\n'),
                ("clone wood", "# nothing follows\n}\n",
                 '# nothing follows\n}\nnode wood "wood1" {\n    output Rgba color\n}\n'),
                ("parent wood room", "[lamp, desk]", "[lamp, desk, wood]"),
                ("parent desk room", "[lamp, desk]", "[lamp, desk]"),
                ("parent lamp room", "[lamp, desk]", "[desk, lamp]"),
                ("parent wood room; parent wood room", "[lamp, desk]", "[lamp, desk, wood]"),
                ("unparent lamp room", "[lamp, desk]", "[null, desk]")):
            with self.subTest(command):
                self.file.write_text(SCENE)
                self.assertIn(line, SCENE)
                self.assertEqual(self.edit(command), SCENE.replace(line, expected, 1))

    def test_what_leads_to_a_renamed_node_follows(self):
        self.assertEqual(self.edit("rename desk table"), SCENE.replace("desk", "table"))

    def test_what_names_a_renamed_input_follows(self):
        text = scene('node lamp "n" {', "    # how big", "    Real size = 1 # in metres",
                     "    Array<Node> modifiers = [m]", "    Object o {", "        Int i = 1",
                     "    }", "}", 'node scaleModifier "m" {', '    String modifies = "size"',
                     "    Real factor = 2", "}")
        self.file.write_text(text)
        self.assertEqual(self.edit("rename-input n.size extent; rename-input n.o.i j"),
                         text.replace("size", "extent").replace("Int i", "Int j"))
        self.file.write_text(text)
        self.assertEqual(self.edit("rename-input n.size extent; undo"), text)

    def test_inputs_of_types_are_renamed_with_types_alone(self):
        text = scene('node pointLight "p" {', "    Real intensity = 2", "}")
        self.file.write_text(text)
        self.expect(2, "edit", "a.kns", "-c", "rename-input p.intensity power", out="", error=(
            "kelvo: -c:1:14: rename-input: 'p.intensity' comes with the type 'pointLight': only "
            "with --types is it renamed.\n"))
        self.assertIn("Real power = 2", self.edit("rename-input p.intensity power",
                                                  options=("--types",)))

    def test_inputs_are_not_renamed_to_names_that_are_taken(self):
        self.expect(2, "edit", "a.kns", "-c", "rename-input lamp.radius Count", out="", error=(
            "kelvo: -c:1:1: rename-input: Cannot rename input 'lamp.radius' to 'Count': there is "
            "an input 'lamp.count' already.\n"))
        self.assertEqual(self.file.read_text(), SCENE)

    def test_a_removed_node_leaves_no_reference(self):
        text = self.edit("remove desk; remove wood; remove room")
        self.assertEqual(re.findall(r'node \w+ "(\w+)"', text), ["lamp"])
        self.assertIn("target = null", text)
        self.expect(0, "check", "a.kns")

    def test_a_removed_node_leaves_no_element_in_lists_of_nodes(self):
        before = scene(xform("room", "b", "a", "b", "null"), xform("other", "b"),
                       'node n "a" {\n    Array<Node> modifiers = [b, a]\n'
                       '    Array<Node> others = [b, a]\n    Node target = b\n}',
                       'node n "b" {\n    Array<Node> children = [b]\n}')
        after = scene(xform("room", "a", "null"), xform("other"),
                      'node n "a" {\n    Array<Node> modifiers = [a]\n'
                      '    Array<Node> others = [null, a]\n    Node target = null\n}')
        self.file.write_text(before)
        self.assertEqual(self.edit("remove b"), after)
        self.file.write_text(before)
        self.assertEqual(self.edit("remove b; undo"), before)
        self.assertEqual(self.edit("remove b; undo; redo"), after)

    def test_nobody_stands_below_himself(self):
        text = scene(xform("a", "b"), xform("b", "c", "d"), xform("c"), xform("d", "e"),
                     xform("e"))
        for command, cycle in (("parent a a", "a -> a"), ("parent a b", "a -> b -> a"),
                               ("parent a e", "a -> b -> d -> e -> a"),
                               ("parent b c", "b -> c -> b")):
            with self.subTest(command):
                self.file.write_text(text)
                error = f"kelvo: -c:1:10: parent: this would close the cycle {cycle}.\n"
                self.expect(2, "edit", "a.kns", "-c", command, out="", error=error)
                self.assertEqual(self.file.read_text(), text)
        self.assertIn('node xform "e" {\n    Array<Node> children = [c]', self.edit("parent c e"))

    def test_a_cycle_in_the_file_is_no_trap(self):
        text = scene(xform("a", "b"), xform("b", "a"), xform("c"))
        self.file.write_text(text)
        self.assertIn("[b, c]", self.edit("parent c a"))

    def test_only_lists_of_nodes_take_children(self):
        for body in ("", "    Node children = null\n", "    Array<Real> children = []\n"):
            with self.subTest(body):
                self.file.write_text(scene('node n "a" {\n}', f'node n "b" {{\n{body}}}'))
                self.expect(2, "edit", "a.kns", "-c", "parent a b", out="", error=(
                    "kelvo: -c:1:10: parent: 'b' takes no children.\n"))

    def test_nodes_are_moved(self):
        text = self.edit("move wood 0")
        self.assertEqual(re.findall(r'node \w+ "(\w+)"', text), ["wood", "room", "lamp", "desk"])

    def test_a_deep_copy_takes_what_the_node_depends_on(self):
        text = self.edit("clone desk copy --deep")
        self.assertIn('node wood "wood1"', text)
        self.assertIn("<- wood1.color", text)

    def test_what_the_text_leaves_to_types_is_added_bare(self):
        self.file.write_text(scene('node add "sum" {\n}', 'node pointLight "lamp" {\n}'))
        text = self.edit("set sum.a 2; connect lamp.intensity sum.result; reset sum.b")
        self.assertEqual(text, scene(
            'node add "sum" {\n    Real a = 2\n    output Real result\n}',
            'node pointLight "lamp" {\n    Real intensity = 1 <- sum.result\n}'))
        self.assertEqual(self.expect(0, "eval", "a.kns", "sum.result"), "2\n")

    def test_reset_gives_bare_inputs_the_default_of_their_type(self):
        self.file.write_text(scene('node multiply "n" {\n    Real b = 7\n}'))
        self.assertIn("Real b = 1\n", self.edit("reset n.b"))

    def test_conversion_changes_one_node(self):
        rest = ['# odd\nnode spotLight "other" {\n    Real radius = 2 # wide\n'
                "    Real intensity = 3 @min 0\n}", 'node xform "room" {\n'
                "    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)\n"
                "    Array<Node> children = [lamp, other]\n}"]
        self.file.write_text(scene('node spotLight "lamp" {\n    Real radius = 2\n}', *rest))
        text = self.edit("set other.radius 4; convert lamp pointLight; set lamp.radius 3")
        self.assertIn('node pointLight "lamp" {\n', text)
        self.assertIn("    Real radius = 3\n", text)
        self.assertTrue(text.endswith("\n".join(rest).replace("= 2 # wide", "= 4 # wide") + "\n"),
                        text)

    def test_conversion_is_one_step(self):
        text = scene('node spotLight "lamp" {\n    Real radius = 2\n}', xform("room", "lamp"))
        self.file.write_text(text)
        self.assertEqual(self.edit("convert lamp pointLight; undo"), text)
        self.edit("convert lamp pointLight; undo; redo; history", out=(
            "   1  convert lamp pointLight\n"))
        self.assertIn("children = [lamp]", self.file.read_text())

    def test_conversion_reads_the_types(self):
        self.file.write_text(scene('node add "sum" {\n    Real a = 2\n}'))
        text = self.edit("convert sum multiply")
        self.assertIn('node multiply "sum"', text)
        self.assertEqual(self.value("sum.a"), "2")

    def test_an_unknown_type_makes_a_bare_node_and_is_reported(self):
        text = self.edit("new pointLigt eye", error="kelvo: warning: no library knows the type "
                         "'pointLigt', so that 'eye' is bare: did you mean 'pointLight'?\n")
        self.assertIn('node pointLigt "eye" {\n}', text)

    def test_a_connection_that_hides_the_value_is_reported(self):
        self.edit("set desk.color (1 1 1 1)",
                  error="kelvo: warning: 'desk.color' is connected to 'wood.color', which hides "
                        "the value.\n")


class Reading(Edit):
    def test_values_and_nodes_are_printed_as_the_script_made_them(self):
        for command, expected in (
                ("set lamp.radius 2; get lamp.radius", "2\n"),
                ("show lamp.radius", "lamp.radius (Real) = 0.5\n"),
                ("show desk.color", "desk.color (Rgba) = (0.8 0.6 0.4 1) <- wood.color\n"),
                ("show wood", 'node wood "wood" {\n    output Rgba color\n}\n'),
                ("show", SCENE)):
            with self.subTest(command):
                self.edit(command, out=expected, options=("--dry-run",)
                          if not command.startswith("set") else ())
                self.file.write_text(SCENE)

    def test_values_that_are_left_to_types_are_printed(self):
        self.file.write_text(scene('node multiply "n" {\n}'))
        self.edit("get n.b; show n.b", out="1\nn.b (Real) = 1\n")

    def test_help_tells_of_one_command(self):
        self.edit("help rename",
                  out="rename NODE NAME  Renames a node; what leads to it follows\n")


class History(Edit):
    def test_undo_and_redo_go_through_the_steps(self):
        for script, expected in (
                ("set lamp.count 4; set lamp.count 5; undo", "4"),
                ("set lamp.count 4; set lamp.count 5; undo 2", "3"),
                ("set lamp.count 4; set lamp.count 5; undo 2; redo", "4"),
                ("set lamp.count 4; undo; set lamp.count 6", "6"),
                ("set lamp.count 4; checkpoint x; set lamp.count 5; undo 2; return x", "4"),
                ("checkpoint x; set lamp.count 4; remove lamp; return x", "3")):
            with self.subTest(script):
                self.file.write_text(SCENE)
                self.edit(script)
                self.assertEqual(self.value("lamp.count"), expected)

    def test_undo_of_all_gives_the_same_text(self):
        steps = ["set lamp.radius 2", "remove desk", "new camera eye", "rename lamp sun",
                 "append room.children eye", "clone room --deep", "move eye 0", "remove sun.shade"]
        self.assertEqual(self.edit(*steps, f"undo {len(steps)}"), SCENE)

    def test_redo_of_all_gives_the_same_text(self):
        steps = ["set lamp.radius 2", "remove desk", "new camera eye", "rename lamp sun",
                 "append room.children eye", "clone room --deep", "move eye 0", "remove sun.shade"]
        once = self.edit(*steps)
        self.file.write_text(SCENE)
        self.assertEqual(self.edit(*steps, "undo 8", "redo 8"), once)

    def test_the_history_lists_steps_and_checkpoints(self):
        self.edit("set lamp.count 4; checkpoint a; remove desk; undo; history",
                  out="   1  set lamp.count 4\n   2  remove desk (undone)\ncheckpoints: a\n")

    def test_a_command_that_changes_nothing_is_no_step(self):
        self.edit("set lamp.count 3; parent desk room; history", out="")

    def test_long_scripts_are_undone_whole(self):
        script = "\n".join(f"set lamp.count {i + 10}" for i in range(3000))
        self.assertEqual(self.edit(script, "undo 3000"), SCENE)


class AllOrNothing(Edit):
    def test_the_first_error_is_reported_with_its_place_and_nothing_is_written(self):
        """Tests scripts with errors, and their messages: each begins with a valid edit."""
        for script, place, expected in (
                ("set lamp.radus 3", "2:5", "set: no input 'radus' in 'lamp': did you mean "
                                            "'radius'?"),
                ("  set  lamp.radius wide", "2:20", "set: cannot set 'lamp.radius': 'wide' is no "
                                                    "value of kind Real: expected a number, such "
                                                    "as 0.5."),
                ("set lamp.target dsk", "2:17", "set: cannot link 'lamp.target': no node 'dsk': "
                                                "did you mean 'desk'?"),
                ("set lamp 1", "2:5", "set: 'lamp' is a node: expected one of its inputs."),
                ("set lamp.fixed 2", "2:16", "set: Cannot set input 'lamp.fixed': it is "
                                             "read-only."),
                ("set lamp.radius", "2:1", "set: expected 'set INPUT VALUE...'."),
                ("undo;; sett lamp.radius 3", "2:8", "unknown command 'sett': did you mean 'set'?"),
                ("frobnicate", "2:1", "unknown command 'frobnicate' (see kelvo edit --commands)"),
                ('set lamp.label "a', "2:18", "the text is not closed: '\"' is expected before the "
                                              "end of the line"),
                ('set lamp.label "a"b', "2:19", "expected a blank behind the text in quotes."),
                ("rename lamp desk", "2:13", "rename: there is a node 'desk' already."),
                ("rename lamp a.b", "2:13", "rename: 'a.b' is no name: expected letters, digits "
                                            "and '_'."),
                ("rename lamp a b", "2:15", "rename: one argument too many: expected 'rename NODE "
                                            "NAME'."),
                ("new camera room", "2:12", "new: there is a node 'room' already."),
                ("new object o", "2:5", "new: type 'object' is abstract."),
                ("remove lmp", "2:8", "remove: no node 'lmp': did you mean 'lamp'?"),
                ("connect lamp.radius wood.colour", "2:21", "connect: no output 'colour' in 'wood':"
                                                            " did you mean 'color'?"),
                ("connect lamp.radius wood", "2:21", "connect: 'wood' is no output: expected "
                                                     "node.output."),
                ("connect lamp.target wood.color", "2:1",
                 "connect: Cannot connect input 'lamp.target' (Node) to output 'wood.color' "
                 "(Rgba): the kinds do not convert."),
                ("disconnect lamp.radius", "2:12", "disconnect: 'lamp.radius' is not connected."),
                ("disconnect lamp", "2:12", "disconnect: 'lamp' is not connected."),
                ("link lamp.radius desk", "2:6", "link: 'lamp.radius' is of kind Real, which links "
                                                 "to no node."),
                ("insert desk.weights 4 1", "2:21", "insert: no place [4] in 'desk.weights', which "
                                                    "has 3 elements."),
                ("insert desk.weights -1 1", "2:21", "insert: '-1' is no number of 0, 1, 2 and so "
                                                     "on."),
                ("append lamp.radius 1", "2:8", "append: 'lamp.radius' has no elements: its kind "
                                                "is Real."),
                ("append desk.weights x", "2:21", "append: cannot set 'desk.weights[3]': 'x' is no "
                                                  "value of kind Real: expected a number, such "
                                                  "as 0.5."),
                ("move lamp 4", "2:11", "move: no place 4 among 4."),
                ("move lamp.radius 0", "2:6", "move: 'lamp.radius' stays at its place: nodes and "
                                              "elements of arrays are moved."),
                ("add Reel lamp.x", "2:5", "add: 'Reel' is no kind: expected one like Real, Node, "
                                           "Array<Real> or Buffer<Pos3f>."),
                ("add Real lamp.radius", "2:10", "add: there is an input 'lamp.radius' already."),
                ("add Real lamp.radius.x", "2:10", "add: 'lamp.radius' has no members: its kind is "
                                                   "Real."),
                ("add Real lamp.x 2", "2:17", "add: expected '=' and a value."),
                ("convert lamp lihgt", "2:14", "convert: no node type 'lihgt': did you mean "
                                               "'light'?"),
                ("clone lamp room", "2:12", "clone: there is a node 'room' already."),
                ("parent lamp desk", "2:13", "parent: 'desk' takes no children."),
                ("unparent wood room", "2:10", "unparent: 'wood' is no child of 'room'."),
                ("undo 2", "2:6", "undo: only 1 can be undone."),
                ("redo", "2:1", "redo: nothing can be done again."),
                ("return here", "2:8", "return: no checkpoint 'here'."),
                ("quit", "2:1", "quit: that is for the prompt alone.")):
            with self.subTest(script):
                text = self.edit(f"set lamp.count 9 # fine\n{script}\nset lamp.count 8", status=2,
                                 error=f"kelvo: -c:{place}: {expected}\n")
                self.assertEqual(text, SCENE)

    def test_a_read_only_object_takes_no_member(self):
        text = scene('node n "a" {\n    Object o {\n        Real x = 1\n    } @readonly\n}')
        self.file.write_text(text)
        for kind in ("Real", "Array<Real>", "Buffer<Float>"):
            with self.subTest(kind):
                error = "kelvo: -c:1:1: add: Cannot change input 'a.o': it is read-only.\n"
                self.assertEqual(self.edit(f"add {kind} a.o.m", status=2, error=error), text)

    def test_of_several_texts_the_one_at_fault_is_reported(self):
        self.edit("set lamp.count 9", "undo 5", status=2,
                  error="kelvo: -c 2:1:6: undo: only 1 can be undone.\n")

    def test_copies_are_saved_when_all_went_well(self):
        self.edit("save b.kns; remove lamp; save c.kns; foo", status=2,
                  error="kelvo: -c:1:38: unknown command 'foo' (see kelvo edit --commands)\n")
        self.assertEqual(self.names(), ["a.kns"])
        self.edit("save b.kns; remove lamp; save c.kns; remove desk")
        self.assertEqual((self.folder / "b.kns").read_text(), SCENE)
        self.assertIn('"desk"', (self.folder / "c.kns").read_text())
        self.assertNotIn('"desk"', self.file.read_text())

    def test_a_byte_that_is_no_text_is_reported(self):
        script = self.folder / "s.txt"
        script.write_bytes(b"set lamp.count 4\nset lamp.label \xff\n")
        self.expect(1, "edit", "a.kns", "-s", "s.txt", out="",
                    error="kelvo: s.txt:2:16: a byte that cannot stand in a text.\n")

    def test_a_failed_write_is_reported(self):
        self.edit("set lamp.count 4", options=("-o", "no/b.kns"), status=1,
                  error="kelvo: cannot write 'no/b.kns': No such file or directory\n")


class Scripts(Edit):
    SCRIPT = "# Two edits.\nset lamp.radius 2; # one\n\n\tset lamp.count 7\n"
    EXPECTED = SCENE.replace("radius = 0.5", "radius = 2").replace("count = 3", "count = 7")

    def test_scripts_come_from_files_and_streams(self):
        (self.folder / "s.txt").write_text(self.SCRIPT)
        for arguments, given in ((("-s", "s.txt"), None), (("-s", "-"), self.SCRIPT),
                                 ((), self.SCRIPT), (("-s", "s.txt", "-s", "-"), "# nothing")):
            with self.subTest(arguments):
                self.file.write_text(SCENE)
                self.expect(0, "edit", "a.kns", *arguments, given=given, out="")
                self.assertEqual(self.file.read_text(), self.EXPECTED)

    def test_lines_may_end_as_elsewhere(self):
        self.expect(0, "edit", "a.kns", given=self.SCRIPT.replace("\n", "\r\n"), out="")
        self.assertEqual(self.file.read_text(), self.EXPECTED)

    def test_faults_in_scripts_name_the_file(self):
        (self.folder / "s.txt").write_text("\nundo\n")
        self.expect(1, "edit", "a.kns", "-s", "s.txt", out="",
                    error="kelvo: s.txt:2:1: undo: nothing can be undone.\n")
        self.expect(1, "edit", "a.kns", given="undo", out="",
                    error="kelvo: standard input:1:1: undo: nothing can be undone.\n")

    def test_an_empty_script_changes_nothing(self):
        self.expect(0, "edit", "a.kns", given="", out="")
        self.assertEqual(self.file.read_text(), SCENE)

    def test_another_file_or_stream_takes_the_result(self):
        self.expect(0, "edit", "a.kns", "-o", "b.kns", given=self.SCRIPT, out="")
        self.assertEqual((self.folder / "b.kns").read_text(), self.EXPECTED)
        self.expect(0, "edit", "-", "-c", self.SCRIPT, given=SCENE, out=self.EXPECTED)
        self.assertEqual(self.file.read_text(), SCENE)

    def test_a_dry_run_prints_the_steps_and_writes_nothing(self):
        self.edit("set lamp.count 4; remove desk; undo; save b.kns", options=("--dry-run",),
                  out="set lamp.count 4\n")
        self.assertEqual(self.names(), ["a.kns"])
        self.assertEqual(self.file.read_text(), SCENE)

    def test_the_call_may_be_wrong(self):
        for arguments, expected in (
                ((), "FILE is required (see kelvo edit --help)"),
                (("-", "-s", "-"), "the scene and the script cannot both come from the standard "
                                   "input")):
            self.expect(2, "edit", *arguments, out="", error=f"kelvo: {expected}\n")
        self.assertEqual(self.run_tool("edit", "a.kns", "-c", "undo", "-s", "x").returncode, 2)

    def test_a_file_that_is_not_there_is_reported(self):
        self.expect(1, "edit", "b.kns", "-c", "undo", out="",
                    error="kelvo: cannot read 'b.kns': No such file or directory\n")


class Document(Edit):
    def test_the_table_is_that_of_the_tool(self):
        page = pathlib.Path(__file__).resolve().parents[2] / "docs" / "edit.md"
        rows = re.findall(r"^\| `([^`]+)` \| (.+) \|$", page.read_text(), re.MULTILINE)
        printed = self.expect(0, "edit", "--commands").splitlines()
        told = [tuple(re.split(r" {2,}", line)) for line in printed]
        self.assertEqual([(usage.replace(r"\|", "|"), text) for usage, text in rows], told)


if __name__ == "__main__":
    main()
