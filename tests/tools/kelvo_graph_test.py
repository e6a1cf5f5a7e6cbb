#!/usr/bin/env python3
"""The command `kelvo graph`. kelvo_graph_test.py KELVO [...]"""
import base64
import os
import re
import signal
import stat
import struct
import subprocess
import time
import urllib.parse
import xml.etree.ElementTree as xml

from kelvo_tool import SCENE, ToolTest, main, scene, tool, xform

SVG = "{http://www.w3.org/2000/svg}"
REAL = f"PATH='{os.environ['PATH']}' exec"
HREF = "{http://www.w3.org/1999/xlink}href"

FONTS = 'fontname="DejaVu Sans,Verdana,Helvetica,sans-serif"'
SMALL = '<FONT POINT-SIZE="8" COLOR="#3A3A3A">'
GOLDEN = f"""\
digraph "scene" {{
    graph [{FONTS} fontsize=10 rankdir="LR" nodesep=0.12 ranksep=0.6 outputorder="edgesfirst" \
bgcolor="white"
        labelloc="t" labeljust="l" mclimit=4
        label=<<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="6"><TR>\
<TD><FONT COLOR="#3A3A3A">──▶ hierarchy</FONT></TD>\
<TD><FONT COLOR="#1F5FBF">╌╌▷ link</FONT></TD>\
<TD><FONT COLOR="#C2410C">━━● connection</FONT></TD></TR></TABLE>>]
    node [{FONTS} fontsize=10 shape="box" style="filled,rounded" color="#6B6B6B" height=0.3 \
margin="0.1,0.04"]
    edge [{FONTS} fontsize=8 arrowsize=0.6]

    "room" [label=<<B>room</B><BR/>{SMALL}xform</FONT>> fillcolor="#D6E4F5"]
    "lamp" [label=<<B>lamp</B><BR/>{SMALL}light</FONT>> fillcolor="#FFF0A8"]
    "wood" [label=<<B>wood</B><BR/>{SMALL}wood</FONT>> fillcolor="#CBEBE8"]
    "desk" [label=<<B>desk</B><BR/>{SMALL}mesh</FONT>> fillcolor="#D3EDCF"]

    edge [color="#3A3A3A" fontcolor="#3A3A3A" style="solid" arrowhead="normal" weight=4]
    "room" -> "lamp"
    "room" -> "desk"

    edge [color="#1F5FBF" fontcolor="#1F5FBF" style="dashed" arrowhead="empty" weight=1]
    "lamp" -> "desk" [label="target"]

    edge [color="#C2410C" fontcolor="#C2410C" style="bold" arrowhead="dot" weight=1]
    "wood" -> "desk" [label="color → color"]
}}
"""

# A chain from a to g, through a child, a link and connections.
CHAIN = scene(xform("a", "b"), 'node t "b" {', "    Node next = c", "}",
              'node t "c" {', "    output Real o", "}",
              'node t "d" {', "    Real i = 0 <- c.o", "    output Real o", "}",
              'node t "e" {', "    Real i = 0 <- d.o", "}", 'node t "alone" {', "}")


def nodes(dot):
    return re.findall(r'(?m)^    "(\w+)" \[label', dot)


def edges(dot):
    return re.findall(r'(?m)^    "(\w+)" -> "(\w+)"(?: \[label="(.*)"\])?$', dot)


class Dot(ToolTest):
    def graph(self, given, *arguments):
        return self.expect(0, "graph", "-", *arguments, given=given)

    def test_a_scene_becomes_dot(self):
        self.expect(0, "graph", "a.kns", out=GOLDEN)

    def test_the_ending_tells_the_format(self):
        for name in ("a.dot", "b.GV"):
            self.expect(0, "graph", "a.kns", "-o", name, out="")
            self.assertEqual((self.folder / name).read_text(), GOLDEN)
        self.expect(0, "graph", "a.kns", "-o", "-", out=GOLDEN)

    def test_graphviz_reads_the_text(self):
        ran = subprocess.run(["dot", "-Tdot"], input=GOLDEN, capture_output=True, text=True)
        self.assertEqual((ran.returncode, ran.stderr), (0, ""))

    def test_links_are_found_at_any_depth(self):
        given = scene('node t "a" {', "    Object o {", "        Array<Node> list = [b, c]",
                      "        Object p {", "            Node n = b", "        }", "    }", "}",
                      'node t "b" {', "}", 'node t "c" {', "    Node self = c", "}")
        self.assertEqual(edges(self.graph(given)), [
            ("a", "b", r"o.list[0]\no.p.n"), ("a", "c", "o.list[1]"), ("c", "c", "self")])

    def test_connections_are_found_at_any_depth(self):
        given = scene('node t "s" {', "    output Real x", "    output Real y", "}",
                      'node t "a" {', "    Real r = 0 <- s.y", "    Object o {",
                      "        Real q = 0 <- s.x", "    }", "}")
        self.assertEqual(edges(self.graph(given)), [("s", "a", r"y → r\nx → o.q")])

    def test_many_of_one_sort_are_one_edge_that_tells_how_many(self):
        links = [f"    Node n{i} = b" for i in range(6)]
        given = scene('node t "a" {', *links, "}", 'node t "b" {', "}", xform("x", "b", "b"))
        self.assertEqual(edges(self.graph(given)), [
            ("x", "b", "2 times"), ("a", "b", r"n0\nn1\nn2\nn3\n2 more")])

    def test_cycles_and_empty_links_are_no_trouble(self):
        given = scene(xform("a", "b"), xform("b", "a", "null"), 'node t "c" {', "    Node n", "}")
        self.assertEqual(edges(self.graph(given)), [("a", "b", ""), ("b", "a", "")])

    def test_only_takes_sorts_and_the_nodes_that_they_touch(self):
        for only, expected in (
                ("hierarchy", "ab"), ("links", "bc"), ("connections", "cde"),
                ("links,hierarchy", "abc"), ("hierarchy,links,connections", "abcde")):
            with self.subTest(only):
                dot = self.graph(CHAIN, "--only", only)
                self.assertEqual("".join(nodes(dot)), expected)
                self.assertEqual(len(edges(dot)), len(expected) - 1)
                for sort in ("hierarchy", "link", "connection"):
                    self.assertEqual(f" {sort}</FONT>" in dot, sort in only)

    def test_around_takes_a_neighbourhood_in_both_directions(self):
        for node, rest, expected in (
                ("c", (), "abcde"), ("c", ("--depth", 1), "bcd"), ("c", ("--depth", 0), "c"),
                ("A", ("--depth", 2), "abc"), ("e", (), "cde"), ("alone", (), ["alone"]),
                ("c", ("--only", "links"), "bc"), ("a", ("--only", "connections"), "a"),
                ("c", ("--depth", 10**9), "abcde")):
            with self.subTest((node, rest)):
                found = nodes(self.graph(CHAIN, "--around", node, *rest))
                self.assertEqual(found, list(expected))

    def test_around_marks_the_middle_and_where_it_was_cut(self):
        dot = self.graph(CHAIN, "--around", "b", "--depth", 1)
        style = {name: re.search(rf'(?m)^    "{name}" .*fillcolor="[^"]*"(.*)\]$', dot)[1]
                 for name in "abc"}
        self.assertEqual(style, {"a": "", "b": ' penwidth=3 color="#000000"',
                                 "c": ' style="filled,rounded,dashed"'})
        self.assertIn("dashed border: leads to more", dot)

    def test_types_of_one_family_share_a_colour(self):
        def color(kind):
            dot = self.graph(scene(f'node {kind} "a" {{', "}"))
            return re.search(r'fillcolor="([^"]*)"', dot)[1]
        self.assertEqual(color("sunlight"), color("light"))
        self.assertEqual(color("SubdivMesh"), color("mesh"))
        self.assertEqual(len({color(kind) for kind in ("mesh", "light", "xform", "camera",
                                                      "material", "texture")}), 6)
        self.assertEqual(color("clock"), color("clock"))

    def test_display_names_stand_above_names(self):
        given = scene('node t "a" {', '    String name = "The A"', "}")
        self.assertIn(f"<B>The A</B><BR/>{SMALL}a · t</FONT>", self.graph(given))

    def test_long_names_are_cut_between_characters(self):
        given = scene('node t "a" {', f'    String name = "{"ä" * 100}"', "}")
        self.assertIn(f"<B>{'ä' * 40}…</B>", self.graph(given))

    def test_no_node_is_an_empty_graph(self):
        dot = self.graph("kelvo scene 1\n")
        self.assertEqual((nodes(dot), edges(dot)), ([], []))

    def test_wide_and_deep_scenes_are_drawn_in_time(self):
        count = 20000
        deep = scene(*(xform(f"n{i}", f"n{i + 1}") for i in range(count)), xform(f"n{count}"))
        wide = scene(xform("top", *(f"n{i}" for i in range(count))),
                     *(xform(f"n{i}") for i in range(count)))
        for given in (deep, wide):
            start = time.monotonic()
            self.assertEqual(len(edges(self.graph(given))), count)
            self.assertLess(time.monotonic() - start, 20)


class Errors(ToolTest):
    def test_help_tells_of_the_command(self):
        self.assertRegex(self.expect(0, "--help"), r"(?m)^  graph ")
        text = self.expect(0, "graph", "--help")
        for option in ("-o", "--around", "--depth", "--only", "--no-icons"):
            self.assertIn(option, text)

    def test_wrong_calls_are_reported(self):
        for arguments, expected in (
                (["--around", "lmap"],
                 "a.kns: no node 'lmap': did you mean 'lamp'?"),
                (["--around", "xyzzy"], "a.kns: no node 'xyzzy'."),
                (["--around", ""], "a.kns: no node ''."),
                (["--only", "link"],
                 "--only: no sort of edges 'link': did you mean 'links'?"),
                (["--only", "xyzzy"], "--only: no sort of edges 'xyzzy': "
                 "expected hierarchy, links or connections."),
                (["-o", "a.jpg"], "cannot tell from the name 'a.jpg' what to write: "
                 "expected an ending .dot, .gv, .svg or .png."),
                (["-o", "png"], "cannot tell from the name 'png' what to write: "
                 "expected an ending .dot, .gv, .svg or .png.")):
            with self.subTest(arguments):
                self.expect(2, "graph", "a.kns", *arguments, out="",
                            error=f"kelvo: {expected}\n")
        self.assertEqual(self.names(), ["a.kns"])

    def test_depth_needs_a_middle_and_is_a_number(self):
        for arguments in (["--depth", "1"], ["--around", "lamp", "--depth", "-1"]):
            ran = self.run_tool("graph", "a.kns", *arguments)
            self.assertEqual(ran.returncode, 2)
            self.assertIn("--depth", ran.stderr)

    def test_files_are_reported(self):
        self.expect(1, "graph", "none.kns",
                    error="kelvo: cannot read 'none.kns': No such file or directory\n")
        self.expect(1, "graph", "a.kns", "-o", "none/a.svg",
                    error="kelvo: cannot write 'none/a.svg': No such file or directory\n")


class Pictures(ToolTest):
    """Runs the tool with a separate folder for temporary files, and optionally other programs."""

    def setUp(self):
        super().setUp()
        self.temporary = self.folder / "temporary"
        self.programs = self.folder / "programs"
        self.temporary.mkdir()
        self.programs.mkdir()

    def environment(self, path):
        return {**os.environ, "TMPDIR": str(self.temporary), "PATH": path}

    def draw(self, name, *arguments, path=os.environ["PATH"], given=None):
        if given is not None:
            (self.folder / "a.kns").write_text(given)
        ran = subprocess.run([tool(), "graph", "a.kns", "-o", name, *arguments],
                             capture_output=True, text=True, timeout=60, cwd=self.folder,
                             env=self.environment(path))
        self.assertEqual(ran.stdout, "")
        self.assertEqual(list(self.temporary.iterdir()), [])
        return ran.returncode, ran.stderr

    def draw_svg(self, *arguments, **options):
        self.assertEqual(self.draw("a.svg", *arguments, **options), (0, ""))
        return (self.folder / "a.svg").read_text()

    def program(self, name, text):
        file = self.programs / name
        file.write_text("#!/bin/sh\n" + text)
        file.chmod(file.stat().st_mode | stat.S_IXUSR)
        return str(self.programs)

    def test_svg_shows_names_types_edges_and_legend(self):
        root = xml.fromstring(self.draw_svg())
        self.assertEqual(root.tag, SVG + "svg")
        texts = [text.text.strip() for text in root.iter(SVG + "text")]
        for expected in ("room", "xform", "target", "color → color", "──▶ hierarchy",
                         "╌╌▷ link", "━━● connection"):
            self.assertIn(expected, texts)
        titles = [title.text for title in root.iter(SVG + "title")]
        for expected in ("room->lamp", "lamp->desk", "wood->desk"):
            self.assertIn(expected, titles)

    def test_sorts_of_edges_differ_in_colour_and_style(self):
        root = xml.fromstring(self.draw_svg())
        looks = {}
        for group in root.iter(SVG + "g"):
            if group.get("class") == "edge":
                line = group.find(SVG + "path")
                looks[group.find(SVG + "title").text] = (
                    line.get("stroke"), line.get("stroke-dasharray"), line.get("stroke-width"))
        self.assertEqual(looks["room->lamp"], looks["room->desk"])
        self.assertEqual(len(set(looks.values())), 3)

    def test_svg_needs_nothing_outside_itself(self):
        text = self.draw_svg()
        self.assertNotIn("<!DOCTYPE", text)
        self.assertNotIn("<?xml-", text)
        for element in xml.fromstring(text).iter():
            for name, value in element.attrib.items():
                if name.rpartition("}")[2] in ("href", "src"):
                    self.assertRegex(value, r"^(#icon-[0-3]|data:image/svg\+xml;base64,.*)$")
                self.assertNotRegex(value, r"url\(")

    def test_svg_has_each_icon_once_and_shows_it_at_each_node(self):
        given = scene(*(f'node t "n{i}" {{\n}}' for i in range(4)))
        root = xml.fromstring(self.draw_svg(given=given))
        symbols = list(root.iter(SVG + "symbol"))
        self.assertEqual([symbol.get("id") for symbol in symbols], ["icon-0"])
        data = symbols[0].find(SVG + "image").get(HREF).partition("base64,")[2]
        self.assertEqual(xml.fromstring(base64.b64decode(data)).tag, SVG + "svg")
        self.assertEqual([use.get(HREF) for use in root.iter(SVG + "use")], ["#icon-0"] * 4)

    def icons(self, given, *arguments):
        """Returns the icon of each node, in the order of the drawing."""
        root = xml.fromstring(self.draw_svg(*arguments, given=given))
        known = {"#" + symbol.get("id"): base64.b64decode(
            symbol.find(SVG + "image").get(HREF).partition("base64,")[2]).decode()
            for symbol in root.iter(SVG + "symbol")}
        return [known[use.get(HREF)] for use in root.iter(SVG + "use")]

    def test_the_icons_are_those_of_the_types(self):
        (self.folder / "my.knd").write_text(
            'kelvo types 1\n\ntype dot2 {\n    icon """<svg viewBox="0 0 24 24">'
            '<circle cx="7" cy="7" r="7"/></svg>"""\n}\n')
        given = scene('node pointLight "a" {', "}", 'node mesh "b" {', "}", 'node dot2 "c" {', "}",
                      'node mesh "d" {', "}")
        light, mesh, unknown, again = self.icons(given)
        self.assertEqual(len({light, mesh, unknown}), 3)
        self.assertEqual(mesh, again)
        own = self.icons(given, "--library", "my.knd")
        self.assertEqual(own[:2], [light, mesh])
        self.assertIn("circle", own[2])
        for name, icon in (("pointLight", light), ("mesh", mesh)):
            page = urllib.parse.unquote(self.expect(0, "help", name, "-o", "-"))
            path = re.search(r' d="([^"]+)"', icon)[1]
            self.assertIn(path, page)

    def test_icons_may_be_left_out(self):
        root = xml.fromstring(self.draw_svg("--no-icons"))
        for name in ("symbol", "image", "use"):
            self.assertEqual(list(root.iter(SVG + name)), [])

    def test_hostile_texts_stay_texts(self):
        hostile = ("<b>&lt;&amp;&#x41;</b>", "</TABLE>>];", '\\"];x->y[label=\\"', r"\\N\\G\\l",
                   '<image xlink:href=\\"icon-0.svg\\"/>', "--><script>a()</script>", "]]>",
                   "%s%n", "\u202e\ufffe", "  ")
        given = scene(*(f'node t "n{i}" {{\n    String name = "{text}"\n}}'
                        for i, text in enumerate(hostile)))
        root = xml.fromstring(self.draw_svg(given=given))
        shown = [text.text for text in root.iter(SVG + "text")]
        for text in hostile[:-2]:
            plain = text.replace('\\"', '"').replace("\\\\", "\\")
            self.assertIn(plain, shown)
        self.assertIn("\u202e\ufffd", shown)
        nodes = [group for group in root.iter(SVG + "g") if group.get("class") == "node"]
        self.assertEqual(len(nodes), len(hostile))
        self.assertEqual(list(root.iter(SVG + "script")), [])

    def test_names_that_mean_something_in_dot_are_names(self):
        words = ("node", "edge", "graph", "digraph", "subgraph", "strict")
        given = scene(*(xform(word, *words) for word in words))
        root = xml.fromstring(self.draw_svg(given=given))
        self.assertEqual(sum(group.get("class") == "edge" for group in root.iter(SVG + "g")), 36)

    def test_png_is_a_picture(self):
        sizes = []
        for arguments in ((), ("--around", "wood", "--depth", "0")):
            self.assertEqual(self.draw("a.png", *arguments), (0, ""))
            data = (self.folder / "a.png").read_bytes()
            self.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
            sizes.append(struct.unpack(">II", data[16:24]))
        self.assertTrue(300 < sizes[0][0] < 1500 and 100 < sizes[0][1] < 800, sizes)
        self.assertLess(sizes[1][1], sizes[0][1])

    def test_png_shows_icons(self):
        pictures = []
        for arguments in ((), ("--no-icons",)):
            self.assertEqual(self.draw("a.png", *arguments), (0, ""))
            pictures.append((self.folder / "a.png").read_bytes())
        self.assertNotEqual(*pictures)

    def test_pictures_are_the_same_each_time(self):
        self.assertEqual(self.draw_svg(), self.draw_svg())

    def test_without_graphviz_the_remedy_is_reported(self):
        for name in ("a.svg", "a.png"):
            self.assertEqual(self.draw(name, "--no-icons", path=str(self.programs)), (
                1, "kelvo: cannot draw without the program 'dot' of Graphviz (Debian's package "
                "graphviz); -o OUT.dot needs none.\n"))
        self.assertNotIn("a.svg", self.names())
        self.assertEqual(self.draw("a.dot", path=str(self.programs)), (0, ""))

    def test_failing_graphviz_is_reported_and_leaves_the_old_picture(self):
        (self.folder / "a.svg").write_text("old")
        for script, expected in (
                ("echo 'Error: bad' >&2; echo more >&2; exit 3",
                 "cannot draw: 'dot' ended with status 3: Error: bad"),
                ("exit 1", "cannot draw: 'dot' ended with status 1."),
                ("kill -9 $$", "cannot draw: 'dot' ended by signal 9."),
                ("exit 0", "cannot draw: 'dot' wrote nothing.")):
            with self.subTest(script):
                status, error = self.draw("a.svg", path=self.program("dot", script))
                self.assertEqual((status, error), (1, f"kelvo: {expected}\n"))
        self.assertEqual((self.folder / "a.svg").read_text(), "old")

    def test_warnings_of_graphviz_are_passed_on(self):
        script = f'echo "Warning: odd" >&2; {REAL} dot "$@"'
        self.assertEqual(self.draw("a.svg", path=self.program("dot", script)),
                         (0, "kelvo: warning: Warning: odd\n"))

    def test_more_nodes_than_are_soon_drawn_are_reported(self):
        given = scene(*(xform(f"n{i}") for i in range(2001)))
        path = self.program("dot", "echo '<svg></svg>' > graph.svg")
        told = "kelvo: warning: 2001 nodes may take Graphviz long; --around NODE draws a part.\n"
        self.assertEqual(self.draw("a.svg", path=path, given=given), (0, told))
        self.assertEqual(self.draw("a.svg", "--around", "n7", path=path), (0, ""))

    def test_without_a_reader_of_icons_png_pictures_have_none(self):
        path = self.program("dot", f'{REAL} dot "$@"')
        self.assertEqual(self.draw("a.png", path=path), (
            0, "kelvo: warning: no icons in PNG pictures without the program 'rsvg-convert' "
            "(Debian's package librsvg2-bin).\n"))
        without = (self.folder / "a.png").read_bytes()
        self.assertEqual(self.draw("a.png", "--no-icons"), (0, ""))
        self.assertEqual((self.folder / "a.png").read_bytes(), without)

    def test_a_signal_ends_graphviz_and_leaves_nothing_behind(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                path = self.program("dot", f"echo $$ > {self.folder}/pid; exec /bin/sleep 60")
                ran = subprocess.Popen([tool(), "graph", "a.kns", "-o", "a.svg"], text=True,
                                       stderr=subprocess.PIPE, cwd=self.folder,
                                       env=self.environment(path))
                pid = self.folder / "pid"
                while not (pid.exists() and pid.read_text().endswith("\n")):
                    time.sleep(0.01)
                ran.send_signal(number)
                self.assertEqual(ran.communicate(timeout=30)[1],
                                 "kelvo: stopped by a signal.\n")
                self.assertEqual(ran.returncode, 1)
                self.assertEqual(list(self.temporary.iterdir()), [])
                with self.assertRaises(ProcessLookupError):
                    os.kill(int(pid.read_text()), 0)
                pid.unlink()


if __name__ == "__main__":
    main()
