#!/usr/bin/env python3
"""The tool kelvo, seen from outside: what it writes. kelvo_write_test.py KELVO [unittest ...]"""
import os
import stat
import subprocess

from kelvo_tool import SCENE, ToolTest, main, tool


class Set(ToolTest):
    def value(self, path, file="a.kns"):
        return self.expect(0, "get", file, path).rstrip("\n")

    def test_values_are_set_in_the_file(self):
        for path, value in (("lamp.radius", "0.75"), ("lamp.label", "a=b # c\n"),
                            ("lamp.count", "0"), ("room.children[0]", "desk"),
                            ("lamp.shade.stops[0]", "(5 -6)"), ("lamp.radius", "-3"),
                            ("desk.positions", "[(1 2 3)]"), ("lamp.label", "")):
            with self.subTest(path):
                self.expect(0, "set", "a.kns", f"{path}={value}", out="")
                self.assertEqual(self.value(path), value.rstrip("\n"))

    def test_several_values_are_set_at_once(self):
        self.expect(0, "set", "a.kns", "lamp.radius=1", "desk.weights[2]=7", out="")
        self.assertEqual(self.value("lamp.radius"), "1")
        self.assertEqual(self.value("desk.weights"), "[1, 2, 7]")

    def test_plus_adds_elements_in_order(self):
        self.expect(0, "set", "a.kns", "desk.weights[+]=4", "desk.weights[+]=5", out="")
        self.assertEqual(self.value("desk.weights"), "[1, 2, 3, 4, 5]")

    def test_an_empty_name_clears_a_link(self):
        self.expect(0, "set", "a.kns", "lamp.target=", out="")
        self.assertEqual(self.value("lamp.target"), "null")

    def test_nothing_but_the_value_changes(self):
        self.expect(0, "set", "a.kns", "lamp.radius=0.75", out="")
        self.assertEqual(self.file.read_text(),
                         SCENE.replace("radius = 0.5", "radius = 0.75"))

    def test_another_file_takes_the_result(self):
        self.expect(0, "set", "a.kns", "lamp.radius=2", "-o", "b.kns", out="")
        self.assertEqual(self.file.read_text(), SCENE)
        self.assertEqual(self.value("lamp.radius", "b.kns"), "2")

    def test_standard_streams_serve_as_a_filter(self):
        expected = SCENE.replace("radius = 0.5", "radius = 2")
        self.expect(0, "set", "-", "lamp.radius=2", given=SCENE, out=expected)
        self.expect(0, "set", "a.kns", "lamp.radius=2", "-o", "-", out=expected)
        self.assertEqual(self.names(), ["a.kns"])

    def test_one_wrong_assignment_undoes_all(self):
        for wrong, expected in (
                ("lamp.radus=1", "no input 'radus' in 'lamp': did you mean 'radius'?"),
                ("lamp.radius=wide", "cannot set 'lamp.radius': 'wide' is no value of kind Real: "
                                     "expected a number, such as 0.5."),
                ("lamp.count=-1", "cannot set 'lamp.count': '-1' is no value of kind UInt: "
                                  "expected a whole number from 0 to 18446744073709551615."),
                ("lamp.target=dsk",
                 "cannot link 'lamp.target': no node 'dsk': did you mean 'desk'?"),
                ("lamp.radius", "'lamp.radius' is no assignment: expected path=value."),
                ("lamp=1", "'lamp' is a node: expected one of its inputs."),
                ("desk.weights[5]=1", "no element [5] in 'desk.weights', which has 4."),
                ("desk.weights=1",
                 "'desk.weights' is of kind Array<Real>, which takes no value: set what it holds."),
                ("lamp.shade=1",
                 "'lamp.shade' is of kind Object, which takes no value: set what it holds."),
                ("lamp.fixed=2", "Cannot set input 'lamp.fixed': it is read-only."),
                ("lamp.bounded=12", "Cannot set input 'lamp.bounded' to '12': the value is above "
                                    "the maximum 9 (the range is 0 to 9).")):
            with self.subTest(wrong):
                self.expect(2, "set", "a.kns", "desk.weights[+]=9", wrong, "desk.weights[0]=8",
                            out="", error=f"kelvo: a.kns: {expected}\n")
                self.assertEqual(self.file.read_text(), SCENE)

    def test_all_wrong_assignments_are_reported(self):
        ran = self.run_tool("set", "a.kns", "lamp.a=1", "lamp.b=2")
        self.assertEqual(ran.returncode, 2)
        self.assertEqual(len(ran.stderr.splitlines()), 2)

    def test_a_connection_that_hides_the_value_is_reported(self):
        self.expect(0, "set", "a.kns", "desk.color=(1 1 1 1)", out="",
                    error="kelvo: warning: 'desk.color' is connected to 'wood.color', which hides "
                          "the value.\n")
        self.assertIn("color = (1 1 1 1) <- wood.color", self.file.read_text())

    def test_a_broken_scene_is_left_alone(self):
        broken = SCENE.replace("Real radius", "Reel radius")
        self.file.write_text(broken)
        self.assertEqual(self.run_tool("set", "a.kns", "lamp.count=1").returncode, 1)
        self.assertEqual(self.file.read_text(), broken)


class Replacing(ToolTest):
    def change(self, status=0, file="a.kns", error=None):
        self.expect(status, "set", file, "lamp.radius=0.75", out="", error=error)

    def test_permissions_are_kept(self):
        for mode in (0o600, 0o640, 0o755):
            self.file.chmod(mode)
            self.change()
            self.assertEqual(stat.S_IMODE(self.file.stat().st_mode), mode)

    def test_a_new_file_obeys_the_mask(self):
        self.run_tool("set", "a.kns", "lamp.radius=1", "-o", "b.kns", umask=0o027)
        self.assertEqual(stat.S_IMODE((self.folder / "b.kns").stat().st_mode), 0o640)

    def test_the_file_is_a_new_one_and_nothing_else_stays(self):
        before = self.file.stat().st_ino
        reader = self.file.open()
        self.addCleanup(reader.close)
        self.change()
        self.assertNotEqual(self.file.stat().st_ino, before)
        self.assertEqual(reader.read(), SCENE)
        self.assertEqual(self.names(), ["a.kns"])

    def test_symbolic_links_stay_and_are_followed(self):
        (self.folder / "sub").mkdir()
        target = self.folder / "sub" / "real.kns"
        self.file.rename(target)
        (self.folder / "sub" / "near.kns").symlink_to("real.kns")
        self.file.symlink_to("sub/near.kns")
        self.change()
        self.assertTrue(self.file.is_symlink())
        self.assertIn("radius = 0.75", target.read_text())
        self.assertEqual(sorted(os.listdir(target.parent)), ["near.kns", "real.kns"])

    def test_a_link_to_a_file_that_is_still_to_come_makes_it(self):
        (self.folder / "b.kns").symlink_to("c.kns")
        self.expect(0, "set", "a.kns", "lamp.radius=1", "-o", "b.kns")
        self.assertTrue((self.folder / "b.kns").is_symlink())
        self.assertIn("radius = 1", (self.folder / "c.kns").read_text())

    def test_links_in_a_circle_are_an_error(self):
        (self.folder / "b.kns").symlink_to("c.kns")
        (self.folder / "c.kns").symlink_to("b.kns")
        self.expect(1, "set", "a.kns", "lamp.radius=1", "-o", "b.kns", error="kelvo: cannot write "
                    "'b.kns': Too many levels of symbolic links\n")

    def test_a_failed_write_leaves_the_old_file(self):
        # No file may grow past 100 bytes, as on a disk that is full.
        limited = ["prlimit", "--fsize=100", tool(), "set", "a.kns", "lamp.radius=0.75"]
        ran = subprocess.run(limited, capture_output=True, text=True, cwd=self.folder, timeout=60)
        self.assertEqual(ran.returncode, 1, ran.stderr)
        self.assertEqual(ran.stderr, "kelvo: cannot write 'a.kns': File too large\n")
        self.assertEqual(self.file.read_text(), SCENE)
        self.assertEqual(self.names(), ["a.kns"])

    def test_a_folder_that_is_not_there_is_an_error(self):
        self.expect(1, "set", "a.kns", "lamp.radius=1", "-o", "no/b.kns",
                    error="kelvo: cannot write 'no/b.kns': No such file or directory\n")

    def test_devices_are_written_to_and_stay(self):
        self.expect(0, "set", "a.kns", "lamp.radius=1", "-o", "/dev/null", out="")
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/null").st_mode))
        self.expect(1, "set", "a.kns", "lamp.radius=1", "-o", "/dev/full",
                    error="kelvo: cannot write '/dev/full': No space left on device\n")

    def test_a_link_to_a_pipe_is_written_through(self):
        text = self.expect(0, "set", "a.kns", "lamp.radius=1", "-o", "/dev/stdout")
        self.assertEqual(text, SCENE.replace("radius = 0.5", "radius = 1"))


class Import(ToolTest):
    CUBE = "o cube\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"

    def test_a_model_becomes_a_scene_or_the_build_says_that_it_cannot(self):
        (self.folder / "m.obj").write_text(self.CUBE)
        ran = self.run_tool("import", "m.obj", "-o", "m.kns")
        if "this build has no import" in ran.stderr:
            self.assertEqual((ran.returncode, ran.stdout), (2, ""))
            return
        self.assertEqual(ran.returncode, 0, ran.stderr)
        self.assertRegex(ran.stdout, r"\Am\.kns: \d+ nodes, 3 vertices, 1 faces\n\Z")
        self.assertIn("    mesh: 1\n", self.expect(0, "stats", "m.kns"))
        self.expect(0, "check", "m.kns")
        to_stream = self.run_tool("import", "m.obj")
        self.assertEqual(to_stream.stdout, (self.folder / "m.kns").read_text())

    def test_what_is_no_model_is_the_files_fault(self):
        (self.folder / "m.gltf").write_text('{"asset": ')
        for model in ("none.obj", "m.gltf", "a.kns", "."):
            with self.subTest(model):
                ran = self.run_tool("import", model, "-o", "m.kns")
                expected = 2 if "this build has no import" in ran.stderr else 1
                self.assertEqual(ran.returncode, expected)
                self.assertRegex(ran.stderr, r"\Akelvo: [^\n]+\n\Z")
                self.assertFalse((self.folder / "m.kns").exists())

    def test_a_model_comes_from_no_stream(self):
        self.assertEqual(self.run_tool("import", "-", given=self.CUBE).returncode, 2)


if __name__ == "__main__":
    main()
