"""`kelvo import` on the models of Debian's package assimp-testmodels."""
import os
import pathlib
import re
import time

from kelvo_tool import ToolTest, main

MODELS = pathlib.Path("/usr/share/assimp/models")
ENGINE = MODELS / "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"


GRID = 31


def grid_obj():
    """Makes a square of quads, in which up to four quads share a corner."""
    lines = [f"v {x / 8} {x * y % 7 / 16} {y / 8}" for y in range(GRID) for x in range(GRID)]
    for y in range(GRID - 1):
        for x in range(GRID - 1):
            a = y * GRID + x + 1
            lines.append(f"f {a} {a + 1} {a + GRID + 1} {a + GRID}")
    return "\n".join(lines) + "\n"


def grid_ply():
    positions, faces = [], []
    for line in grid_obj().splitlines():
        kind, *numbers = line.split()
        if kind == "v":
            positions.append(" ".join(numbers))
        else:
            faces.append("4 " + " ".join(str(int(n) - 1) for n in numbers))
    head = ["ply", "format ascii 1.0", f"element vertex {len(positions)}", "property float x",
            "property float y", "property float z", f"element face {len(faces)}",
            "property list uchar int vertex_index", "end_header"]
    return "\n".join(head + positions + faces) + "\n"


def count(text, name):
    """Returns the number of elements of the buffer with that name in scene text."""
    values = re.search(rf"Buffer<\w+> {name} = \[([^\]]*)\]", text).group(1)
    return values.count("(") or len(values.split())


class ImportedMeshes(ToolTest):
    def imported(self, file, text, *options):
        (self.folder / file).write_text(text)
        return self.expect(0, "import", file, *options)

    def test_a_grid_has_one_vertex_for_each_of_its_points(self):
        for file, text in (("grid.obj", grid_obj()), ("grid.ply", grid_ply())):
            with self.subTest(file):
                scene = self.imported(file, text)
                self.assertEqual(count(scene, "positions"), GRID * GRID)
                self.assertEqual(count(scene, "faceCounts"), (GRID - 1) ** 2)
                self.assertEqual(count(scene, "indices"), 4 * (GRID - 1) ** 2)

    def test_the_summary_counts_what_the_scene_has(self):
        (self.folder / "grid.obj").write_text(grid_obj())
        self.expect(0, "import", "grid.obj", "-o", "grid.kns",
                    out="grid.kns: 4 nodes, 961 vertices, 900 faces\n")
        self.assertIn(" 0 errors, 0 warnings", self.expect(0, "check", "grid.kns"))

    def test_no_join_keeps_a_vertex_for_each_corner(self):
        scene = self.imported("grid.obj", grid_obj(), "--no-join")
        self.assertEqual(count(scene, "positions"), 4 * (GRID - 1) ** 2)

    def test_a_texture_seam_stays(self):
        scene = self.imported("seam.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n"
                              "vt 0 0\nvt 1 0\nvt 0 1\nvt 0.5 0.5\n"
                              "f 1/1 2/2 3/3\nf 3/3 2/4 4/2\n")
        self.assertEqual(count(scene, "positions"), 5)
        self.assertIn("uvs = [(0 0) (1 0) (0 1) (0.5 0.5) (1 0)]", scene)

    def test_polygons_keep_their_corners(self):
        scene = self.imported("fan.obj", "v 0 0 0\nv 1 0 0\nv 2 1 0\nv 1 2 0\nv 0 1 0\n"
                              "v 3 0 0\nf 1 2 3 4 5\nf 2 6 3\n")
        self.assertIn("indices = [0 1 2 3 4 1 5 2]", scene)
        self.assertIn("faceCounts = [5 3]", scene)


class ImportedTextures(ToolTest):
    def setUp(self):
        super().setUp()
        for folder in ("models/tex", "scenes/deep"):
            (self.folder / folder).mkdir(parents=True)
        (self.folder / "models/tex/wood.png").write_bytes(b"picture")
        self.model("tex/wood.png")

    def model(self, texture):
        (self.folder / "models/box.mtl").write_text(f"newmtl wood\nmap_Kd {texture}\n")
        (self.folder / "models/box.obj").write_text(
            "mtllib box.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl wood\nf 1 2 3\n")

    def path(self, scene):
        return "".join(re.search(rf'String {name} = "(.*)"', scene).group(1) + separator
                       for name, separator in (("dir", "/"), ("file", ""), ("ext", "")))

    def test_paths_start_at_the_folder_of_the_scene(self):
        for out, expected in (("a.kns", "models/tex/wood.png"),
                              ("models/a.kns", "tex/wood.png"),
                              ("scenes/deep/a.kns", "../../models/tex/wood.png"),
                              (self.folder / "scenes/a.kns", "../models/tex/wood.png")):
            with self.subTest(out):
                self.expect(0, "import", "models/box.obj", "-o", out,
                            out=f"{out}: 6 nodes, 3 vertices, 1 faces\n")
                scene = (self.folder / out).read_text()
                self.assertEqual(self.path(scene), expected)

    def test_on_the_standard_output_they_start_at_the_current_folder(self):
        scene = self.expect(0, "import", self.folder / "models/box.obj")
        self.assertEqual(self.path(scene), "models/tex/wood.png")

    def test_separators_of_other_systems_are_understood(self):
        self.model("tex\\wood.png")
        self.assertEqual(self.path(self.expect(0, "import", "models/box.obj")),
                         "models/tex/wood.png")

    def test_other_kinds_of_paths_can_be_asked_for(self):
        self.model("../models/tex/wood.png")
        for kind, expected in (("absolute", os.path.realpath(self.folder / "models/tex/wood.png")),
                               ("model", "../models/tex/wood.png")):
            scene = self.expect(0, "import", "models/box.obj", "--texture-paths", kind)
            self.assertEqual(os.path.realpath(self.path(scene)) if kind == "absolute"
                             else self.path(scene), expected)
        self.expect(2, "import", "models/box.obj", "--texture-paths", "near",
                    error="kelvo: 'near' is no kind of texture paths: expected relative, absolute"
                          " or model.\n")

    def test_missing_files_are_reported_and_kept(self):
        self.model("C:\\art\\lost.png")
        ran = self.run_tool("import", "models/box.obj", "-o", "scenes/a.kns")
        self.assertEqual(ran.returncode, 0)
        self.assertEqual(ran.stderr, "kelvo: warning: models/box.obj: texture files not found: 1 "
                                     "(C:/art/lost.png)\n")
        self.assertEqual(self.path((self.folder / "scenes/a.kns").read_text()), "C:/art/lost.png")

    def test_textures_inside_the_model_can_be_written_as_files(self):
        model = MODELS / "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"
        inside = self.expect(0, "import", model)
        self.assertIn("Buffer<Byte> data = [137 80 78 71 ", inside)
        self.assertEqual(self.run_tool("import", model, "-o", "scenes/a.kns", "--textures-to",
                                       "scenes/tex").returncode, 0)
        scene = (self.folder / "scenes/a.kns").read_text()
        self.assertNotIn("data", scene)
        written = self.folder / "scenes" / self.path(scene)
        self.assertEqual(written.parent, self.folder / "scenes/tex")
        self.assertEqual(written.read_bytes()[:4], b"\x89PNG")
        self.assertIn(" 0 errors", self.expect(0, "check", "scenes/a.kns"))

    def test_textures_are_written_nowhere_but_in_their_folder(self):
        model = (MODELS / "glTF2/BoxTextured-glTF-Embedded/BoxTextured.gltf").read_text()
        for kind in ("../../a", "x/y", "p\u00e4"):
            with self.subTest(kind):
                (self.folder / "box.gltf").write_text(model.replace("image/png", "image/" + kind))
                ran = self.run_tool("import", "box.gltf", "--textures-to", "tex")
                self.assertEqual(ran.returncode, 0, ran.stderr)
                self.assertIn('String ext = ".bin"', ran.stdout)
                self.assertEqual(self.names(), ["a.kns", "box.gltf", "models", "scenes", "tex"])
                self.assertEqual([file.suffix for file in (self.folder / "tex").iterdir()],
                                 [".bin"])

    def test_textures_that_cannot_be_written_keep_the_scene_from_being_written(self):
        model = MODELS / "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb"
        ran = self.run_tool("import", model, "-o", "b.kns", "--textures-to", "a.kns/tex")
        self.assertEqual(ran.returncode, 1)
        self.assertRegex(ran.stderr, r"\Akelvo: cannot write 'a.kns/tex/[^\n]*\n\Z")
        self.assertNotIn("b.kns", self.names())


class ImportedSpace(ToolTest):
    def setUp(self):
        super().setUp()
        (self.folder / "t.obj").write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n")

    def settings(self, model, *options):
        scene = self.expect(0, "import", model, *options)
        found = re.search(r'node sceneSettings "settings" \{\n(.*?)\}', scene, re.S)
        return found and [line.strip() for line in found.group(1).splitlines()]

    def test_what_the_model_states_is_kept_on_the_scene(self):
        self.assertEqual(self.settings(MODELS / "FBX/embedded_ascii/box.FBX"),
                         ['String upAxis = "z"', "Real metersPerUnit = 1"])
        self.assertEqual(self.settings(ENGINE), ['String upAxis = "y"', "Real metersPerUnit = 1"])
        self.assertIsNone(self.settings("t.obj"))

    def test_what_is_not_stated_can_be_given(self):
        self.assertEqual(self.settings("t.obj", "--model-up", "z", "--model-unit", "in"),
                         ['String upAxis = "z"', "Real metersPerUnit = 0.0254"])
        self.assertEqual(self.settings("t.obj", "--model-unit", "0.3"),
                         ["Real metersPerUnit = 0.3"])

    def test_the_model_is_brought_into_another_space(self):
        options = ("--model-up", "y", "--model-unit", "cm", "--up", "z", "--unit", "m")
        self.assertEqual(self.settings("t.obj", *options),
                         ['String upAxis = "z"', "Real metersPerUnit = 1"])
        self.assertIn("Mat4 matrix = (0.01 0 0 0  0 0 0.01 0  0 -0.01 0 0  0 0 0 1)",
                      self.expect(0, "import", "t.obj", *options))

    def test_what_is_not_known_cannot_be_changed(self):
        self.expect(1, "import", "t.obj", "--up", "z",
                    error="kelvo: t.obj: its up axis is not stated: --model-up gives it\n")
        self.expect(1, "import", "t.obj", "--unit", "m",
                    error="kelvo: t.obj: its unit is not stated: --model-unit gives it\n")

    def test_wrong_axes_and_units_are_reported(self):
        self.expect(2, "import", "t.obj", "--up", "w",
                    error="kelvo: 'w' is no axis: expected x, y or z.\n")
        for unit in ("parsec", "0", "-1", "inf", "nan", "1m", "1e300", "1e-300"):
            self.expect(2, "import", "t.obj", f"--unit={unit}",
                        error=f"kelvo: '{unit}' is no unit: expected mm, cm, dm, m, km, in, ft, yd "
                              "or a number of metres.\n")


class Import(ToolTest):
    def test_two_imports_give_the_same_text(self):
        for model in (ENGINE, MODELS / "FBX/spider.fbx", MODELS / "Collada/duck.dae"):
            first, second = (self.run_tool("import", model).stdout for _ in range(2))
            self.assertGreater(len(first), 1000)
            self.assertEqual(first, second)

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

    def test_a_value_that_a_model_may_not_have_is_kept_marked_and_reported(self):
        model = MODELS / "FBX/maxPbrMaterial_specGloss.fbx"
        ran = self.run_tool("import", model, "-o", "out.kns")
        place, value = "material_02_Default.roughness", "-2.200000047683716"
        reason = f"the value {value} is below the minimum 0 (the range is 0 to 1)."
        self.assertEqual(ran.returncode, 0)
        told = f"kelvo: warning: {model}: kept and marked @unchecked: input '{place}': {reason}"
        self.assertEqual(ran.stderr.splitlines().count(told), 1, ran.stderr)
        self.assertIn(f"Real roughness = {value} @unchecked\n",
                      (self.folder / "out.kns").read_text())
        self.expect(0, "get", "out.kns", place, out=f"{value}\n")
        self.assertIn(f"input '{place}': {reason} [out-of-range]\n",
                      self.run_tool("check", "out.kns").stderr)
        self.assertEqual(self.run_tool("check", "out.kns", "--fix").returncode, 0)
        self.expect(0, "get", "out.kns", place, out="0\n")

    def test_of_many_such_values_the_first_are_reported_and_all_are_marked(self):
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

    def test_what_is_left_out_is_reported_by_name_and_count(self):
        ran = self.run_tool("import", MODELS / "BVH/01_01.bvh", "-o", "out.kns")
        self.assertEqual(ran.returncode, 0)
        self.assertRegex(ran.stderr, r"left out bones: 34 \(LHipJoint, .* and 26 more\)\n")
        self.assertRegex(ran.stderr, r"left out animations: 1 \(Motion\)\n")


if __name__ == "__main__":
    main()
