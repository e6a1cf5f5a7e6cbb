"""`kelvo import` on the models of Debian's package assimp-testmodels."""
import pathlib
import time

from kelvo_tool import ToolTest, main

MODELS = pathlib.Path("/usr/share/assimp/models")
ENGINE = MODELS / "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"


class Import(ToolTest):
    def test_invalid_models_get_one_error_and_touch_nothing(self):
        for model in sorted((MODELS / "invalid").iterdir()):
            if model.name == "malformed2.obj":
                continue
            with self.subTest(model.name):
                out = self.folder / "out.kns"
                out.write_text("precious")
                start = time.monotonic()
                ran = self.run_tool("import", model, "-o", out)
                self.assertLess(time.monotonic() - start, 20)
                self.assertEqual((ran.returncode, ran.stdout), (1, ""))
                self.assertRegex(ran.stderr, rf"\Akelvo: {model}: [^\n]+\n\Z")
                self.assertEqual(out.read_text(), "precious")
                self.assertEqual(self.names(), ["a.kns", "out.kns"])

    def test_a_model_that_is_wrong_in_part_gives_a_scene_without_errors(self):
        model = MODELS / "invalid/malformed2.obj"
        self.assertEqual(self.run_tool("import", model, "-o", "out.kns").returncode, 0)
        self.assertIn(" 0 errors", self.expect(0, "check", "out.kns"))

    def test_the_engine_has_what_its_file_has(self):
        self.assertEqual(self.run_tool("import", ENGINE, "-o", "engine.kns").returncode, 0)
        stats = self.expect(0, "stats", "engine.kns")
        for line in ("xform: 82", "material: 34", "mesh: 34", "camera: 1"):
            self.assertIn(f"    {line}\n", stats)
        self.assertIn(" 0 errors, 0 warnings", self.expect(0, "check", "engine.kns"))

    def test_a_value_that_a_model_may_not_have_is_kept_marked_and_told(self):
        model = MODELS / "FBX/maxPbrMaterial_specGloss.fbx"
        ran = self.run_tool("import", model, "-o", "out.kns")
        place, value = "material_02_Default.roughness", "-2.200000047683716"
        reason = f"the value {value} is below the minimum 0 (the range is 0 to 1)."
        self.assertEqual((ran.returncode, ran.stderr), (0, (
            f"kelvo: warning: {model}: kept and marked @unchecked: input '{place}': {reason}\n")))
        self.assertIn(f"Real roughness = {value} @unchecked\n",
                      (self.folder / "out.kns").read_text())
        self.expect(0, "get", "out.kns", place, out=f"{value}\n")
        self.assertIn(f"input '{place}': {reason} [out-of-range]\n",
                      self.run_tool("check", "out.kns").stderr)
        self.assertEqual(self.run_tool("check", "out.kns", "--fix").returncode, 0)
        self.expect(0, "get", "out.kns", place, out="0\n")

    def test_of_many_such_values_the_first_are_told_and_all_are_marked(self):
        names = [f"m{i}" for i in range(25)]
        (self.folder / "m.mtl").write_text("".join(f"newmtl {name}\nd 2\n" for name in names))
        (self.folder / "m.obj").write_text(
            "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n"
            + "".join(f"usemtl {name}\nf 1 2 3\n" for name in names))
        ran = self.run_tool("import", "m.obj", "-o", "m.kns")
        lines = ran.stderr.splitlines()
        self.assertEqual(ran.returncode, 0)
        self.assertEqual(lines[20], "kelvo: warning: m.obj: kept 5 more such values.")
        self.assertEqual(len(lines), 21, ran.stderr)
        text = (self.folder / "m.kns").read_text()
        self.assertEqual(text.count("Real opacity = 2 @unchecked\n"), 25)

    def test_what_is_left_out_is_told_by_name_and_count(self):
        ran = self.run_tool("import", MODELS / "BVH/01_01.bvh", "-o", "out.kns")
        self.assertEqual(ran.returncode, 0)
        self.assertRegex(ran.stderr, r"left out bones: 34 \(LHipJoint, .* and 26 more\)\n")
        self.assertRegex(ran.stderr, r"left out animations: 1 \(Motion\)\n")


if __name__ == "__main__":
    main()
