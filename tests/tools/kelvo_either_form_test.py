#!/usr/bin/env python3
"""Commands that print the same for a scene as text and in the binary form.
kelvo_either_form_test.py KELVO [...]"""
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
