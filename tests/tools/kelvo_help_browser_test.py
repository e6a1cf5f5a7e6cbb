#!/usr/bin/env python3
"""The site of `kelvo help --all` in a browser. kelvo_help_browser_test.py KELVO [unittest ...]"""
import re
import struct
import zlib

from browser import Browser
from kelvo_help_test import DEFINITIONS, HelpTest
from kelvo_tool import main

SHOWN = """Array.from(document.querySelectorAll("#types > li:not([hidden]) code"),
                      code => code.textContent)"""
TOO_WIDE = "document.documentElement.scrollWidth - window.innerWidth"
SMALLEST = """Math.min(...Array.from(document.querySelectorAll("main *")).filter(e =>
    Array.from(e.childNodes).some(n => n.nodeType == 3 && n.data.trim()) && e.offsetParent)
    .map(e => parseFloat(getComputedStyle(e).fontSize)))"""


def brightness(png):
    """Returns the mean brightness of a picture, from 0 to 255."""
    width, height, depth, kind = struct.unpack(">IIBB", png[16:26])
    assert depth == 8 and kind in (2, 6)
    size, at, packed = (3 if kind == 2 else 4), 8, b""
    while at < len(png):
        length, = struct.unpack(">I", png[at:at + 4])
        if png[at + 4:at + 8] == b"IDAT":
            packed += png[at + 8:at + 8 + length]
        at += length + 12
    data, stride, before, total = zlib.decompress(packed), width * size, bytes(width * size), 0
    for row in range(height):
        start = row * (stride + 1)
        before = unfiltered(data[start], data[start + 1:start + 1 + stride], before, size)
        total += sum(sum(before[channel::size]) for channel in range(3))
    return total / (3 * width * height)


def unfiltered(way, line, above, size):
    """Returns the bytes of a line of a PNG picture."""
    out = bytearray(line)
    for i in range(len(out)):
        left = out[i - size] if i >= size else 0
        up, corner = above[i], above[i - size] if i >= size else 0
        guess = left + up - corner
        nearest = min((left, up, corner), key=lambda value: abs(guess - value))
        out[i] = out[i] + (0, left, up, (left + up) // 2, nearest)[way] & 255
    return bytes(out)


class BrowserTest(HelpTest):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        super().setUp()
        self.help("--all", "-o", "site")
        self.browser.complaints.clear()
        self.browser.requests.clear()
        self.browser.resize(1280, 900)
        self.browser.set_media()

    def open(self, page, fragment=""):
        self.browser.open(self.folder / "site" / page, fragment)

    def shown(self):
        return self.browser.value(SHOWN)

    def search(self, text):
        self.browser.value('document.getElementById("q").focus(); '
                           'document.getElementById("q").select()')
        self.browser.type(text)

    def expect_quiet(self):
        self.browser.settle()
        self.assertEqual(self.browser.complaints, [])


class Index(BrowserTest):
    def test_all_types_are_there_until_something_is_sought(self):
        self.open("index.html")
        listed = self.expect(0, "types", "--internal", "--library", "my.knd").split("\n")
        self.assertGreater(len(self.shown()), len(listed))
        self.assertFalse(self.browser.value('document.getElementById("search").hidden'))
        self.expect_quiet()

    def test_words_filter_by_name_help_and_inputs(self):
        self.open("index.html")
        every = len(self.shown())
        for words, first, others in (("desk", "lamp", []),
                                     ("spot light", "spotLight", []),
                                     ("SPOT", "spotLight", []),
                                     ("light", "light", ["pointLight", "lamp", "sunLight"]),
                                     ("mix colour", "mixColor", []),
                                     ("castShadows", "areaLight", ["lamp", "spotLight"])):
            with self.subTest(words):
                self.search(words)
                shown = self.shown()
                self.assertLess(len(shown), every)
                self.assertEqual(shown[0], first)
                self.assertLessEqual(set(others), set(shown))
                self.assertNotIn("dot", shown)
                self.assertEqual(self.browser.value('document.getElementById("found").textContent'),
                                 f"{len(shown)} of {every} types")
        self.expect_quiet()

    def test_nothing_found_is_reported_and_escape_brings_all_back(self):
        self.open("index.html")
        every = self.shown()
        self.search("zyzzyva")
        self.assertEqual(self.shown(), [])
        self.assertEqual(self.browser.value('document.getElementById("found").textContent'),
                         "Nothing found.")
        self.browser.press("Escape")
        self.assertEqual(self.shown(), every)
        self.expect_quiet()

    def test_enter_opens_the_first(self):
        self.open("index.html")
        self.search("desk")
        self.browser.press("Enter")
        self.browser.wait_for('location.pathname.endsWith("/types/lamp.html")')
        self.expect_quiet()

    def test_a_slash_leads_to_the_search(self):
        self.open("index.html")
        self.browser.press("/")
        self.assertEqual(self.browser.value("document.activeElement.id"), "q")
        self.assertEqual(self.browser.value('document.getElementById("q").value'), "")

    def test_a_search_is_kept_in_the_address(self):
        self.open("index.html", "#q=spot%20light")
        self.assertEqual(self.browser.value('document.getElementById("q").value'), "spot light")
        self.assertIn("spotLight", self.shown())
        self.assertNotIn("mesh", self.shown())
        self.open("index.html", "#q=%")
        self.assertIn("mesh", self.shown())
        self.expect_quiet()


class Hostile(BrowserTest):
    def test_scripts_in_texts_stay_texts(self):
        self.assertIn("<script>", DEFINITIONS)
        for page in ("index.html", "types/evil.html"):
            with self.subTest(page):
                self.open(page)
                self.assertIn("</script><script>alert(1)</script><img src=x onerror=alert(2)>",
                              self.browser.value("document.body.innerText"))
                own = 1 if page == "index.html" else 0
                self.assertEqual(self.browser.value("document.scripts.length"), own)
                self.assertIsNone(self.browser.value("document.querySelector('[onerror]')"))
                self.expect_quiet()

    def test_a_script_that_got_in_would_not_run(self):
        page = self.folder / "site/types/lamp.html"
        page.write_text(page.read_text().replace(
            "<main", "<script>document.title = 'ran'</script><img src=x onerror=\"document.title="
                     "'ran'\"><main", 1))
        self.open("types/lamp.html")
        self.assertNotEqual(self.browser.value("document.title"), "ran")
        self.browser.settle()
        self.assertIn("Content Security Policy", " ".join(self.browser.complaints))


class Looks(BrowserTest):
    PAGES = ("index.html", "types/lamp.html", "types/material.html", "types/evil.html")

    def test_pages_fit_any_width(self):
        for width in (320, 390, 768, 1280, 1920):
            self.browser.resize(width, 900, phone=width < 500)
            for page in self.PAGES:
                with self.subTest(page=page, width=width):
                    self.open(page)
                    self.assertLessEqual(self.browser.value(TOO_WIDE), 0)
                    self.assertGreaterEqual(self.browser.value(SMALLEST), 12)
        self.expect_quiet()

    def test_light_dark_and_print(self):
        self.browser.resize(320, 200)
        for page in ("index.html", "types/lamp.html"):
            self.open(page)
            pictures = []
            for media, dark in (("", False), ("", True), ("print", True)):
                self.browser.set_media(media, dark)
                name = f"{page.rpartition('/')[2]}-{media or 'screen'}-{dark}.png"
                pictures.append(brightness(self.browser.picture(self.folder / name)))
            with self.subTest(page=page, brightness=pictures):
                self.assertGreater(pictures[0], 200)
                self.assertLess(pictures[1], 70)
                self.assertGreater(pictures[2], 200)
        self.expect_quiet()

    def test_pages_ask_nothing_of_the_network(self):
        for page in self.PAGES:
            self.open(page)
            self.browser.settle()
        asked = {re.sub(r"^data:.*", "data:", url) for url in self.browser.requests}
        own = {f"file://{self.folder}/site/{page}" for page in self.PAGES}
        self.assertEqual(asked - own - {"about:blank", "data:"}, set())
        self.assertLessEqual(own, asked)

    def test_the_keyboard_reaches_all_links(self):
        self.open("types/lamp.html")
        links = self.browser.value("document.links.length")
        seen = set()
        for _ in range(links + 5):
            self.browser.press("Tab")
            seen.add(self.browser.value("document.activeElement.getAttribute('href')"))
        hrefs = self.browser.value("Array.from(document.links, a => a.getAttribute('href'))")
        self.assertLessEqual(set(hrefs), seen)


if __name__ == "__main__":
    main()
