#!/usr/bin/env python3
"""kelvo stubs: the Python classes of node types. kelvo_stubs_test.py KELVO [...]"""
import ast
import os

from kelvo_tool import ToolTest, main

SPRINGS = '''type spring : object {
    help "en" "A \\"coil\\"."
    Real stiffness = 2 @min 0 @unit "N/m" @help "en" "Force by length."
    String wire = "steel" @choices ["steel", "brass"]
    Buffer<Float> samples = []
    Node anchor = null
    Mat3 frame = (1 0 0 0 1 0 0 0 1)
    Int lambda = 1
    output Real force
}
type coil : spring {
    Bool closed = true
}
type _part @abstract {
}
'''


class Stubs(ToolTest):
    def classes(self, file):
        """Returns the classes of a module, with the text of each."""
        with open(self.folder / file, encoding="utf-8") as opened:
            text = opened.read()
        return {node.name: ast.get_source_segment(text, node) for node in ast.parse(text).body
                if isinstance(node, ast.ClassDef)}

    def test_a_library_becomes_a_module(self):
        (self.folder / "springs.knd").write_text(SPRINGS)
        self.expect(0, "stubs", "--library", "springs.knd", "-o", "out",
                    out="3 types in out/springs.py\n")
        classes = self.classes("out/springs.py")
        self.assertEqual(list(classes), ["Spring", "Coil", "_part"])
        spring = classes["Spring"]
        self.assertIn("class Spring(nodes.Object):", spring)
        self.assertIn('"A \\"coil\\"."', spring)
        self.assertIn("stiffness: InputProperty[float, float]", spring)
        self.assertIn('"Real. Force by length. Unit: N/m. At least 0."', spring)
        self.assertIn('wire: InputProperty[str, Literal["steel", "brass"]]', spring)
        self.assertIn("samples: InputProperty[npt.NDArray[np.float32],", spring)
        self.assertIn("anchor: InputProperty[Node | None, Node | None]", spring)
        self.assertIn("frame: InputProperty[Numbers, MatrixLike]", spring)
        self.assertIn("lambda_: InputProperty[int, int]", spring)

    def test_a_class_has_the_inputs_that_its_bases_lack(self):
        (self.folder / "springs.knd").write_text(SPRINGS)
        self.expect(0, "stubs", "--library", "springs.knd", "-o", "out")
        coil = self.classes("out/springs.py")["Coil"]
        self.assertIn("class Coil(Spring):", coil)
        self.assertIn("closed: InputProperty[bool, bool]", coil)
        self.assertNotIn("stiffness: InputProperty", coil)
        self.assertIn("stiffness: float = ...", coil)

    def test_without_a_library_the_standard_types_are_written(self):
        self.expect(0, "stubs", "-o", "out")
        self.assertEqual(os.listdir(self.folder / "out"), ["nodes.py"])
        self.assertIn("PointLight", self.classes("out/nodes.py"))

    def test_a_faulty_library_writes_nothing(self):
        (self.folder / "a.knd").write_text("type a { Reel x = 1 }\n")
        ran = self.run_tool("stubs", "--library", "a.knd", "-o", "out")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("'Reel'", ran.stderr)
        self.assertFalse(os.path.exists(self.folder / "out"))

    def test_a_folder_that_cannot_be_made_is_an_error(self):
        (self.folder / "file").write_text("text")
        ran = self.run_tool("stubs", "-o", "file/out")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("file/out: the folder cannot be made", ran.stderr)


if __name__ == "__main__":
    main()
