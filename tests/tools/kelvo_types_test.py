#!/usr/bin/env python3
"""The tool kelvo and node types. kelvo_types_test.py KELVO [unittest ...]"""
from kelvo_tool import MODIFIED, READER, ToolTest, main, scene

DEFINITIONS = """\
kelvo types 1

type lamp : emitter {
    label "en" "Desk Lamp"
    Real angle = 0.5 @min 0 @max 1
    Array<Node> shades = []
    Array<Int> steps = [1, 2]
    Object plug {
        Int pins = 2
    }
    output Real heat
}
type hidden @internal {
}
type idle @abstract {
}
"""

# Omits attributes that its types define, including an output that is read.
SUM = scene('node add "one" {\n    Real a = 1 # first\n}',
            'node add "sum" {\n    Real b = 2\n    Real a = 7 <- one.result\n}')


class TypesTest(ToolTest):
    def setUp(self):
        super().setUp()
        (self.folder / "my.knd").write_text(DEFINITIONS)
        (self.folder / "sum.kns").write_text(SUM)


class Types(TypesTest):
    def names_of(self, *arguments):
        listed = self.expect(0, "types", *arguments)
        return [line.split()[0] for line in listed.splitlines()]

    def test_all_are_listed_with_label_and_bases(self):
        listed = self.expect(0, "types").splitlines()
        self.assertGreater(len(listed), 40)
        self.assertIn("object             Object              abstract", listed)
        self.assertIn("xform              Transform           : object", listed)

    def test_those_of_a_text_come_first(self):
        self.assertEqual(self.names_of("--library", "my.knd"), ["lamp", "idle"])
        self.assertEqual(self.names_of("--library", "my.knd", "--internal"),
                         ["lamp", "hidden", "idle"])
        every = self.expect(0, "--library", "my.knd", "types").splitlines()
        self.assertEqual([line.split()[0] for line in every[:3]], ["lamp", "idle", "object"])

    def test_a_base_narrows_the_list(self):
        lights = self.names_of("--base", "emitter")
        self.assertIn("spotLight", lights)
        self.assertNotIn("mesh", lights)
        self.assertNotIn("emitter", lights)
        self.assertEqual(self.names_of("--base", "object", "--library", "my.knd"), ["lamp"])

    def test_the_standard_library_has_its_name(self):
        self.assertEqual(self.names_of("--library", "standard"), self.names_of())

    def test_none_is_reported(self):
        self.expect(1, "types", "--base", "add", out="",
                    error="kelvo: no type is based on 'add'.\n")

    def test_unknown_names_are_the_calls_fault(self):
        self.expect(2, "types", "--base", "emiter", out="",
                    error="kelvo: no node type 'emiter': did you mean 'emitter'?\n")
        self.expect(2, "types", "--library", "standrd", out="",
                    error="kelvo: no library 'standrd': did you mean 'standard'?\n")

    def test_broken_definitions_are_reported_with_their_places(self):
        (self.folder / "bad.knd").write_text("type t : emiter {\n}\n")
        self.expect(1, "types", "--library", "bad.knd", out="", error=(
            "kelvo: bad.knd:1:10: type 't': Unknown base 'emiter': did you mean 'emitter'?\n"))


class New(TypesTest):
    def test_a_node_is_printed_with_what_its_type_gives(self):
        self.expect(0, "new", "add", "sum", out=(
            'node add "sum" {\n    Real a = 0\n    Real b = 0\n    output Real result\n}\n'))

    def test_in_brief_it_is_left_to_the_type(self):
        self.expect(0, "new", "lamp", "key", "--brief", "--library", "my.knd",
                    out='node lamp "key" {\n}\n')

    def test_what_is_printed_reads_back(self):
        for name in self.expect(0, "types").split("\n"):
            type_name = (name.split() or [""])[0]
            if not type_name or name.endswith("abstract"):
                continue
            with self.subTest(type_name):
                text = self.expect(0, "new", type_name, "n")
                self.expect(0, "check", "-", given=text,
                            out="standard input: 1 node, 0 errors, 0 warnings\n")
                self.expect(0, "get", "-", "n", given=text, out=text)

    def test_what_cannot_be_made_is_reported(self):
        for arguments, expected in (
                (["xfrm", "n"], "no node type 'xfrm': did you mean 'xform'?"),
                (["idle", "n"], "Cannot create node 'n': its type 'idle' is abstract."),
                (["add", "a b"], "Cannot use 'a b' as a node's name: it is no simple identifier.")):
            with self.subTest(arguments):
                self.expect(2, "new", *arguments, "--library", "my.knd", out="",
                            error=f"kelvo: {expected}\n")


class Eval(TypesTest):
    def test_an_output_is_evaluated_through_connections(self):
        self.expect(0, "eval", "sum.kns", "sum.result", out="3\n")
        self.expect(0, "eval", "-", "sum.result", out="3\n", given=SUM)

    def test_values_are_whole(self):
        text = scene('node stringValue "s" {\n    String value = "' + "long " * 40 + '"\n}',
                     'node rgbaValue "c" {\n    Rgba value = (1 0.5 0 1)\n}')
        self.expect(0, "eval", "-", "s.result", out="long " * 40 + "\n", given=text)
        self.expect(0, "eval", "-", "c.result", out="(1 0.5 0 1)\n", given=text)

    def test_what_is_no_output_is_the_calls_fault(self):
        for path, expected in (
                ("sum", "'sum' is a node, which has the output result."),
                ("sum.reslt", "no output 'reslt' in 'sum': did you mean 'result'?"),
                ("sum.x", "no output 'x' in 'sum', which has the output result."),
                ("som.result", "no node 'som': did you mean 'sum'?"),
                ("", "no node ''.")):
            with self.subTest(path):
                self.expect(2, "eval", "sum.kns", path, out="",
                            error=f"kelvo: sum.kns: {expected}\n")

    def test_an_input_has_the_value_that_its_connection_gives(self):
        for path, expected in (("r.x", "3"), ("r.y", "1"), ("r.o.z", "3"), ("r.list", "[1, 3]"),
                               ("r.list[1]", "3"), ("r.list[0]", "1"), ("r.left", "null"),
                               ("r.text", "3"),
                               ("r.o", '{\n    Real z = 3\n    String s = "a"\n}')):
            with self.subTest(path):
                self.expect(0, "eval", "-", path, given=READER, out=expected + "\n")

    def test_an_input_has_the_value_that_modifiers_made(self):
        self.expect(0, "eval", "-", "lamp.color", given=MODIFIED, out="(0 1 0 1)\n")
        self.expect(0, "eval", "-", "lamp.intensity", given=MODIFIED, out="1\n")

    def test_an_input_that_the_file_leaves_to_the_type_has_its_default(self):
        self.expect(0, "eval", "-", "lamp.castShadows", given=MODIFIED, out="true\n")

    def test_unknown_inputs_and_elements_are_the_calls_fault(self):
        for path, expected in (
                ("r.list[2]", "no element [2] in 'r.list', which has 2."),
                ("r.o.q", "no input 'q' in 'r.o'."),
                ("r.y.q", "'r.y' has no members: its kind is Real."),
                ("r.txt", "no output 'txt' in 'r': did you mean 'text'?")):
            with self.subTest(path):
                self.expect(2, "eval", "-", path, given=READER, out="",
                            error=f"kelvo: standard input: {expected}\n")

    def test_an_input_whose_source_gives_nothing_has_no_value(self):
        given = scene('node t "n" {\n    output Real a\n}', 'node t "r" {\n    Real x <- n.a\n}')
        self.expect(1, "eval", "-", "r.x", given=given, out="", error=(
            "kelvo: standard input: 'r.x' has no value: 'n.a' has none, and its node no eval "
            "callback to produce one.\n"))

    def test_several_outputs_are_named(self):
        text = scene('node t "n" {\n    output Real a\n    output Real b\n    output Int c\n}',
                     'node t "m" {\n}')
        self.expect(2, "eval", "-", "n", given=text, out="", error=(
            "kelvo: standard input: 'n' is a node, which has the outputs a, b and c.\n"))
        self.expect(2, "eval", "-", "m.x", given=text, out="", error=(
            "kelvo: standard input: no output 'x' in 'm', which has no outputs.\n"))

    def test_no_value_is_the_files_fault(self):
        self.expect(1, "eval", "-", "n.a", given=scene('node t "n" {\n    output Real a\n}'),
                    out="", error=("kelvo: standard input: 'n.a' has no value: 'n.a' has none, and "
                                   "its node no eval callback to produce one.\n"))


class Convert(TypesTest):
    ROOM = scene('# the room\nnode xform "room" {\n    Array<Node> children = [key]\n}',
                 'node realValue "power" {\n    Real value = 3\n}',
                 '# the light\nnode spotLight "key" {\n    Rgba color = (1 0 0 1) # red\n'
                 "    Real intensity = 5 <- power.result # strong\n    Real radius = 2\n}",
                 'node add "sum" {\n    Real a = 1 <- power.result\n}')

    def setUp(self):
        super().setUp()
        (self.folder / "room.kns").write_text(self.ROOM)

    def test_values_connections_and_links_stay(self):
        error = "kelvo: warning: room.kns: 'key.radius' is no input of type 'sunLight'\n"
        self.expect(0, "convert", "room.kns", "key", "sunLight", out="", error=error)
        self.expect(0, "get", "room.kns", "key.color", out="(1 0 0 1)\n")
        text = (self.folder / "room.kns").read_text()
        start = self.ROOM.split('node spotLight "key"')[0]
        end = self.ROOM[self.ROOM.index("node add"):]
        self.assertTrue(text.startswith(start + 'node sunLight "key" {\n'), text)
        self.assertTrue(text.endswith(end), text)
        self.assertIn("    Real intensity = 5 <- power.result # strong\n", text)
        self.assertNotIn("radius", text)

    def test_what_was_lost_is_reported_and_the_rest_done(self):
        ran = self.run_tool("convert", "room.kns", "power", "vec3Value", "-o", "out.kns")
        self.assertEqual((ran.returncode, ran.stdout), (0, ""))
        self.assertIn("kelvo: warning: room.kns: '", ran.stderr)
        self.assertEqual((self.folder / "room.kns").read_text(), self.ROOM)
        self.expect(0, "get", "out.kns", "power.value")
        self.expect(0, "check", "out.kns", out="out.kns: 4 nodes, 0 errors, 0 warnings\n")

    def test_other_nodes_stay_to_the_byte(self):
        rest = ['# next\nnode spotLight "fill" {\n    Real radius = 2\n    # red\n'
                "    Rgba color = (1 0 0 1) @label \"de\" \"Farbe\"\n    Real intensity = 1\n"
                "    Bool visible = true\n    # end\n}",
                'node mesh : geometry, object "desk" {\n    Array<Node> materials = [key]\n}',
                'node xform "room" {\n'
                "    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1)\n"
                "    Array<Node> children = [fill, key, desk]\n}"]
        for first in ('node spotLight "key" {\n    Real radius = 1\n    Real intensity = 2\n}',
                      '# first\nnode spotLight "key" { # k\n}'):
            self.file.write_text(scene(first, *rest))
            self.expect(0, "convert", "a.kns", "key", "pointLight")
            text = self.file.read_text()
            self.assertIn('node pointLight "key" {', text)
            self.assertTrue(text.endswith("\n" + "\n".join(rest) + "\n"), text)

    def test_other_nodes_stay_in_a_scene_that_needs_the_types(self):
        rest = ['node spotLight "fill" {\n    Real radius = 2\n'
                "    Real intensity = 1 <- sum.result\n    Bool visible = true\n}",
                'node add "sum" {\n    Real b = 3\n    Real a = 1\n}']
        self.file.write_text(scene('node spotLight "key" {\n    Real radius = 1\n}', *rest))
        self.expect(0, "convert", "a.kns", "key", "pointLight")
        self.assertTrue(self.file.read_text().endswith("\n".join(rest) + "\n"),
                        self.file.read_text())

    def test_only_connections_that_the_new_type_lacks_go(self):
        text = scene('node t "reader" {\n    Real odd = 1\n    Real r = 7 <- power.result # x\n'
                     '    Real s = 1\n}',
                     'node realValue "power" {\n    Real value = 3\n    output Real result\n}')
        self.file.write_text(text)
        ran = self.run_tool("convert", "a.kns", "power", "pointLight")
        self.assertEqual(ran.returncode, 0, ran.stderr)
        self.assertIn("'reader.r' was connected to 'power.result'", ran.stderr)
        self.assertTrue(self.file.read_text().startswith(
            text.split("node realValue")[0].replace(" <- power.result", "")))
        self.file.write_text(text)
        self.expect(0, "convert", "a.kns", "power", "add",
                    error="kelvo: warning: a.kns: 'power.value' is no input of type 'add'\n")
        self.assertTrue(self.file.read_text().startswith(text.split("node realValue")[0]))

    def test_streams_serve_as_a_filter(self):
        text = self.run_tool("convert", "-", "sum", "multiply", "-o", "-", given=self.ROOM).stdout
        self.expect(0, "eval", "-", "sum.result", given=text, out="0\n")

    def test_what_cannot_be_is_the_calls_fault(self):
        for node, type_name, expected in (
                ("kye", "sunLight", "room.kns: no node 'kye': did you mean 'key'?"),
                ("key", "sunLigth", "no node type 'sunLigth': did you mean 'sunLight'?"),
                ("key", "emitter", "Cannot convert node 'key': type 'emitter' is abstract."),
                ("key", "spotLight", "room.kns: 'key' is of type 'spotLight' already.")):
            with self.subTest(type_name):
                self.expect(2, "convert", "room.kns", node, type_name, out="",
                            error=f"kelvo: {expected}\n")
                self.assertEqual((self.folder / "room.kns").read_text(), self.ROOM)


class Library(TypesTest):
    def test_right_definitions_are_counted(self):
        self.expect(0, "library", "check", "my.knd", out="my.knd: 3 types, no errors\n")
        self.expect(0, "library", "check", "-", given="type t {\n}\n",
                    out="standard input: 1 type, no errors\n")

    def test_bases_may_stand_in_a_text_before(self):
        (self.folder / "more.knd").write_text("type spot : lamp {\n}\n")
        self.expect(0, "library", "check", "my.knd", "more.knd",
                    out="my.knd: 3 types, no errors\nmore.knd: 1 type, no errors\n")
        self.expect(1, "library", "check", "more.knd", out="", error=(
            "kelvo: more.knd:1:13: type 'spot': Unknown base 'lamp': did you mean 'clamp'?\n"))

    def test_all_errors_are_reported_with_their_places(self):
        (self.folder / "bad.knd").write_text("type t {\n    Raal x = 1\n    Real y = z\n}\n")
        ran = self.run_tool("library", "check", "bad.knd")
        self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        places = [line.split(": ")[1] for line in ran.stderr.splitlines()]
        self.assertEqual(places, ["bad.knd:2:5", "bad.knd:3:14"])

    def test_standard_types_that_get_hidden_are_reported(self):
        self.expect(0, "library", "check", "-", given="type add {\n}\ntype own {\n}\n",
                    out="standard input: 2 types, no errors\n",
                    error=("kelvo: warning: standard input: hides a type of the standard library: "
                           "add.\n"))

    def test_other_actions_are_refused(self):
        self.expect(2, "library", "chek", "my.knd", out="", error=(
            "kelvo: unknown action 'chek': `kelvo library` knows check.\n"))

    def test_missing_files_are_reported(self):
        self.expect(1, "library", "check", "none.knd", out="", error=(
            "kelvo: cannot read 'none.knd': No such file or directory\n"))


class LeftToTypes(TypesTest):
    """Scenes that leave something to the types of their nodes."""

    def test_get_tells_what_the_type_gives(self):
        self.expect(0, "get", "sum.kns", "one.b", out="0\n")
        self.expect(2, "get", "sum.kns", "one.c", out="",
                    error="kelvo: sum.kns: no input 'c' in 'one'.\n")

    def test_get_tells_both_values_where_one_hides_the_other(self):
        for given, path, stored, effective in (
                (READER, "r.x", "0.5", "3"),
                (READER, "r.list", "[1, 2]", "[1, 3]"),
                (READER, "r.list[1]", "2", "3"),
                (READER, "r.text", "say \"hi\"", "3"),
                (READER, "r.o", '{\n    Real z = 4\n    String s = "a"\n}',
                 '{\n    Real z = 3\n    String s = "a"\n}'),
                (MODIFIED, "lamp.color", "(1 0 0 1)", "(0 1 0 1)")):
            with self.subTest(path):
                self.expect(0, "get", "-", path, given=given,
                            out=f"stored: {stored}\neffective: {effective}\n")
                self.expect(0, "get", "-", path, "--stored", given=given, out=stored + "\n")

    def test_get_prints_the_bare_value_where_nothing_hides_it(self):
        for given, path, expected in (
                (READER, "r.y", "1"), (READER, "r.list[0]", "1"), (READER, "sum.a", "1"),
                (MODIFIED, "lamp.intensity", "1"), (MODIFIED, "lamp.castShadows", "true"),
                (MODIFIED.replace("(0 1 0 1)", "(1 0 0 1)"), "lamp.color", "(1 0 0 1)"),
                (MODIFIED.replace("    String value", "    Bool enabled = false\n    String value"),
                 "lamp.color", "(1 0 0 1)")):
            with self.subTest(path):
                self.expect(0, "get", "-", path, given=given, out=expected + "\n")

    def test_get_sends_for_an_output_to_eval(self):
        self.expect(2, "get", "sum.kns", "sum.result", out="", error=(
            "kelvo: sum.kns: 'sum.result' is an output, whose value `kelvo eval` prints.\n"))

    def test_get_takes_the_text_first(self):
        text = scene('node add "n" {\n    Rgba a = (1 0 0 1)\n}')
        self.expect(0, "get", "-", "n.a", given=text, out="(1 0 0 1)\n")
        self.expect(0, "get", "-", "n", given=text,
                    out='node add "n" {\n    Rgba a = (1 0 0 1)\n}\n')

    def test_set_adds_the_one_line(self):
        (self.folder / "l.kns").write_text(scene(
            'node lamp "l" { # out of order, out of bounds', "    Real angle = 5 # wide",
            "    Real x = 1", "}"))
        before = (self.folder / "l.kns").read_text()
        for assignment, line in (("l.intensity=3", "Real intensity = 3"),
                                 ("l.color=(1 0 0 1)", "Rgba color = (1 0 0 1)"),
                                 ("l.name=a b", 'String name = "a b"'),
                                 ("l.shades[+]=l", "Array<Node> shades = [l]")):
            with self.subTest(assignment):
                self.expect(0, "set", "l.kns", assignment, "--library", "my.knd", "-o", "-",
                            out=before[:-2] + f"    {line}\n}}\n")

    def test_set_keeps_the_bounds_of_the_type(self):
        (self.folder / "l.kns").write_text(scene('node lamp "l" {\n}'))
        holds = ("is left to the type of its node, with what it holds: write it into the scene "
                 "first.")
        for assignment, expected in (
                ("l.angle=2", "Cannot set input 'l.angle' to '2': the value is above the maximum "
                              "1 (the range is 0 to 1)."),
                ("l.angle=x", "cannot set 'l.angle': 'x' is no value of kind Real: expected a "
                              "number, such as 0.5."),
                ("l.plug.pins=3", f"'l.plug' {holds}"),
                ("l.steps[0]=3", f"'l.steps' {holds}"),
                ("l.anlge=1", "no input 'anlge' in 'l'.")):
            with self.subTest(assignment):
                self.expect(2, "set", "l.kns", assignment, "--library", "my.knd", out="",
                            error=f"kelvo: l.kns: {expected}\n")
        self.assertEqual((self.folder / "l.kns").read_text(), scene('node lamp "l" {\n}'))

    def test_set_keeps_the_other_bytes_of_a_scene_that_needs_its_types(self):
        self.expect(0, "set", "sum.kns", "one.a=1", "-o", "-", out=SUM)
        self.expect(0, "set", "sum.kns", "sum.b=5", "-o", "-", out=SUM.replace("b = 2", "b = 5"))

    def test_a_scene_that_reads_what_it_leaves_out_is_read_by_every_command(self):
        for command, *rest in (["show"], ["check"], ["stats"], ["hash"], ["find", "**"], ["graph"],
                               ["explain", "sum.a"], ["deps", "sum"],
                               ["paths", "sum", "one", "--all"]):
            with self.subTest(command):
                self.expect(0, command, "sum.kns", *rest)

    def test_a_scene_that_stands_by_itself_is_shown_as_it_stands(self):
        self.expect(0, "show", "-", given=scene('node add "n" {\n    Real b = 1\n}'),
                    out="n (add)\n    Real b = 1\n")

    def test_libraries_that_are_asked_for_have_to_be_there(self):
        self.expect(1, "show", "a.kns", "--library", "none.knd", out="", error=(
            "kelvo: cannot read 'none.knd': No such file or directory\n"))


if __name__ == "__main__":
    main()
