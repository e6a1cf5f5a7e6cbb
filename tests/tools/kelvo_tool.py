"""Shared by the tests of the tool kelvo: a scene, and functions that run the tool."""
import fcntl
import os
import pathlib
import pty
import struct
import subprocess
import sys
import tempfile
import termios
import threading
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


# An addition with all its attributes, so that the text needs no types, and inputs that read it.
READER = scene("""\
node add "sum" {
    Real a = 1
    Real b = 2
    output Real result
}""", """\
node t "r" {
    Real x = 0.5 <- sum.result
    Real y = 1
    String text = "say \\"hi\\"" <- sum.result
    Object o {
        Real z = 4 <- sum.result
        String s = "a"
    }
    Array<Real> list = [1, 2 <- sum.result]
    Node left
}""")
# A light whose colour a modifier changes.
MODIFIED = scene("""\
node pointLight "lamp" {
    Array<Node> modifiers = [paint]
    Rgba color = (1 0 0 1)
    Real intensity = 1
}""", """\
node overrideModifier "paint" {
    String modifies = "color"
    String value = "(0 1 0 1)"
}""")


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

    def run_on_terminal(self, columns, *arguments, streams=("out", "error"), meanwhile=None,
                        **variables):
        """Runs the tool on a terminal of that width; its other streams are pipes.

        `meanwhile` gets the process, in a separate thread. Returns the status, the output on the
        terminal, and the output in the pipes."""
        terminal, end = pty.openpty()
        fcntl.ioctl(end, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        environment = {k: v for k, v in os.environ.items() if k not in ("NO_COLOR", "COLUMNS")}
        environment.update({"TERM": "xterm", **variables})
        running = subprocess.Popen(
            [tool(), *map(str, arguments)], cwd=self.folder, env=environment,
            stdin=subprocess.DEVNULL, stdout=end if "out" in streams else subprocess.PIPE,
            stderr=end if "error" in streams else subprocess.PIPE)
        os.close(end)
        if meanwhile:
            threading.Thread(target=meanwhile, args=(running,), daemon=True).start()
        seen = b""
        while True:
            try:
                piece = os.read(terminal, 65536)
            except OSError:  # All ends on the other side are closed.
                break
            if not piece:
                break
            seen += piece
        os.close(terminal)
        piped = b"".join(text for text in running.communicate(timeout=60) if text)
        return running.returncode, seen.decode().replace("\r\n", "\n"), piped.decode()

    def expect(self, status, *arguments, out=None, error=None, given=None, **options):
        """Runs the tool; `out` and `error` are the whole expected texts."""
        ran = self.run_tool(*arguments, given=given, **options)
        self.assertEqual(ran.returncode, status, ran.stderr)
        if out is not None:
            self.assertEqual(ran.stdout, out)
        self.assertEqual(ran.stderr, "" if error is None else error)
        return ran.stdout

    def names(self):
        return sorted(entry.name for entry in self.folder.iterdir())
