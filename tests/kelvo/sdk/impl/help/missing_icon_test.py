#!/usr/bin/env python3
"""The missing icon parses as XML, and renders as a question mark in the middle half of the canvas.
missing_icon_test.py PROGRAM, which writes the icon to its standard output; needs rsvg-convert."""
import struct
import subprocess
import sys
import unittest
import xml.dom.minidom
import zlib

SVG = "http://www.w3.org/2000/svg"
SIDE = 288
QUARTER = SIDE // 4
program = None


def icon():
    return subprocess.run([program], check=True, capture_output=True).stdout


def unfilter(raw, width, height):
    """Undoes the filters of PNG scan lines of 4 bytes per pixel; returns the lines."""
    stride, lines, above = 4 * width, [], bytes(4 * width)
    for y in range(height):
        kind, data = raw[y * (stride + 1)], raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)]
        line = bytearray(stride)
        for x in range(stride):
            left = line[x - 4] if x >= 4 else 0
            corner = above[x - 4] if x >= 4 else 0
            guess = left + above[x] - corner
            nearest = min((left, above[x], corner), key=lambda value: abs(guess - value))
            line[x] = (data[x] + (0, left, above[x], (left + above[x]) // 2, nearest)[kind]) & 255
        lines.append(bytes(line))
        above = line
    return lines


def pixels(png):
    """Returns {(x, y): (red, green, blue)} of the pixels that are mostly opaque."""
    at, packed, width, height = 8, b"", 0, 0
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        data = png[at + 8:at + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colours = struct.unpack(">IIBB", data[:10])
            assert (depth, colours) == (8, 6), "eight bits of red, green, blue and opacity"
        elif kind == b"IDAT":
            packed += data
        at += length + 12
    lines = unfilter(zlib.decompress(packed), width, height)
    return {(x, y): tuple(line[4 * x:4 * x + 3]) for y, line in enumerate(lines)
            for x in range(width) if line[4 * x + 3] > 127}


class Document(unittest.TestCase):
    def setUp(self):
        self.document = xml.dom.minidom.parseString(icon())
        self.svg = self.document.documentElement

    def test_type_is_the_standard_one(self):
        self.assertEqual(self.document.doctype.name, "svg")
        self.assertEqual(self.document.doctype.publicId, "-//W3C//DTD SVG 1.1//EN")
        self.assertEqual(self.document.doctype.systemId,
                         "http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd")
        self.assertEqual(self.document.encoding, "UTF-8")

    def test_root_has_the_canvas(self):
        self.assertEqual((self.svg.tagName, self.svg.namespaceURI), ("svg", SVG))
        expected = {"xmlns": SVG, "xmlns:xlink": "http://www.w3.org/1999/xlink", "version": "1.1",
                    "baseProfile": "full", "width": "288", "height": "288",
                    "viewBox": "0 0 288.00 288.00"}
        self.assertEqual(dict(self.svg.attributes.items()), expected)

    def test_one_group_holds_one_grey_path(self):
        groups = [node for node in self.svg.childNodes if node.nodeType == node.ELEMENT_NODE]
        self.assertEqual([group.tagName for group in groups], ["g"])
        paths = [node for node in groups[0].childNodes if node.nodeType == node.ELEMENT_NODE]
        self.assertEqual([path.tagName for path in paths], ["path"])
        self.assertEqual(paths[0].getAttribute("fill"), "#B6B6B6")
        self.assertEqual(paths[0].getAttribute("fill-opacity"), "1")
        self.assertEqual(paths[0].getAttribute("stroke-linejoin"), "round")


class Picture(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        run = subprocess.run(["rsvg-convert", "--format=png"], input=icon(), check=True,
                             capture_output=True)
        cls.pixels = pixels(run.stdout)

    def part(self, left, top, right, bottom):
        """Returns the share of a rectangle that is painted."""
        places = [(x, y) for x in range(left, right) for y in range(top, bottom)]
        hit = sum(place in self.pixels for place in places)
        return hit / len(places)

    def test_is_grey(self):
        for red, green, blue in set(self.pixels.values()):
            self.assertEqual((red, green), (green, blue))
            self.assertLessEqual(abs(red - 0xB6), 2, "edges are rounded when they are blended")

    def test_fills_the_middle_half_from_top_to_bottom(self):
        columns, rows = zip(*self.pixels)
        self.assertGreaterEqual(min(columns), QUARTER)
        self.assertLess(max(columns), SIDE - QUARTER)
        self.assertEqual((min(rows), max(rows)), (QUARTER, SIDE - QUARTER - 1))
        self.assertGreater(max(columns) - min(columns), SIDE // 4)

    def test_is_a_question_mark(self):
        middle = SIDE // 2
        rows = [self.part(middle - 6, y, middle + 6, y + 1) for y in range(QUARTER, SIDE - QUARTER)]
        painted = "".join("#" if row > 0.9 else "." if row == 0 else "" for row in rows)
        runs = [run for index, run in enumerate(painted) if index == 0 or painted[index - 1] != run]
        self.assertEqual("".join(runs), "#.#.#", "bow, hollow, stem, gap, dot")
        self.assertGreater(self.part(100, 100, 124, 116), 0.5, "the bow begins on the left")
        self.assertEqual(self.part(96, 130, 128, 180), 0, "and is open below it")
        self.assertGreater(self.part(166, 100, 186, 130), 0.5, "and closed on the right")


if __name__ == "__main__":
    program = sys.argv.pop(1)
    unittest.main()
