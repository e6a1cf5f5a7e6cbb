#!/usr/bin/env python3
"""Commands that print the same for a scene as text and in the binary form.
kelvo_either_form_test.py KELVO [...]"""
import os
import subprocess

from kelvo_tool import MODIFIED, READER, SCENE, ToolTest, main, scene, tool, xform

# Relies on types of the standard library: the outputs of "power" are not in the text.
TYPED = scene("""\
node pointLight "lamp" {
    Real intensity = 3 <- power.result
    Real radius = 0.5
    Array<Node> modifiers = [half]
}""", """\
node mix "power" {
    Real b = 4
}""", """\
node scaleModifier "half" {
    String modifies = "radius"
    Real factor = 0.5
}""")
CYCLES = scene(xform("a", "b", "c"), xform("b", "a"), xform("c", "d"), xform("d", "c"),
               xform("e", "e", "f", "null", "f"), xform("f"))
BUFFERS = scene("""\
node mesh "m" {
    Buffer<UInt32> numbers = [""" + " ".join(map(str, range(9000))) + """]
    Buffer<Pos3f> empty = []
    Real x = 1
}""")
SCENES = {"scene": SCENE, "reader": READER, "modified": MODIFIED, "typed": TYPED, "cycles": CYCLES,
          "none": "kelvo scene 1\n"}

PATHS = {
    "scene": ("lamp", "Lamp", "lamp.radius", "lamp.label", "lamp.target", "lamp.shade",
              "lamp.shade.stops[1]", "lamp.shade.stops[2]", "lamp.shade[0]", "room.children",
              "desk.positions", "desk.color", "desk.weights", "desk.weights[+]", "lamp[0]",
              "lamp.radius.x", "lamp.no", "nowhere", "a b", ""),
    "reader": ("r", "r.x", "r.list", "r.left", "r.o", "sum.result"),
    "modified": ("lamp.color", "lamp.intensity"),
    "typed": ("lamp", "lamp.intensity", "lamp.color", "power.amount", "power.result"),
}


class EitherForm(ToolTest):
    def setUp(self):
        super().setUp()
        self.packed = {name: self.pack(text, name) for name, text in SCENES.items()}

    def outcome(self, *arguments, given=None):
        """Returns status, output and messages, in which the name of the file is that of a text."""
        done = subprocess.run([tool(), *arguments], input=given, capture_output=True, check=False,
                              cwd=self.folder, timeout=60)
        return (done.returncode, done.stdout.decode(),
                done.stderr.decode().replace(".knb", ".kns"))

    def pack(self, text, name="a"):
        (self.folder / f"{name}.kns").write_text(text)
        self.expect(0, "pack", f"{name}.kns")
        return (self.folder / f"{name}.knb").read_bytes()

    def expect_same(self, name, command, *arguments):
        """Compares the outcomes for a scene in both forms; returns that of the text."""
        with self.subTest(command=command, arguments=arguments, scene=name):
            of_text = self.outcome(command, f"{name}.kns", *arguments)
            self.assertEqual(self.outcome(command, f"{name}.knb", *arguments), of_text)
            return of_text

    def expect_same_of_all(self, command, *arguments):
        """Compares the outcomes for all scenes in both forms; returns those of the texts."""
        return {name: self.expect_same(name, command, *arguments) for name in SCENES}

    def test_stats_says_the_same(self):
        outcomes = self.expect_same_of_all("stats")
        self.assertIn("depth: 2\n", outcomes["scene"][1])
        self.assertIn("nodes: 0\n", outcomes["none"][1])

    def test_depths_do_not_count_cycles(self):
        # a, c, d: the links back do not count.
        self.assertIn("depth: 3\n", self.expect_same_of_all("stats")["cycles"][1])

    def test_stats_has_the_hash_of_the_command_hash(self):
        for name in SCENES:
            with self.subTest(name):
                last = self.expect(0, "hash", f"{name}.kns").splitlines()[-1]
                self.assertEqual(self.expect(0, "stats", f"{name}.knb").splitlines()[-1], last)

    def test_the_standard_input_takes_the_binary_form(self):
        for name, packed in self.packed.items():
            with self.subTest(name):
                self.assertEqual(self.outcome("stats", "-", given=packed),
                                 self.outcome("stats", f"{name}.kns"))
        packed = self.packed["typed"]
        self.assertEqual(self.outcome("get", "-", "lamp.radius", given=packed)[1],
                         "stored: 0.5\neffective: 0.25\n")

    def test_get_says_the_same(self):
        for name, paths in PATHS.items():
            for path in paths:
                self.expect_same(name, "get", path)
        for path in ("lamp", "lamp.radius", "lamp.intensity", "lamp.modifiers"):
            self.expect_same("typed", "get", path, "--stored")

    def test_get_evaluates_where_the_value_is_hidden(self):
        self.assertEqual(self.expect_same("typed", "get", "lamp.radius")[1],
                         "stored: 0.5\neffective: 0.25\n")
        self.assertEqual(self.expect_same("scene", "get", "lamp.radius")[1], "0.5\n")

    def test_hash_says_the_same(self):
        for arguments in ((), ("lamp",), ("LAMP",), ("nowhere",), ("room",), ("--ignore-names",),
                          ("--skip", "light"), ("lamp", "--skip", "mesh")):
            self.expect_same_of_all("hash", *arguments)

    def test_the_hash_of_a_modified_node_has_its_modified_values(self):
        lines = self.expect(0, "hash", "typed.knb").splitlines()
        self.pack(TYPED.replace("0.5\n}", "0.25\n}"), "other")
        others = self.expect(0, "hash", "other.knb").splitlines()
        self.assertNotEqual(lines[0], others[0])
        self.assertEqual(lines[1], others[1])
        self.assertEqual(self.expect(0, "hash", "typed.knb", "lamp").split()[0],
                         lines[0].split()[0])

    def test_find_says_the_same(self):
        for arguments in (("**",), ("*",), ("*.*",), ("*.radius",), ("**.stops[*]",), ("nothing",),
                          ("**", "--type", "Real"), ("*", "--type", "light"),
                          ("**", "--value", ">1"), ("**", "--value", "<=1"),
                          ("**", "--value", "*a*"), ("**", "--value", "say*"),
                          ("**", "--count"), ("**", "--nodes"),
                          ("a[",), ("**", "--value", "<x")):
            self.expect_same_of_all("find", *arguments)

    def test_find_has_modified_values(self):
        self.assertEqual(self.expect_same("typed", "find", "lamp.radius")[1],
                         "lamp.radius (Real) = 0.25\n")

    def test_show_says_the_same(self):
        for arguments in ((), ("--no-values",), ("--depth", "1")):
            self.expect_same_of_all("show", *arguments)
        self.assertIn("Real radius = 0.25\n", self.expect(0, "show", "typed.knb"))
        self.assertIn("a (xform) shown above\n", self.expect(0, "show", "cycles.knb"))

    def test_deps_says_the_same(self):
        for node in ("lamp", "room", "wood", "r", "a", "power", "nowhere"):
            for arguments in ((), ("--downstream",), ("--tree",), ("--count",)):
                self.expect_same_of_all("deps", node, *arguments)
        self.assertIn("lamp (", self.expect(0, "deps", "typed.knb", "power", "--downstream"))

    def test_paths_says_the_same(self):
        for node in ("room", "a", "c", "lamp", "nowhere"):
            for arguments in ((), ("--all",), ("--matrix",), ("--count",), ("--type", "light")):
                self.expect_same_of_all("paths", node, *arguments)
        self.assertEqual(self.expect(0, "paths", "cycles.knb", "a", "d"), "a/c/d\n")

    def test_graph_says_the_same(self):
        for arguments in ((), ("--only", "links"), ("--around", "lamp", "--depth", "1"),
                          ("--around", "nowhere")):
            self.expect_same_of_all("graph", *arguments)
        self.assertIn('"power" -> "lamp" [label="result → intensity"]',
                      self.expect(0, "graph", "typed.knb"))

    def test_explain_says_the_same(self):
        for name, paths in PATHS.items():
            for path in paths:
                self.expect_same(name, "explain", path)
        self.assertIn("from: modifier half\nevaluates to: 0.25\n",
                      self.expect(0, "explain", "typed.knb", "lamp.radius"))

    def test_diff_says_the_same_for_any_two_forms(self):
        self.pack(SCENE.replace("radius = 0.5", "radius = 2"), "other")
        for pair in (("scene", "other"), ("scene", "typed"), ("typed", "cycles"),
                     ("typed", "typed")):
            texts = self.outcome("diff", *(f"{name}.kns" for name in pair))
            for first in ("kns", "knb"):
                for second in ("kns", "knb"):
                    with self.subTest(pair=pair, first=first, second=second):
                        self.assertEqual(self.outcome("diff", f"{pair[0]}.{first}",
                                                      f"{pair[1]}.{second}"), texts)
        self.assertEqual(self.expect(1, "diff", "scene.knb", "other.knb"),
                         "~ lamp.radius: 0.5 -> 2\n")

    def test_why_says_the_same_for_any_two_forms(self):
        self.pack(SCENE.replace("radius = 0.5", "radius = 2"), "other")
        for node in ("lamp", "room", "wood", "nowhere"):
            texts = self.outcome("why", "scene.kns", "other.kns", node)
            for first in ("scene.kns", "scene.knb"):
                for second in ("other.kns", "other.knb"):
                    with self.subTest(node=node, first=first, second=second):
                        self.assertEqual(self.outcome("why", first, second, node), texts)
        self.assertIn("~ lamp.radius: 0.5 -> 2",
                      self.outcome("why", "scene.knb", "other.knb", "room")[1])

    def peak(self, *arguments):
        """Runs the tool and returns its greatest use of memory."""
        with subprocess.Popen([tool(), *arguments], cwd=self.folder,
                              stdout=subprocess.DEVNULL) as process:
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0, arguments)
        return usage.ru_maxrss

    def test_looking_at_a_scene_makes_no_live_nodes(self):
        count, inputs = 20000, "".join(f"\n    Real r{i} = {i}" for i in range(10))
        self.pack(scene(*(f'node t "n{i}" {{{inputs}\n    Node next = n{i + 1}\n}}'
                          for i in range(count)), f'node t "n{count}" {{\n}}'))
        of_live_nodes = self.peak("set", "a.kns", "n0.r0=1", "-o", "b.kns")
        for arguments in (("show",), ("get", "n0.r1"), ("find", "*.r1"), ("stats",), ("hash",),
                          ("deps", "n0"), ("paths", "n0", "n9", "--all"), ("explain", "n9"),
                          ("explain", "n9.r1"), ("graph",), ("diff", "a.kns")):
            for form in ("kns", "knb"):
                with self.subTest(command=arguments[0], form=form):
                    peak = self.peak(arguments[0], f"a.{form}", *arguments[1:])
                    self.assertLess(peak, 0.7 * of_live_nodes)

    def damage(self, text, mark):
        """Flips a bit of a mark in a packed scene."""
        packed = bytearray(self.pack(text))
        place = packed.index(mark)
        packed[place] ^= 1
        (self.folder / "b.knb").write_bytes(packed)

    def fail_once(self, *arguments):
        status, out, message = self.outcome(*arguments)
        self.assertEqual((status, out), (1, ""))
        self.assertRegex(message, r"\Akelvo: b\.kns, byte \d+: The data are damaged\.\n\Z")

    def test_damage_that_a_command_meets_is_an_error_with_its_place(self):
        self.damage(SCENE, b"desk")
        self.fail_once("stats", "b.knb")
        self.fail_once("get", "b.knb", "lamp.radius")
        self.fail_once("get", "b.knb", "nowhere")
        self.fail_once("hash", "b.knb")
        self.fail_once("hash", "b.knb", "lamp")
        self.fail_once("find", "b.knb", "**")
        self.fail_once("why", "b.knb", "a.kns", "lamp")
        self.fail_once("why", "a.kns", "b.knb", "lamp")
        self.fail_once("show", "b.knb")
        self.fail_once("deps", "b.knb", "lamp")
        self.fail_once("paths", "b.knb", "room")
        self.fail_once("graph", "b.knb")
        self.fail_once("explain", "b.knb", "lamp")
        self.fail_once("explain", "b.knb", "lamp.radius")

    def test_damage_of_a_scene_with_modifiers_is_told_once(self):
        self.damage('kelvo scene 1\nnode t "desk" {\n    Array<Node> modifiers = [bend]\n}\n\n'
                    'node t "bend" {\n}\n', b"desk")
        self.fail_once("show", "b.knb")
        self.fail_once("stats", "b.knb")
        self.fail_once("find", "b.knb", "**")

    def test_damaged_elements_are_never_printed(self):
        self.damage(BUFFERS, b"\x01\x10\x00\x00")
        self.fail_once("stats", "b.knb")
        self.fail_once("get", "b.knb", "m.numbers")
        self.fail_once("hash", "b.knb", "m")

    def test_damage_elsewhere_does_not_hide_a_value(self):
        self.damage(BUFFERS, b"\x01\x10\x00\x00")
        self.assertEqual(self.expect(0, "get", "b.knb", "m.x"), "1\n")


if __name__ == "__main__":
    main()
