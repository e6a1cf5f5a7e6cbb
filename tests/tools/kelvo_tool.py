"""What the tests of the tool kelvo share: a scene, and how the tool is run."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

_path = []


def tool():
    """Returns the path of the tool, the first argument of the program."""
    return _path[0]


def main():
    _path.append(os.path.abspath(sys.argv.pop(1)))
    unittest.main(module="__main__")


SCENE = """\
# A room.
kelvo scene 1

# where all stands
node xform "room" { # big
    Array<Node> children = [lamp, desk]
    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  0 2.5 0 1)
}
node light "lamp" {
    Real radius = 0.5 # metres
    UInt count = 3
    Node target = desk
    String label = "say \\"hi\\""
    Int fixed = 1 @readonly
    Int bounded = 1 @min 0 @max 9
    Object shade {
        Rgba tint = (1 0 0 1)
        Array<Vec2> stops = [(0 1), (2 3)]
    }
}
node wood "wood" {
    output Rgba color
}
node mesh "desk" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0) (1 1 1) (0 0 1) (0.5 0 1)]
    Rgba color = (0.8 0.6 0.4 1) <- wood.color
    Array<Real> weights = [1, 2, 3]
    # nothing follows
}
"""


def scene(*nodes):
    return "kelvo scene 1\n\n" + "\n".join(nodes) + "\n"


def xform(name, *children):
    return f'node xform "{name}" {{\n    Array<Node> children = [{", ".join(children)}]\n}}'


class ToolTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.file = self.folder / "a.kns"
        self.file.write_text(SCENE)

    def run_tool(self, *arguments, given=None, **options):
        environment = {k: v for k, v in os.environ.items() if k != "NO_COLOR"}
        return subprocess.run([tool(), *map(str, arguments)], input=given, capture_output=True,
                              text=True, timeout=60, cwd=self.folder, env=environment, **options)

    def expect(self, status, *arguments, out=None, error=None, given=None):
        """Runs the tool; `out` and `error` are the whole texts expected."""
        ran = self.run_tool(*arguments, given=given)
        self.assertEqual(ran.returncode, status, ran.stderr)
        if out is not None:
            self.assertEqual(ran.stdout, out)
        self.assertEqual(ran.stderr, "" if error is None else error)
        return ran.stdout

    def names(self):
        return sorted(entry.name for entry in self.folder.iterdir())
