#!/usr/bin/env python3
"""The command render: pictures of scenes, and what is told about them.
kelvo_render_test.py KELVO"""
import signal
import struct
import subprocess
import time
import zlib

from kelvo_tool import ToolTest, main, tool

SQUARE = """kelvo scene 1
node mesh "square" {
    Buffer<Pos3f> positions = [(-1 -1 0) (1 -1 0) (1 1 0) (-1 1 0)]
    Buffer<UInt32> indices = [0 1 2 0 2 3]
    Node material = red
}
node material "red" {
    Rgba baseColor = (1 0 0 1)
}
node camera "eye" {
    Pos3 position = (0 0 5)
    Real orthographicWidth = 4
}
node skyLight "sky" {
    Bool inBackground = false
}
"""


def pixels(path):
    """Returns the rows of RGBA pixels of a PNG file."""
    data, at, packed = path.read_bytes(), 8, b""
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        if kind == b"IHDR":
            width, height = struct.unpack(">II", body[:8])
        packed += body if kind == b"IDAT" else b""
        at += size + 12
    raw, stride = zlib.decompress(packed), width * 4
    rows, before = [], bytes(stride)
    for y in range(height):
        kind, row = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:][:stride])
        for i in range(stride):
            left = row[i - 4] if i >= 4 else 0
            corner = before[i - 4] if i >= 4 else 0
            row[i] = (row[i] + predicted(kind, left, before[i], corner)) & 255
        rows.append([tuple(row[x * 4:x * 4 + 4]) for x in range(width)])
        before = bytes(row)
    return rows


def predicted(kind, left, up, corner):
    """Returns the prediction of a filter of PNG."""
    if kind == 4:
        guess = left + up - corner
        return min((left, up, corner), key=lambda value: abs(guess - value))
    return (0, left, up, (left + up) // 2)[kind]


class Render(ToolTest):
    def setUp(self):
        super().setUp()
        (self.folder / "a.kns").write_text(SQUARE)

    def test_a_picture_shows_the_scene(self):
        self.assertEqual(self.expect(0, "render", "a.kns", "--size", "40x30", "--samples", "8"),
                         "a.png: 40 x 30 pixels, 8 samples\n")
        rows = pixels(self.folder / "a.png")
        self.assertEqual((len(rows), len(rows[0])), (30, 40))
        red, green, _, alpha = rows[15][20]
        self.assertGreater(red, 150)
        self.assertLess(green, 100)
        self.assertEqual(alpha, 255)
        self.assertEqual(rows[0][0], (0, 0, 0, 0))

    def test_threads_make_no_difference(self):
        for threads in ("1", "3"):
            self.expect(0, "render", "a.kns", "--size", "20x20", "--samples", "4",
                        "--threads", threads, "-o", f"{threads}.png")
        self.assertEqual(pixels(self.folder / "1.png"), pixels(self.folder / "3.png"))

    def test_connections_are_evaluated_and_modifiers_applied(self):
        text = SQUARE.replace("(1 0 0 1)\n", "(1 0 0 1) <- blue.result\n")
        (self.folder / "b.kns").write_text(
            text + 'node rgbaValue "blue" {\n    Rgba value = (0 0 1 1)\n}\n')
        self.expect(0, "render", "b.kns", "--size", "20x20", "--samples", "4")
        red, _, blue, _ = pixels(self.folder / "b.png")[10][10]
        self.assertGreater(blue, red)
        (self.folder / "c.kns").write_text(
            SQUARE.replace('"red" {\n', '"red" {\n    Array<Node> modifiers = [over]\n') +
            'node overrideModifier "over" {\n    String modifies = "baseColor"\n'
            '    String value = "(0 0 1 1)"\n}\n')
        self.expect(0, "render", "c.kns", "--size", "20x20", "--samples", "4")
        self.assertEqual(pixels(self.folder / "c.png"), pixels(self.folder / "b.png"))

    def test_an_exr_has_the_hash_of_the_scene(self):
        self.expect(0, "render", "a.kns", "--size", "8x8", "--samples", "1", "-o", "a.exr",
                    "--aov", "albedo,normal,depth,node")
        data = (self.folder / "a.exr").read_bytes()
        scene_hash = self.expect(0, "hash", "a.kns").splitlines()[-1].removeprefix("hash: ")
        self.assertIn(scene_hash.encode(), data)
        for channel in (b"albedo.R", b"normal.X", b"depth.Z", b"node.N"):
            self.assertIn(channel, data)

    def test_what_is_added_and_left_out_is_told(self):
        mesh = SQUARE.split("node material")[0].replace("    Node material = red\n", "")
        (self.folder / "b.kns").write_text(mesh.replace("0 2 3]", "0 2 9]"))
        ran = self.run_tool("render", "b.kns", "--size", "8x8", "--samples", "1")
        self.assertEqual(ran.returncode, 0)
        self.assertEqual(ran.stderr.splitlines(), [
            "kelvo: warning: square: 1 face with vertices that do not exist is left out.",
            "kelvo: note: The scene has no camera: one that shows everything is added.",
            "kelvo: note: The scene has no light: a sun and a sky are added."])

    def test_wrong_calls_are_told(self):
        calls = (
            (2, ("--size", "9"), "'9' is no size: expected width x height in pixels, like "
                                 "1280x720."),
            (2, ("--size", "9x-9"), "'9x-9' is no size: expected width x height in pixels, like "
                                    "1280x720."),
            (1, ("--size", "0x9"), "a.kns: A picture of 0 x 9 pixels cannot be rendered: each side "
                                   "has from 1 to 65535 pixels, and the picture at most 67108864."),
            (2, ("--time", "soon"), "'soon' is no number of seconds."),
            (2, ("--noise", "0"), "'0' is no error that rendering could end at."),
            (2, ("--aov", "gloss", "-o", "a.exr"),
             "'gloss' is no layer: expected albedo, normal, depth or node."),
            (2, ("--aov", "depth"),
             "The picture a.png has no place for other layers; a file .exr has."),
            (2, ("-o", "a.tiff"),
             "The picture a.tiff has to be of a kind that can be written: .exr or .png."),
            (1, ("--camera", "nose"), 'a.kns: There is no camera "nose" in the scene; it has eye.'),
        )
        for status, options, message in calls:
            with self.subTest(options):
                ran = self.run_tool("render", "a.kns", *options)
                self.assertEqual((ran.returncode, ran.stderr), (status, f"kelvo: {message}\n"))
                self.assertFalse((self.folder / "a.png").exists())

    def test_a_time_limit_ends_the_rendering(self):
        start = time.monotonic()
        self.expect(0, "render", "a.kns", "--size", "40x30", "--samples", "100000000",
                    "--time", "0.2")
        self.assertLess(time.monotonic() - start, 30)
        self.assertEqual(len(pixels(self.folder / "a.png")), 30)

    def test_an_interrupt_writes_the_picture_so_far(self):
        process = subprocess.Popen(
            [tool(), "render", "a.kns", "--size", "40x30", "--samples", "100000000"],
            cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        # These signals alone are blocked when the rendering begins; a thread that starts another
        # blocks all for a moment.
        waited = 1 << (signal.SIGINT - 1) | 1 << (signal.SIGTERM - 1)
        status = f"/proc/{process.pid}/status"
        deadline = time.monotonic() + 30
        while time.monotonic() < deadline:
            with open(status, encoding="utf-8") as file:
                blocked = next(line for line in file if line.startswith("SigBlk"))
            if int(blocked.split()[1], 16) == waited:
                break
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=30)
        self.assertEqual(process.returncode, 1)
        self.assertIn("Interrupted: the picture has fewer samples than asked for.", errors)
        self.assertEqual(len(pixels(self.folder / "a.png")), 30)


if __name__ == "__main__":
    main()
