#!/usr/bin/env python3
"""The commands in the README and in docs/ do what the text says. commands_test.py TOOL BUILD_DIR

Runs each page line by line, as a reader would paste it into a shell: in a copy of the tree after
scripts/run. A page creates the files that it names, or finds them in examples/.
"""
import filecmp
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import doc_text
from doc_commands import OTHER_PROGRAMS, commands, is_command, joined
from doc_shell import Shell
from doc_text import ROOT

MODELS = pathlib.Path("/usr/share/assimp/models")

# Commands that fail on purpose, by their beginning, with the exit status that the text states.
STATUS = {
    "kelvo diff examples/studio.kns build/bright.kns": 1,
    "kelvo diff examples/studio.kns build/mine.kns --format json": 1,
    "kelvo diff examples/studio.kns build/merged.kns": 1,
    'kelvo edit build/room.kns -c "rename desk table; set sun.radus 1"': 2,
    "git merge evening": 1,
}

# Output of a command that the page does not show: a text that its output, or the file of its -o,
# must contain.
SAYS = {
    "kelvo show examples/studio.kns": "└─ eye (camera)",
    "kelvo get examples/studio.kns lamp.radius": "0.05",
    "kelvo eval examples/studio.kns power.result": "10",
    "kelvo explain examples/studio.kns lamp.color": "warm.amount <- dimmer.result",
    "kelvo find examples/studio.kns '*.radius'": "lamp.radius (Real) = 0.05",
    "kelvo deps examples/studio.kns lamp": "through lamp.intensity <- power.result",
    "kelvo paths examples/studio.kns room lamp": "room/lamp",
    "kelvo get examples/studio.kns window.intensity": "stored: 12\neffective: 3\n",
    "kelvo find examples/studio.kns '*' --type emitter": "window (areaLight)",
    "kelvo help convert": "Usage: kelvo convert",
    "kelvo explain examples/studio.kns lamp.intensity": "evaluates to: 10",
    "kelvo stats examples/studio.kns": "nodes: 10",
    "kelvo hash examples/studio.kns": "  lamp",
    "kelvo check examples/studio.kns": "10 nodes, 0 errors, 0 warnings",
    "kelvo graph examples/studio.kns": "digraph",
    "kelvo set examples/studio.kns lamp.radius=0.1 -o build/bright.kns": "Real radius = 0.1",
    'kelvo edit examples/studio.kns -c "rename desk table; set wood.roughness 0.3" '
    "-o build/table.kns": 'node mesh "table"',
    "kelvo convert examples/studio.kns lamp spotLight -o build/spot.kns": 'node spotLight "lamp"',
    "kelvo check build/spot.kns --fix": "10 nodes, 0 errors, 0 warnings",
    "kelvo diff examples/studio.kns build/bright.kns": "~ lamp.radius: 0.05 -> 0.1",
    "kelvo merge examples/studio.kns build/bright.kns build/table.kns -o build/both.kns":
        "Array<Node> children = [table, lamp, window, eye]",
    "kelvo types --base emitter": "spotLight",
    "kelvo help pointLight": "Shines in all directions from a small ball.",
    "kelvo new pointLight key >build/key.kns": 'node pointLight "key"',
    "kelvo import /usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb "
    "-o build/engine.kns": "75730 faces",
    "kelvo stats build/engine.kns": "mesh: 34",
    "build/lamp": "The radius is 0.5.",
}

# Commands that are not run here, with the reason. Their script, preset or option still has to
# exist.
NOT_RUN = {
    r"scripts/(run|test|bench|tidy|bare|install)\b": "builds everything, or needs the network",
    r"cmake --preset": "configures the whole project; tests/install does that for a client",
    r"cmake --build --preset": "builds everything; the tests run on such a build",
    r"cmake --install .* --prefix /": "writes to the system; docs/plugins.md installs into build/",
    r"ctest --preset": "runs all tests, this one among them",
    r"python3 tools/(check_tree|make_map)\.py": "has a test of its own",
}


def not_run(command):
    return any(re.match(pattern, command) for pattern in NOT_RUN)


def preset_names(kind):
    presets = json.loads((ROOT / "CMakePresets.json").read_text())
    return [preset["name"] for preset in presets[kind]]


class Commands(unittest.TestCase):
    tool = build = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.shell = Shell(pathlib.Path(folder.name), self.build)

    def follow(self, page):
        for block, command, says in commands(page):
            with self.subTest(place=block.place(), command=command):
                if not_run(command):
                    continue
                reason = self.lacking(command)
                if reason:
                    self.skipTest(reason)
                self.check(command, says)
        self.check_that_examples_stayed()

    def lacking(self, command):
        """Returns the part that a command needs and this build lacks."""
        imports = "kelvo import" in command or "engine." in command
        if imports and not (MODELS.exists() and self.has_import()):
            return "built without the import of models"
        sanitize = doc_text.configured(self.build, "KELVO_SANITIZE")
        if sanitize and ("pkg-config" in command or command == "build/lamp"):
            return "a client that is built by pkg-config has no sanitizers"
        return None

    def has_import(self):
        shown = subprocess.run([self.tool, "--help"], capture_output=True, text=True, timeout=60)
        return re.search(r"^ +import ", shown.stdout, re.M) is not None

    def check(self, command, says):
        ran = self.shell.run(command)
        expected = next((STATUS[begin] for begin in STATUS if command.startswith(begin)), 0)
        self.assertEqual(ran.returncode, expected, ran.stdout[-2000:])
        if says is not None:
            self.assertTrue(doc_text.is_as_printed(says, ran.stdout),
                            f"the page says:\n{says}\nit prints:\n{ran.stdout}")
        file = self.shell.file_written(command)
        if file:
            self.assertTrue(file.exists() and file.stat().st_size > 0, f"{file.name} is missing")
        if command in SAYS:
            everything = ran.stdout
            if file and file.suffix in (".kns", ".json", ".svg", ".html"):
                everything += file.read_text()
            self.assertIn(SAYS[command], everything)

    def check_that_examples_stayed(self):
        for entry in (ROOT / "examples").iterdir():
            if entry.is_file():
                copy = self.shell.tree / "examples" / entry.name
                self.assertTrue(filecmp.cmp(entry, copy, shallow=False), entry.name)


def add_page(page):
    def test(self):
        self.follow(page)
    setattr(Commands, "test_commands_of_" + re.sub(r"\W", "_", doc_text.name_of(page)), test)


class Texts(unittest.TestCase):
    """The scenes and definitions that the pages show can be read."""

    def check(self, begin, *arguments):
        found = 0
        for page in doc_text.pages():
            for block in doc_text.blocks(page):
                if not block.text.startswith(begin):
                    continue
                found += 1
                with self.subTest(place=block.place()):
                    ran = subprocess.run([Commands.tool, *arguments, "-"], input=block.text,
                                         capture_output=True, text=True, timeout=60)
                    self.assertEqual((ran.returncode, ran.stderr), (0, ""))
        self.assertGreater(found, 0)

    def test_scenes(self):
        self.check("kelvo scene 1\n", "stats")

    def test_example_scenes_have_no_findings(self):
        for scene in sorted((ROOT / "examples").glob("*.kns")):
            ran = subprocess.run([Commands.tool, "check", scene, "--severity", "note"],
                                 capture_output=True, text=True, timeout=60)
            self.assertEqual((ran.returncode, ran.stderr), (0, ""))
            self.assertRegex(ran.stdout, "nodes, 0 errors, 0 warnings, 0 notes$")

    def test_pieces_of_an_example_are_in_it(self):
        pieces = 0
        for page in doc_text.pages():
            for block in doc_text.blocks(page):
                example = re.search(r"examples/\w+\.kns", block.before)
                if example and block.text.startswith("node "):
                    whole = (ROOT / example[0]).read_text()
                    for node in re.findall(r"^node .*?^}\n", block.text, re.S | re.M):
                        self.assertIn(node, whole, block.place())
                        pieces += 1
        self.assertGreater(pieces, 0)

    def test_definitions(self):
        self.check("kelvo types 1\n", "library", "check")


class Lists(unittest.TestCase):
    """The lists above, and the commands that are not run, name existing scripts and options."""

    def setUp(self):
        self.all = [found for page in doc_text.pages() for found in commands(page)]

    def test_every_line_of_a_block_with_a_command_is_one(self):
        for page in doc_text.pages():
            for block in doc_text.blocks(page):
                lines = joined(block)
                if any(map(is_command, lines)):
                    for line in lines:
                        self.assertTrue(is_command(line), f"{block.place()}: no command: {line}")

    def test_every_program_is_known(self):
        for page in doc_text.pages():
            for block in doc_text.blocks(page):
                for line in joined(block):
                    self.assertNotIn(line.split(" ")[0], OTHER_PROGRAMS, block.place())

    def test_lists_hold_only_commands_that_are_there(self):
        texts = [command for _, command, _ in self.all]
        for begin in STATUS:
            self.assertTrue(any(text.startswith(begin) for text in texts), begin)
        for command in SAYS:
            self.assertIn(command, texts)

    def test_no_command_of_the_tool_is_left_out(self):
        for block, command, _ in self.all:
            if command.startswith("kelvo "):
                self.assertFalse(not_run(command), f"{block.place()}: {command}")

    def test_scripts_can_be_run(self):
        for block, command, _ in self.all:
            for script in re.findall(r"\bscripts/\w+", command):
                self.assertTrue(os.access(ROOT / script, os.X_OK), f"{block.place()}: {script}")

    def test_presets_are_there(self):
        kinds = {"cmake --preset": "configurePresets", "cmake --build --preset": "buildPresets",
                 "ctest --preset": "testPresets"}
        for block, command, _ in self.all:
            for begin, kind in kinds.items():
                for preset in re.findall(re.escape(begin) + r" (\w+)", command):
                    self.assertIn(preset, preset_names(kind), block.place())

    def test_installed_builds_have_a_preset(self):
        for block, command, _ in self.all:
            for preset in re.findall(r"cmake --install build/(\w+)", command):
                self.assertIn(preset, preset_names("configurePresets"), block.place())

    def test_commands_named_within_the_text_are_commands_of_the_tool(self):
        shown = subprocess.run([Commands.tool, "--help"], capture_output=True, text=True)
        known = re.findall(r"^  (\w+)  ", shown.stdout, re.M)
        for page in doc_text.pages():
            for command in re.findall(r"`kelvo ([a-z]+)", page.read_text()):
                if command != "import":
                    self.assertIn(command, known, page)


if __name__ == "__main__":
    Commands.tool = os.path.abspath(sys.argv.pop(1))
    Commands.build = os.path.abspath(sys.argv.pop(1))
    for each in doc_text.pages():
        if commands(each):
            add_page(each)
    unittest.main()
