#!/usr/bin/env python3
"""The commands pack and unpack, and binary scenes in place of texts.
kelvo_pack_test.py KELVO [...]"""
import subprocess

from kelvo_tool import READER, SCENE, ToolTest, main, scene, tool

# Relies on a type of the standard library.
TYPED = """\
# first
kelvo scene 1

# the lamp
node pointLight "lamp" {
    Real intensity = 3  # bright
}
"""


class Pack(ToolTest):
    def write(self, name, text):
        (self.folder / name).write_text(text)

    def pack(self, text, *options):
        self.write("a.kns", text)
        return self.expect(0, "pack", "a.kns", *options)

    def bytes_of(self, name):
        return (self.folder / name).read_bytes()

    def test_text_to_binary_to_text_gives_the_same_bytes(self):
        for text in (SCENE, READER, TYPED, scene()):
            self.write("a.kns", text)
            # In the layout of the writer.
            self.expect(0, "edit", "a.kns", "-c", "save same.kns")
            same = (self.folder / "same.kns").read_text()
            for options in ((), ("--compress",)):
                with self.subTest(text=text, options=options):
                    self.pack(text, *options)
                    self.expect(0, "unpack", "a.knb", "-o", "b.kns")
                    self.assertEqual((self.folder / "b.kns").read_text(), same)

    def test_the_files_differ_in_their_ending_by_default(self):
        self.pack(SCENE)
        (self.folder / "a.kns").unlink()
        self.expect(0, "unpack", "a.knb")
        self.assertIn('node xform "room"', (self.folder / "a.kns").read_text())

    def test_compressed_files_are_smaller(self):
        self.pack(SCENE + "\n".join(f'node t "n{i}" {{\n    Real x = 1\n}}' for i in range(900)))
        plain = len(self.bytes_of("a.knb"))
        self.expect(0, "pack", "a.kns", "--compress")
        self.assertLess(len(self.bytes_of("a.knb")), plain / 3)

    def test_standard_streams_serve_as_a_filter(self):
        packed = subprocess.run([tool(), "pack", "-"], input=SCENE.encode(), capture_output=True,
                                check=True).stdout
        self.assertTrue(packed.startswith(b"\x89KNB\r\n\x1a\n"))
        text = subprocess.run([tool(), "unpack", "-"], input=packed, capture_output=True,
                              check=True).stdout
        self.assertIn(b'node mesh "desk"', text)

    def test_commands_take_either_form(self):
        self.pack(SCENE)
        for command in (("show",), ("get", "lamp.radius"), ("find", "*.radius"), ("stats",),
                        ("hash",), ("deps", "room"), ("paths", "room", "desk"),
                        ("explain", "desk.color"), ("graph",)):
            with self.subTest(command):
                of_text = self.expect(0, command[0], "a.kns", *command[1:])
                of_binary = self.expect(0, command[0], "a.knb", *command[1:])
                self.assertEqual(of_binary.replace("a.knb", "a.kns"), of_text)
        self.assertEqual(self.expect(0, "diff", "a.kns", "a.knb"), "")
        self.assertEqual(self.expect(0, "why", "a.kns", "a.knb", "room"), "")
        of_text, of_binary = (self.run_tool("check", f"a.{form}") for form in ("kns", "knb"))
        self.assertEqual(of_binary.stderr.replace("a.knb", "a.kns"), of_text.stderr)
        self.assertEqual(of_binary.returncode, 0)

    def test_an_edit_keeps_the_form_of_its_file(self):
        self.pack(SCENE)
        self.expect(0, "set", "a.knb", "lamp.radius=0.25")
        self.assertEqual(self.bytes_of("a.knb")[:4], b"\x89KNB")
        self.assertEqual(self.expect(0, "get", "a.knb", "lamp.radius"), "0.25\n")

    def test_the_ending_of_the_result_decides_its_form(self):
        self.write("a.kns", SCENE)
        self.expect(0, "set", "a.kns", "lamp.radius=0.25", "-o", "b.knb")
        self.assertEqual(self.bytes_of("b.knb")[:4], b"\x89KNB")
        self.expect(0, "set", "b.knb", "lamp.radius=2", "-o", "c.kns")
        self.assertIn("Real radius = 2", (self.folder / "c.kns").read_text())

    def test_damage_gives_one_error_with_its_place(self):
        self.pack(SCENE)
        whole = self.bytes_of("a.knb")
        for place in (9, 70, len(whole) // 2, len(whole) - 100, len(whole) - 3):
            damaged = bytearray(whole)
            damaged[place] ^= 0x10
            (self.folder / "b.knb").write_bytes(damaged)
            with self.subTest(place):
                message = self.fail_once("unpack", "b.knb")
                self.assertRegex(message, r"^kelvo: b\.knb, byte \d+: ")
        (self.folder / "b.knb").write_bytes(whole[:1000])
        self.assertIn("cut off", self.fail_once("get", "b.knb", "lamp.radius"))
        self.assertFalse((self.folder / "b.kns").exists())

    def fail_once(self, *arguments):
        """Returns the only line of a command that fails."""
        done = subprocess.run([tool(), *arguments], cwd=self.folder, capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        return done.stderr

    def test_a_text_with_errors_is_not_packed(self):
        self.write("a.kns", "kelvo scene 1\n\nnode t \"a\" {\n    Real x = one\n}\n")
        self.assertIn("a.kns:4:", self.fail_once("pack", "a.kns"))
        self.assertFalse((self.folder / "a.knb").exists())


if __name__ == "__main__":
    main()
