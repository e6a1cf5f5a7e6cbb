#!/usr/bin/env python3
"""The tool kelvo: its input and its output. kelvo_test.py KELVO [...]"""
import os
import pty
import re
import resource
import subprocess

from kelvo_tool import SCENE, ToolTest, main, scene, tool, xform


class CommandLine(ToolTest):
    def test_version_is_printed(self):
        self.assertRegex(self.expect(0, "--version"), r"^kelvo \d+\.\d+\.\d+\n$")

    def test_help_names_every_command(self):
        text = self.expect(0, "--help")
        commands = ("show", "get", "set", "edit", "check", "stats", "paths", "deps", "hash", "find",
                    "explain", "graph", "diff", "why", "patch", "merge", "pack", "unpack", "eval",
                    "new", "convert", "types", "help", "library", "stubs", "import",
                    "render")
        listed = text.split("\nSubcommands:\n")[1].split("\n\n")[0]
        self.assertEqual(tuple(re.findall(r"(?m)^  (\w+)", listed)), commands)
        for command in commands:
            with self.subTest(command):
                self.assertIn(f"\nUsage: kelvo {command} ", self.expect(0, command, "--help"))

    def test_wrong_calls_are_reported_in_one_line(self):
        calls = (
            ([], "A subcommand is required"),
            (["shwo", "a.kns"], "unknown command 'shwo': did you mean 'show'?"),
            (["xyzzy"], "unknown command 'xyzzy' (see kelvo --help)"),
            (["show"], "FILE is required"),
            (["show", "a.kns", "b.kns"], "not expected"),
            (["show", "a.kns", "--depth", "-1"], "--depth"),
            (["show", "a.kns", "--depth", "x"], "--depth"),
            (["show", "a.kns", "--colour"], "--colour"),
            (["get", "a.kns"], "PATH is required"),
            (["set", "a.kns"], "PATH=VALUE is required"),
            (["import"], "MODEL is required"),
        )
        for arguments, expected in calls:
            with self.subTest(arguments):
                ran = self.run_tool(*arguments)
                self.assertEqual(ran.returncode, 2)
                self.assertEqual(ran.stdout, "")
                self.assertRegex(ran.stderr, r"\Akelvo: [^\n]+\n\Z")
                self.assertIn(expected, ran.stderr)

    def test_wrong_calls_name_the_right_help(self):
        for arguments, expected in (
                (["show"], "FILE is required (see kelvo help show)"),
                (["set", "a.kns"], "PATH=VALUE is required (see kelvo help set)"),
                (["--library", "x.knd", "get", "a.kns"], "PATH is required (see kelvo help get)"),
                (["show", "a.kns", "b.kns"],
                 "The following argument was not expected: b.kns (see kelvo help show)"),
                (["show", "a.kns", "--dept"],
                 "unknown option '--dept': did you mean '--depth'? (see kelvo help show)"),
                (["show", "--dept", "1"],
                 "unknown option '--dept': did you mean '--depth'? (see kelvo help show)"),
                (["get", "a.kns", "--plugn", "x"],
                 "unknown option '--plugn': did you mean '--plugin'? (see kelvo help get)"),
                (["show", "a.kns", "-x"], "unknown option '-x' (see kelvo help show)"),
                (["--nope"], "unknown option '--nope' (see kelvo --help)"),
                (["deps", "a.kns", "lamp", "--tree", "--count"],
                 "--tree excludes --count (see kelvo help deps)"),
                ([], "A subcommand is required (see kelvo --help)"),
                (["--library", "x.knd", "shwo"], "unknown command 'shwo': did you mean 'show'?")):
            with self.subTest(arguments):
                self.expect(2, *arguments, out="", error=f"kelvo: {expected}\n")

    def test_numbers_are_whole_and_within_their_range(self):
        end = " (see kelvo help {})\n"
        for command, option, least in ((["show"], "--depth", 0),
                                       (["graph", "--around", "lamp"], "--depth", 0),
                                       (["paths", "a.kns", "room"], "--limit", 1),
                                       (["help", "light"], "--width", 1)):
            rest = ["a.kns"] if "help" not in command and "a.kns" not in command else []
            for value in (least - 1, "-9", "x", "1.5", "1e3", "0x10", "+1", "1 "):
                with self.subTest((command, value)):
                    self.expect(2, *command, *rest, f"{option}={value}", out="", error=(
                        f"kelvo: {option}: expected a number from {least} up, not '{value}'" +
                        end.format(command[0])))
            with self.subTest(command):
                self.expect(2, *command, *rest, option, 10 ** 30, out="", error=(
                    f"kelvo: {option}: expected a number from {least} up to {2 ** 63 - 1}, "
                    f"not '{10 ** 30}'" + end.format(command[0])))
        self.expect(2, "show", "a.kns", "--depth", "-1", out="", error=(
            "kelvo: --depth: expected a number from 0 up, not '-1' (see kelvo help show)\n"))

    def test_files_that_cannot_be_read_are_the_files_fault(self):
        for command in (["show"], ["stats"], ["check"], ["get"], ["set"]):
            rest = {"get": ["lamp"], "set": ["lamp.radius=1"]}.get(command[0], [])
            with self.subTest(command):
                self.expect(1, *command, "none.kns", *rest,
                            error="kelvo: cannot read 'none.kns': No such file or directory\n")
                self.expect(1, *command, ".", *rest,
                            error="kelvo: cannot read '.': Is a directory\n")


class NoScenes(ToolTest):
    """Tests files of another kind where a scene is expected."""

    # Arguments after the file; merge and diff have another status for errors.
    COMMANDS = {"show": [], "get": ["a.b"], "set": ["a.b=1"], "edit": [], "check": [],
                "stats": [], "paths": ["a"], "deps": ["a"], "hash": [], "find": ["*"],
                "explain": ["a"], "graph": [], "eval": ["a.b"], "convert": ["a", "light"],
                "diff": ["a.kns"], "merge": ["a.kns", "a.kns"]}

    def test_every_command_sends_models_to_import(self):
        model = self.folder / "x.glb"
        model.write_bytes(b"glTF\2\0\0\0\xff\xfe" * 50)
        for command, rest in self.COMMANDS.items():
            with self.subTest(command):
                ran = self.run_tool(command, "x.glb", *rest, given="")
                self.assertEqual(ran.returncode, 2 if command in ("diff", "merge") else 1)
                self.assertEqual(
                    ran.stderr,
                    "kelvo: x.glb: not a scene: import it (kelvo import x.glb -o x.kns).\n")
        self.assertEqual(self.names(), ["a.kns", "x.glb"])

    def test_the_kind_of_a_file_is_reported(self):
        model = "import it (kelvo import {0} -o {1}.kns)."
        for name, content, expected in (
                ("x.obj", b"v 0 0 0\nv 1 0 0\n", model.format("x.obj", "x")),
                ("a b.GLTF", b'{"asset": {}}', model.format("a b.GLTF", "a b")),
                ("x.bin", b"glTF\2\0\0\0", "it is a model (see kelvo help import)."),
                ("x.png", b"\x89PNG\r\n\x1a\n\0\0", "it is no text."),
                ("x.kns", b"\0" * 100, "it is no text."),
                ("x.knd", b"# mine\nkelvo types 1\n", "it defines node types (see --library).")):
            with self.subTest(name):
                (self.folder / name).write_bytes(content)
                self.expect(1, "show", name, out="",
                            error=f"kelvo: {name}: not a scene: {expected}\n")
        ran = subprocess.run([tool(), "show", "-"], input=b"\0\1\2", capture_output=True)
        self.assertEqual(ran.stderr, b"kelvo: standard input: not a scene: it is no text.\n")

    def test_a_scene_by_any_name_is_read(self):
        for name, text in (("scene.glb", SCENE), ("x.obj", 'node xform "a" {\n}\n'),
                           ("x.x", "# nothing\n"), ("y.kns", "\ufeff" + SCENE)):
            with self.subTest(name):
                (self.folder / name).write_text(text)
                self.expect(0, "stats", name)

    def test_errors_in_a_scene_keep_their_places(self):
        for text, expected in (("hello\n", "1:1: Found 'hello'"),
                               ("kelvo scene 9\n", "1:13: Found '9'")):
            with self.subTest(text):
                self.assertIn(expected, self.run_tool("show", "-", given=text).stderr)
        (self.folder / "x.kns").write_bytes(SCENE.encode() + b"\xff")
        self.assertRegex(self.run_tool("show", "x.kns").stderr, r"^kelvo: x\.kns:\d+:1: ")


class Memory(ToolTest):
    """Limits the address space, as `ulimit -v` does."""

    MEBI = 1 << 20

    def run_within(self, limit, *arguments):
        def bound():
            resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        return self.run_tool(*arguments, preexec_fn=bound)

    def setUp(self):
        super().setUp()
        if self.run_within(400 * self.MEBI, "--version").returncode != 0:
            self.skipTest("The sanitizers reserve more address space than this allows.")
        lights = (f'node light "n{i}" {{\n    Real intensity = 0.5\n    Node t = n0\n}}'
                  for i in range(40000))
        self.file.write_text(scene(*lights))

    def test_a_sentence_tells_that_it_ran_out_and_files_stay(self):
        before = self.file.read_text()
        told = "kelvo: the memory ran out; `ulimit -v` tells whether it is limited.\n"
        for command, status in ((["show", "a.kns"], 1), (["set", "a.kns", "n3.intensity=7"], 1),
                                (["check", "a.kns", "--fix"], 1),
                                (["graph", "a.kns", "-o", "b.dot"], 1),
                                (["diff", "a.kns", "a.kns"], 2),
                                (["merge", "a.kns", "a.kns", "a.kns", "-o", "b.kns"], 2)):
            # Each limit is too small for the scene, so that the tool fails at different places.
            for limit in (44, 48, 52, 56, 60):
                with self.subTest((command, limit)):
                    ran = self.run_within(limit * self.MEBI, *command)
                    self.assertEqual((ran.returncode, ran.stderr), (status, told))
                    self.assertEqual(self.file.read_text(), before)
                    self.assertEqual(self.names(), ["a.kns"])


class Show(ToolTest):
    def test_a_scene_becomes_a_tree(self):
        self.expect(0, "show", "a.kns", out="""\
room (xform)
│   Array<Node> children = [lamp, desk]
│   Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 2.5 0 1)
├─ lamp (light)
│      Real radius = 0.5
│      UInt count = 3
│      Node target = desk
│      String label = "say \\"hi\\""
│      Int fixed = 1
│      Int bounded = 1
│      Object shade = {2 members}
│          Rgba tint = (1 0 0 1)
│          Array<Vec2> stops = [(0 1), (2 3)]
└─ desk (mesh)
       Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0) (1 1 1) ...] 6 elements
       Rgba color = (0.8 0.6 0.4 1) <- wood.color
       Array<Real> weights = [1, 2, 3]
wood (wood)
    output Rgba color
""")

    def test_the_standard_input_is_a_file_too(self):
        self.assertEqual(self.expect(0, "show", "-", given=SCENE), self.expect(0, "show", "a.kns"))

    def test_depth_bounds_the_tree(self):
        given = scene(xform("a", "b"), xform("b", "c"), xform("c"))
        for depth, expected in (
                (0, "a (xform) with 1 child\n"),
                (1, "a (xform)\n└─ b (xform) with 1 child\n"),
                (2, "a (xform)\n└─ b (xform)\n   └─ c (xform)\n"),
                (9, "a (xform)\n└─ b (xform)\n   └─ c (xform)\n")):
            with self.subTest(depth):
                self.expect(0, "show", "-", "--depth", depth, "--no-values", given=given,
                            out=expected)

    def test_shared_nodes_are_marked_and_printed_once(self):
        given = scene(xform("a", "s"), xform("b", "s"), xform("s", "t"), xform("t"))
        self.expect(0, "show", "-", "--no-values", given=given, out="""\
a (xform)
└─ s (xform) shared, listed 2 times
   └─ t (xform)
b (xform)
└─ s (xform) shown above
""")

    def test_cycles_end(self):
        given = scene(xform("a", "b"), xform("b", "a"), xform("self", "self"))
        self.expect(0, "show", "-", "--no-values", given=given, out="""\
a (xform)
└─ b (xform)
   └─ a (xform) shown above
self (xform)
└─ self (xform) shown above
""")

    def test_nodes_that_have_more_parents_than_shown_are_not_lost_behind_a_bound(self):
        given = scene(xform("a", "s"), xform("s"), xform("b", "s"))
        self.expect(0, "show", "-", "--no-values", "--depth", 0, given=given,
                    out="a (xform) with 1 child\nb (xform) with 1 child\n")

    def test_long_values_are_cut_and_tell_their_size(self):
        long_text = "ä" * 100
        given = scene('node t "t" {', f'    String s = "{long_text}"',
                      "    Array<Int> a = [" + ", ".join("1" * 20) + "]", "}")
        self.expect(0, "show", "-", given=given,
                    out=f'''t (t)\n    String s = "{"ä" * 30}"... 200 bytes\n'''
                        "    Array<Int> a = [1, 1, 1, 1, 1, 1, 1, 1, ...] 20 elements\n")

    def test_a_chain_as_deep_as_the_scene_is_shown(self):
        count = 20000
        nodes = [xform(f"n{i}", f"n{i + 1}") for i in range(count)] + [xform(f"n{count}")]
        lines = self.expect(0, "show", "-", "--no-values", given=scene(*nodes)).splitlines()
        self.assertEqual(len(lines), count + 1)
        self.assertIn(f"n{count} (xform)", lines[-1])
        self.assertLess(max(map(len, lines)), 200)

    def test_a_scene_without_nodes_prints_nothing(self):
        self.expect(0, "show", "-", given="kelvo scene 1\n", out="")

    def test_what_a_file_holds_cannot_command_the_terminal(self):
        given = scene('node t "t" {', '    String s = "\\x1b[31mred\\n"', "}")
        self.expect(0, "show", "-", given=given,
                    out='t (t)\n    String s = "\\x1b[31mred\\n"\n')

    def test_the_name_of_a_file_cannot_command_the_terminal(self):
        self.expect(1, "show", "\x1b[2J\n",
                    error="kelvo: cannot read '?[2J?': No such file or directory\n")


class Get(ToolTest):
    def test_values_are_printed_as_text(self):
        for path, expected in (
                ("lamp.radius", "0.5"),
                ("lamp.label", 'say "hi"'),
                ("LAMP.Radius", "0.5"),
                ("lamp.target", "desk"),
                ("lamp.shade.tint", "(1 0 0 1)"),
                ("lamp.shade.stops[1]", "(2 3)"),
                ("lamp.shade.stops", "[(0 1), (2 3)]"),
                ("room.children", "[lamp, desk]"),
                ("room.children[1]", "desk"),
                ("desk.color", "(0.8 0.6 0.4 1)"),
                ("desk.positions",
                 "[(0 0 0) (1 0 0) (1 1 0) (1 1 1) (0 0 1) (0.5 0 1)]"),
                ("lamp.shade",
                 "{\n    Rgba tint = (1 0 0 1)\n    Array<Vec2> stops = [(0 1), (2 3)]\n}")):
            with self.subTest(path):
                self.expect(0, "get", "a.kns", path, out=expected + "\n")

    def test_a_node_is_printed_as_scene_text(self):
        self.expect(0, "get", "-", "wood", given=SCENE,
                    out='node wood "wood" {\n    output Rgba color\n}\n')

    def test_unknown_paths_are_the_calls_fault(self):
        for path, expected in (
                ("lmp", "no node 'lmp': did you mean 'lamp'?"),
                ("lmp.radius", "no node 'lmp': did you mean 'lamp'?"),
                ("elephant", "no node 'elephant'."),
                ("lamp.radus", "no input 'radus' in 'lamp': did you mean 'radius'?"),
                ("lamp.shade.tnt", "no input 'tnt' in 'lamp.shade': did you mean 'tint'?"),
                ("lamp.radius.x", "'lamp.radius' has no members: its kind is Real."),
                ("lamp.radius[0]", "'lamp.radius' has no elements: its kind is Real."),
                ("lamp[0]", "'lamp' is a node, which has inputs and no elements."),
                ("desk.weights[3]", "no element [3] in 'desk.weights', which has 3."),
                ("desk.weights[+]", "'desk.weights[+]' is for `set` alone."),
                ("a..b", "'a..b' is no path: expected something like node.input, node.array[3] "
                         "or node.object.member."),
                ("", "'' is no path: expected something like node.input, node.array[3] "
                     "or node.object.member.")):
            with self.subTest(path):
                self.expect(2, "get", "a.kns", path, out="", error=f"kelvo: a.kns: {expected}\n")


class Check(ToolTest):
    def test_a_sound_scene_passes(self):
        self.file.write_text(scene(xform("a", "b"), 'node pointLight "b" {\n}'))
        self.expect(0, "check", "a.kns", out="a.kns: 2 nodes, 0 errors, 0 warnings\n")

    def test_the_standard_input_is_named(self):
        self.expect(0, "check", "-", given="kelvo scene 1\n",
                    out="standard input: 0 nodes, 0 errors, 0 warnings\n")

    def test_all_errors_are_reported_with_place_and_suggestion(self):
        self.file.write_text(SCENE.replace("Real radius", "Reel radius")
                             .replace("[lamp, desk]", "[lmap, desk]"))
        ran = self.run_tool("check", "a.kns")
        self.assertEqual(ran.returncode, 1)
        self.assertEqual(ran.stdout, "")
        lines = ran.stderr.splitlines()
        self.assertEqual(len(lines), 2, ran.stderr)
        text = "\n".join(sorted(lines))
        self.assertRegex(text, r"(?m)^kelvo: a\.kns:6:\d+: node 'room': .*did you mean 'lamp'")
        self.assertRegex(text, r"(?m)^kelvo: a\.kns:10:\d+: node 'lamp': .*did you mean 'Real'")

    def test_mesh_buffers_have_to_agree(self):
        start = 'node mesh "m" {\n    Buffer<Pos3f> positions = [(0 0 0) (1 0 0)]\n'
        advice = ("; normals and uvs need one for each position, indices stay below their "
                  "number). [mesh-mismatch]\n")
        for line, counts in (
                ("Buffer<Vec3f> normals = [(0 0 1)]", "2 positions, 1 normals"),
                ("Buffer<UInt32> indices = [0 1 2]", "2 positions, 3 indices")):
            with self.subTest(line):
                self.expect(1, "check", "-", given=scene(start + "    " + line + "\n}"),
                            out="standard input: 1 node, 1 error, 0 warnings\n",
                            error="kelvo: standard input: node 'm': its mesh buffers do not agree "
                                  f"({counts}{advice}")

    def test_empty_links_among_children_are_warned_of(self):
        self.expect(0, "check", "-", given=scene(xform("a", "null")),
                    out="standard input: 1 node, 0 errors, 1 warning\n",
                    error="kelvo: warning: standard input: node 'a': element [0] of 'children' "
                          "links to no node. [empty-child]\n")

    def test_cycles_of_children_are_warned_of(self):
        self.expect(0, "check", "-", given=scene(xform("a", "b"), xform("b", "a")),
                    out="standard input: 2 nodes, 0 errors, 1 warning\n",
                    error="kelvo: warning: standard input: node 'b' has 'a' as a child, which it "
                          "is itself below. [child-cycle]\n")


class Stats(ToolTest):
    def test_everything_is_counted(self):
        text = self.expect(0, "stats", "a.kns")
        head, line = text.rsplit("hash: ", 1)
        self.assertRegex(line, r"\A[0-9a-f]{16}\n\Z")
        self.assertEqual(head, """\
nodes: 4
    light: 1
    mesh: 1
    wood: 1
    xform: 1
inputs: 21
    Int: 2
    UInt: 1
    Real: 4
    Vec2: 2
    Rgba: 2
    Mat4: 1
    String: 1
    Node: 3
    Buffer: 1
    Array: 3
    Object: 1
outputs: 1
buffers: 1
    elements: 6
    bytes: 72
connections: 1
links: 3
depth: 2
""")

    def hash_of(self, text):
        return re.search(r"hash: (\w+)", self.expect(0, "stats", "-", given=text))[1]

    def test_the_hash_tells_values_and_not_comments(self):
        same = self.hash_of(SCENE)
        self.assertEqual(same, self.hash_of(SCENE.replace("# metres", "# m")))
        self.assertNotEqual(same, self.hash_of(SCENE.replace("radius = 0.5", "radius = 0.25")))

    def test_depth_is_the_longest_way_down(self):
        for nodes, depth in (((), 0), ((xform("a"),), 1), ((xform("a", "a"),), 1),
                             ((xform("a", "c", "b"), xform("b", "c"), xform("c")), 3),
                             ((xform("a", "b"), xform("b", "a")), 2)):
            with self.subTest(nodes):
                text = self.expect(0, "stats", "-", given=scene(*nodes))
                self.assertIn(f"\ndepth: {depth}\n", text)


class Terminal(ToolTest):
    def on_terminal(self, **environment):
        """Runs `show` with a terminal as its output."""
        outer, inner = pty.openpty()
        surroundings = {k: v for k, v in os.environ.items() if k != "NO_COLOR"}
        surroundings.update({"TERM": "xterm"}, **environment)
        with subprocess.Popen([tool(), "show", str(self.file), "--no-values"], stdout=inner,
                              env=surroundings) as running:
            os.close(inner)
            text = b""
            try:
                while piece := os.read(outer, 65536):
                    text += piece
            except OSError:
                # The other end of the terminal is closed.
                pass
            os.close(outer)
            self.assertEqual(running.wait(60), 0)
        return text.decode().replace("\r\n", "\n")

    def test_colours_are_for_terminals(self):
        plain = self.expect(0, "show", "a.kns", "--no-values")
        self.assertNotIn("\x1b", plain)
        colored = self.on_terminal()
        self.assertIn("\x1b[1mroom\x1b[0m", colored)
        self.assertEqual(re.sub(r"\x1b\[\d*m", "", colored), plain)

    def test_colours_can_be_declined(self):
        plain = self.expect(0, "show", "a.kns", "--no-values")
        self.assertEqual(self.on_terminal(NO_COLOR="1"), plain)
        self.assertEqual(self.on_terminal(TERM="dumb"), plain)
        self.assertIn("\x1b", self.on_terminal(NO_COLOR=""))

    def test_a_reader_that_goes_away_is_no_error(self):
        big = scene(*(xform(f"n{i}") for i in range(20000)))
        self.file.write_text(big)
        for command in (["show"], ["set", "n1.children[+]=n2", "-o", "-"]):
            with self.subTest(command), subprocess.Popen(
                    [tool(), command[0], str(self.file), *command[1:]], stdout=subprocess.PIPE,
                    stderr=subprocess.PIPE) as running:
                self.assertNotEqual(running.stdout.readline(), b"")
                running.stdout.close()
                self.assertEqual(running.stderr.read(), b"")
                self.assertEqual(running.wait(60), 0)

    def test_output_that_gets_lost_is_an_error(self):
        with open("/dev/full", "wb") as full:
            ran = subprocess.run([tool(), "show", str(self.file)], stdout=full, timeout=60,
                                 stderr=subprocess.PIPE, text=True)
        self.assertEqual(ran.returncode, 1)
        self.assertEqual(ran.stderr,
                         "kelvo: cannot write standard output: No space left on device\n")


if __name__ == "__main__":
    main()
