#!/usr/bin/env python3
"""The command `kelvo help`, by its texts and files. kelvo_help_test.py KELVO [unittest ...]"""
import base64
import hashlib
import html.parser
import re

from kelvo_tool import ToolTest, main

HOSTILE = """</script><script>alert(1)</script><img src=x onerror=alert(2)>\\"'&\\x1b[31m"""
DEFINITIONS = f"""\
kelvo types 1

type lamp : emitter {{
    label "en" "Desk Lamp"
    help "en" "Stands on a desk. Lights it."
    Real angle = 0.5 @min 0 @max 1 @unit "rad" @help "en" "How far it opens."
    String mode = "low" @choices ["low", "high"]
    Bool on = true @readonly
    output Real heat
    page "Optics" {{
        angle
        group "Use" {{ mode, on }}
    }}
}}
type Lamp2 : lamp {{
}}
type evil @internal {{
    label "en" "{HOSTILE}"
    help "en" "{HOSTILE}"
    String text = "{HOSTILE}" @unit "{HOSTILE}" @label "en" "{HOSTILE}" @help "en" "{HOSTILE}"
    String one = "{HOSTILE}" @choices ["{HOSTILE}"]
    page "{HOSTILE}" {{
        group "{HOSTILE}" {{ text, one }}
    }}
}}
"""


class Page(html.parser.HTMLParser):
    """Collects the links, loaded files and scripts of a page."""

    def __init__(self, text):
        super().__init__()
        self.links, self.loads, self.scripts, self.ids, self.handlers = [], [], [], set(), []
        self._script = None
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        found = dict(attributes)
        self.handlers += [name for name in found if name.startswith("on")]
        if "id" in found:
            self.ids.add(found["id"])
        if tag == "a":
            self.links.append(found.get("href"))
        self.loads += [found[name] for name in ("src", "srcset", "data") if name in found]
        if tag in ("link", "iframe", "object", "embed", "base"):
            self.loads.append(tag)
        if tag == "script":
            self._script = ""

    def handle_endtag(self, tag):
        if tag == "script":
            self.scripts.append(self._script)
            self._script = None

    def handle_data(self, data):
        if self._script is not None:
            self._script += data


class HelpTest(ToolTest):
    def setUp(self):
        super().setUp()
        (self.folder / "my.knd").write_text(DEFINITIONS)

    def help(self, *arguments):
        return self.expect(0, "help", *arguments, "--library", "my.knd")


class Terminal(HelpTest):
    def test_a_type_is_explained(self):
        text = self.help("lamp")
        self.assertTrue(text.startswith("Desk Lamp (lamp)\nbased on emitter, object\n\n"
                                        "Stands on a desk. Lights it.\n\nInputs\n"), text)
        self.assertIn("  Optics:\n    angle  Real = 0.5 rad, 0 to 1\n           How far it opens.\n"
                      "    - Use -\n", text)
        self.assertIn("    heat  Real\n", text)
        self.assertIn('\nExample\n\n    node lamp "', text)
        self.assertRegex(text, r'mode +String = "low", one of "low", "high"\n')
        self.assertRegex(text, r"on +Bool = true, read only\n")

    def test_lines_are_as_wide_as_asked(self):
        for width in (30, 60, 80):
            with self.subTest(width):
                text = self.help("lamp", "--width", str(width)).split("\nExample\n")[0]
                self.assertLessEqual(max(map(len, text.splitlines())), width)

    def test_every_standard_type_has_its_help(self):
        for line in self.expect(0, "types").splitlines():
            with self.subTest(line):
                name = line.split()[0]
                text = self.expect(0, "help", name)
                self.assertIn(f" ({name})\n", text)
                self.assertIn("\nInputs", text)
                self.assertEqual("\nExample\n" in text, not line.endswith("abstract"))

    def test_the_example_is_scene_text(self):
        for name in ("lamp", "mesh", "mix", "overrideModifier"):
            with self.subTest(name):
                example = self.help(name).split("\nExample\n")[1]
                self.expect(0, "check", "-", "--library", "my.knd", given=example,
                            out="standard input: 1 node, 0 errors, 0 warnings\n")

    def test_a_terminal_is_given_no_commands(self):
        text = self.help("evil").split("\nExample\n")[0]
        self.assertNotIn("\x1b", text)
        self.assertIn("?[31m", text)

    def test_alone_it_lists_the_commands(self):
        self.assertEqual(self.expect(0, "help"), self.expect(0, "--help"))

    def test_a_command_is_explained(self):
        for command in ("show", "help", "set", "graph", "import", "library"):
            with self.subTest(command):
                self.assertEqual(self.expect(0, "help", command),
                                 self.expect(0, command, "--help"))

    def test_a_command_comes_before_a_type_of_its_name_which_is_reported(self):
        (self.folder / "show.knd").write_text("kelvo types 1\n\ntype show : emitter {\n}\n")
        library = ("--library", "show.knd")
        self.assertEqual(self.expect(0, "help", "show", *library),
                         self.expect(0, "show", "--help") +
                         "\nThere is a node type show too: kelvo help --type show\n")
        self.assertRegex(self.expect(0, "help", "--type", "show", *library), r"\AShow \(show\)\n")
        self.assertIn("<html", self.expect(0, "help", "show", "-o", "-", *library))

    def test_the_call_names_a_type_or_all(self):
        for arguments, expected in (
                (["-o", "a.html"], "expected a node type, or --all."),
                (["--type"], "expected a node type, or --all."),
                (["lammp", "--type"], "no node type 'lammp': did you mean 'lamp'?"),
                (["shwo"], "no command 'shwo': did you mean 'show'?"),
                (["xyzzy"],
                 "no command and no node type 'xyzzy' (see kelvo help and kelvo types)"),
                (["show", "-o", "a.html"],
                 "-o writes pages of node types, and 'show' is a command."),
                (["lamp", "--all"], "expected a node type, or --all."),
                (["--all"], "--all needs -o and the folder to write to."),
                (["--all", "-o", "-"], "--all needs -o and the folder to write to."),
                (["lammp"], "no node type 'lammp': did you mean 'lamp'?")):
            with self.subTest(arguments):
                self.expect(2, "help", *arguments, "--library", "my.knd", out="",
                            error=f"kelvo: {expected}\n")


class Pages(HelpTest):
    def test_a_page_goes_to_a_file_or_a_stream(self):
        page = self.help("lamp", "-o", "-")
        self.assertEqual(self.help("lamp", "-o", "lamp.html"), "")
        self.assertEqual((self.folder / "lamp.html").read_text(), page)
        self.assertTrue(page.startswith("<!DOCTYPE html>"))

    def test_what_cannot_be_written_is_reported(self):
        self.expect(1, "help", "add", "-o", "none/a.html", out="", error=(
            "kelvo: cannot write 'none/a.html': No such file or directory\n"))
        self.expect(1, "help", "--all", "-o", "a.kns", out="", error=(
            "kelvo: cannot make the folder 'a.kns/types/': Not a directory\n"))


class Site(HelpTest):
    def setUp(self):
        super().setUp()
        self.told = self.help("--all", "-o", "site")
        self.site = {str(path.relative_to(self.folder / "site")): path.read_text()
                     for path in (self.folder / "site").rglob("*.html")}

    def test_there_is_a_page_for_each_type(self):
        count = len(self.expect(0, "types", "--internal").splitlines()) + 3
        self.assertEqual(self.told, f"{count} pages and site/index.html\n")
        self.assertEqual(len(self.site), count + 1)
        self.assertIn("types/lamp.html", self.site)
        # File names that differ by case alone would collide on some file systems.
        self.assertEqual(len({name.lower() for name in self.site}), count + 1)

    def test_every_link_leads_somewhere(self):
        for name, text in self.site.items():
            page = Page(text)
            for link in page.links:
                with self.subTest(page=name, link=link):
                    target, _, part = link.partition("#")
                    folder = name.rpartition("/")[0]
                    path = (self.folder / "site" / folder / target).resolve()
                    found = str(path.relative_to((self.folder / "site").resolve()))
                    self.assertIn(found if target else name, self.site)
                    if part:
                        self.assertIn(part, page.ids)

    def test_pages_load_nothing(self):
        for name, text in self.site.items():
            with self.subTest(name):
                page = Page(text)
                self.assertEqual([x for x in page.loads if not x.startswith("data:")], [])
                self.assertEqual(page.handlers, [])
                self.assertNotRegex(text, r"@import|url\((?!['\"]?data:)")

    def test_the_index_alone_runs_a_script_the_one_it_allows(self):
        for name, text in self.site.items():
            scripts = Page(text).scripts
            with self.subTest(name):
                self.assertEqual(len(scripts), 1 if name == "index.html" else 0)
                allowed = re.findall(r"'(sha256-[^']+)'", text)
                hashes = [base64.b64encode(hashlib.sha256(script.encode()).digest()).decode()
                          for script in scripts]
                self.assertEqual(allowed, [f"sha256-{value}" for value in hashes])

    def test_bases_and_what_is_based_on_a_type_are_linked(self):
        self.assertIn("emitter.html", Page(self.site["types/lamp.html"]).links)
        self.assertIn("lamp.html", Page(self.site["types/emitter.html"]).links)
        self.assertIn("../index.html", Page(self.site["types/lamp.html"]).links)

    def test_written_again_it_is_the_same(self):
        self.help("--all", "-o", "again/deep")
        for name, text in self.site.items():
            with self.subTest(name):
                self.assertEqual((self.folder / "again/deep" / name).read_text(), text)


if __name__ == "__main__":
    main()
