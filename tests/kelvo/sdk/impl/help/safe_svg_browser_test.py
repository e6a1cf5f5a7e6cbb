#!/usr/bin/env python3
"""Icons that passed the filter are safe in an HTML page: a browser runs no script, loads nothing,
and sees the same elements as an XML parser. safe_svg_browser_test.py PROGRAM, which filters icons
separated by NUL."""
import os
import random
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "..", "..", "tools"))
from browser import Browser  # noqa: E402

program = None

ELEMENTS = """svg g path rect circle ellipse line polyline polygon title desc defs stop text
linearGradient radialGradient""".split()
# Pieces with a meaning in XML, in HTML, or in only one of the two.
PIECES = """<g> </g> <g/> <svg> </svg> <title> </title> <title/> <desc> </desc> <text>
</text> <path/> <!-- --> <!--> <!---> --!> <![CDATA[ ]]> <?a ?> &lt; &#60; &amp; a > - = " ' /
<script> </script> <SCRIPT> <style> </style> <p> </p> <br> <math> <mi> </math> <foreignObject>
<body> <table> <select> <template> <noscript> </noscript> <plaintext> <xmp> <textarea> <iframe>
<linearGradient> </linearGradient> <lineargradient/> <a> <use/> <image/> <set/> <animate/> <font>
ran() xmlns='http://www.w3.org/1999/xhtml'""".split()
ATTRIBUTES = """id='a' ID='a' class="b" style='fill:red' style='fill:url(#a)' fill='url(#a)'
viewBox='0&#32;0&#32;1&#32;1' viewbox='0' onload='ran()' OnLoad='ran()' onclick=ran()
href='#a' href='http://a.test/a'
xlink:href='#a' xlink:href='http://a.test/b' fill='url(http://a.test/c)'
style='fill:u\\72l(//a.test)'
style='background:url(//a.test/d)' src='http://a.test/e' x:y='z' xmlns:x='w' tabindex='0' autofocus
xml:space='preserve' xmlns='http://www.w3.org/2000/svg' a='>' b='<' c='"' d="'" e="a'b" width=1
d='M0,0&#10;L1,1' x='&quot;'
fill='image-set("//a.test/f"&#32;1x)' style='@import&#32;"//a.test/g"'""".split()
HOSTILE = [
    "<!--><script>ran()</script>-->", "<!---><script>ran()</script>-->",
    "<!-- --!><script>ran()</script>-->", "<title><script>ran()</script></title>",
    "<title><title></title><g onload='ran()'/></title>", "<desc><style></desc><g/></style></desc>",
    "<text>&lt;script></text>", "<![CDATA[<script>ran()</script>]]>", "<g id='a' onload='ran()'/>",
    "<style>*{fill:url(//a.test/h)}</style>", "<image href='http://a.test/i'/>",
    "<use href='data:image/svg+xml,<svg/>'/>", "<a href='javascript:ran()'><text>a</text></a>",
    "<animate attributeName='href' to='http://a.test'/>",
    "<set attributeName='onload' to='ran()'/>",
    "<foreignObject><body xmlns='http://www.w3.org/1999/xhtml' onload='ran()'/></foreignObject>",
    "<g style=\"fill:url('http://a.test/j')\"/>", "<g filter=\"url(http://a.test/k#a)\"/>",
    "<p>a</p>", "<g></p></g>", "<math><mi/></math>", "<font color='red'/>", "</svg><script>ran()",
    "<?xml-stylesheet href='http://a.test/l'?>", "<text>]]></text>", "<g\x0conload='ran()'/>"]
PLAIN = [
    "<title>a > b</title><g/>", "<desc/><title/><g id='t' class='u'/>", "<!-- a --><text>b</text>",
    "<defs><linearGradient id='a'><stop style='stop-color:#f00'/></linearGradient></defs>"
    "<rect width='9' height='9' fill='url(#a)'/>", "<g><svg viewBox='0 0 1 1'><path/></svg></g>",
    "<g xmlns:x='y' x:label='z' xml:space='preserve'/>"]
SCRIPT = """(elements => {
    const parser = new DOMParser(), faults = [];
    const sameData = (a, b) => a.nodeType != 1 ? a.data == b.data :
        a.namespaceURI == b.namespaceURI && a.attributes.length == b.attributes.length &&
        Array.from(a.attributes).every(at => b.getAttribute(at.name) == at.value);
    const sameTree = (a, b) => a.nodeType == b.nodeType && a.nodeName == b.nodeName &&
        sameData(a, b) && a.childNodes.length == b.childNodes.length &&
        Array.from(a.childNodes).every((child, i) => sameTree(child, b.childNodes[i]));
    for (const box of document.querySelectorAll("body > div")) {
        const text = document.getElementById("s" + box.id.slice(1)).textContent;
        const wanted = parser.parseFromString(text, "image/svg+xml").documentElement;
        if (wanted.querySelector("parsererror") || wanted.nodeName == "parsererror")
            faults.push("no XML: " + text);
        else if (box.childNodes.length != 1 || !sameTree(box.firstChild, wanted))
            faults.push("HTML reads it otherwise: " + text);
        for (const element of box.querySelectorAll("*")) {
            if (element.namespaceURI != "http://www.w3.org/2000/svg" ||
                !elements.includes(element.localName))
                faults.push("<" + element.localName + "> in " + text);
            for (const attribute of element.attributes)
                if (/^on|:on|src$/i.test(attribute.name))
                    faults.push(attribute.name + " in " + text);
        }
    }
    return faults;
})"""


def filtered(icons):
    """Returns the filtered icons, with empty texts for refused ones."""
    run = subprocess.run([program], input="".join(icon + "\0" for icon in icons).encode(),
                         check=True, capture_output=True)
    return run.stdout.decode().split("\0")[:-1]


def spaced(piece):
    return piece.replace("&#32;", " ")


def random_icon(generator):
    """Returns a text that resembles an icon: mostly well nested, with random faults."""
    out, open_elements = [], []
    for _ in range(generator.randrange(1, 9)):
        way = generator.random()
        if way < 0.45:
            name = generator.choice(ELEMENTS[1:])
            count = generator.choice((0, 1, 1, 2))
            attributes = "".join(" " + spaced(generator.choice(ATTRIBUTES))
                                 for _ in range(count))
            is_whole = generator.random() < 0.5
            out.append(f"<{name}{attributes}{'/' if is_whole else ''}>")
            if not is_whole:
                open_elements.append(name)
        elif way < 0.6 and open_elements:
            out.append(f"</{open_elements.pop()}>")
        elif way < 0.75:
            out.append(generator.choice(("a", " ", "<!-- a -->", "b > c", "\n", "'", '"')))
        else:
            out.append(spaced(generator.choice(PIECES)))
    ends = "".join(f"</{name}>" for name in reversed(open_elements))
    return f"<svg>{''.join(out)}{ends}</svg>"


class SafeSvgBrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def look(self, icons):
        """Shows icons in a page; returns the differences between XML and the browser."""
        with tempfile.TemporaryDirectory() as folder:
            page = os.path.join(folder, "page.html")
            with open(page, "w", encoding="utf-8") as file:
                file.write("<!DOCTYPE html><meta charset=utf-8><body>"
                           "<script>ran = () => { window.hit = 1 }</script>")
                for number, icon in enumerate(icons):
                    plain = icon.replace("&", "&amp;").replace("<", "&lt;")
                    file.write(f'<pre id=s{number}>{plain}</pre>'
                               f'<div id=i{number}>{icon}</div>')
            self.browser.complaints.clear()
            self.browser.requests.clear()
            self.browser.open(page)
            faults = self.browser.value(f"{SCRIPT}({ELEMENTS!r})")
            count = self.browser.value('document.querySelectorAll("body > div").length')
            has_run = self.browser.value("window.hit")
            self.browser.settle()
            self.assertEqual(count, len(icons))
            self.assertIsNone(has_run)
            # A drawing may have attribute values that do not draw.
            self.assertEqual([complaint for complaint in self.browser.complaints
                              if not complaint.startswith("Error: <")], [])
            self.assertEqual([url for url in self.browser.requests if not url.startswith("file:")
                              and url != "about:blank"], [])
            return faults

    def test_plain_icons_stand_in_a_page_as_they_are(self):
        safe = filtered([f"<svg>{content}</svg>" for content in PLAIN])
        self.assertNotIn("", safe)
        self.assertEqual(self.look(safe), [])

    def test_hostile_icons_do_nothing_in_a_page(self):
        icons = [f"<svg>{content}</svg>" for content in HOSTILE]
        icons += [f"<svg {spaced(attribute)}/>" for attribute in ATTRIBUTES]
        icons += [f"<svg><{element}{end}</svg>" for element in
                  ("script>ran()</script>", "image href='http://a.test/m'/>", "style>a</style>")
                  for end in ("", "<!--", "<!-->")]
        self.assertEqual(self.look(list(filter(None, filtered(icons)))), [])

    def test_this_page_notices_what_is_hostile(self):
        for content in ("<script>ran()</script>", "<image href='http://127.0.0.1:9/a'/>"):
            with self.assertRaises(AssertionError):
                self.look([f"<svg xmlns='http://www.w3.org/2000/svg'>{content}</svg>"])
        self.assertNotEqual(
            self.look(["<svg xmlns='http://www.w3.org/2000/svg'><title><g/></title></svg>"]), [])

    def test_random_icons_read_alike_as_xml_and_html(self):
        generator = random.Random(20)
        icons = [random_icon(generator) for _ in range(20000)]
        safe = sorted({icon for icon in filtered(icons) if icon})
        self.assertGreater(len(safe), 500)
        self.assertEqual(self.look(safe), [])


if __name__ == "__main__":
    program = sys.argv.pop(1)
    unittest.main()
