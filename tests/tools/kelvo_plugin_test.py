#!/usr/bin/env python3
"""The tool kelvo with plug-ins, most of them broken. kelvo_plugin_test.py KELVO PLUGINS [...]"""
import os
import shutil
import sys

from kelvo_tool import ToolTest, main, scene

TWICE = "type twice {\n    Real x = 1\n    output Real out\n}\n"
SCENE = scene('node twice "n" {\n    Real x = 21\n}')


class PluginTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(os.environ.pop, "KELVO_PLUGIN_PATH", None)
        (self.folder / "n.kns").write_text(SCENE)

    def place(self, way, name, definitions=TWICE):
        """Copies a plug-in and its definitions into the folder."""
        target = self.folder / name
        target.parent.mkdir(exist_ok=True)
        shutil.copy(os.path.join(plugins, f"test_plugin_{way}.so"), target)
        if definitions:
            target.with_suffix(".knd").write_text(definitions)
        return target


class Plugins(PluginTest):
    def test_files_folders_and_names_are_loaded(self):
        self.place("good", "a/twice.so")
        for given in ("a/twice.so", "a"):
            with self.subTest(given):
                self.expect(0, "eval", "n.kns", "n.out", "--plugin", given, out="42\n")
                self.expect(0, "--plugin", given, "eval", "n.kns", "n.out", out="42\n")
        os.environ["KELVO_PLUGIN_PATH"] = f"none:{self.folder / 'a'}"
        self.expect(0, "eval", "n.kns", "n.out", out="42\n")
        self.expect(0, "eval", "n.kns", "n.out", "--plugin", "twice", out="42\n")

    def test_their_types_are_listed_explained_and_made(self):
        self.place("good", "a/twice.so")
        self.expect(0, "types", "--library", "twice", "--plugin", "a", out="twice  Twice\n")
        self.assertIn("Real = 1", self.expect(0, "help", "twice", "--plugin", "a"))
        self.expect(0, "new", "twice", "n", "--plugin", "a",
                    out='node twice "n" {\n    Real x = 1\n    output Real out\n}\n')

    def test_what_is_wrong_with_one_is_reported(self):
        for way, expected in (
                ("wrong_version", "it was built for version 4711 of the library interface, this "
                                  "program has version 2"),
                ("no_entry", "it has no entry point kelvo_library"),
                ("throwing_entry", "its entry point throws: no entry today"),
                ("null_library", "creating its library gives null"),
                ("other_core", "it uses another copy of the Kelvo library than this program, which "
                               "has to be linked with the shared library")):
            file = self.place(way, f"{way}.so")
            with self.subTest(way):
                self.expect(1, "eval", "n.kns", "n.out", "--plugin", file.name, out="",
                            error=f"kelvo: plug-in '{file.name}': {expected}\n")
                self.expect(1, "show", "n.kns", "--plugin", file.name, out="",
                            error=f"kelvo: plug-in '{file.name}': {expected}\n")

    def test_one_of_the_environment_is_only_warned_of(self):
        self.place("good", "a/twice.so")
        bad = self.place("wrong_version", "a/bad.so")
        os.environ["KELVO_PLUGIN_PATH"] = str(self.folder / "a")
        self.expect(0, "eval", "n.kns", "n.out", out="42\n", error=(
            f"kelvo: warning: plug-in '{bad}': it was built for version 4711 of the library "
            "interface, this program has version 2\n"))
        self.expect(0, "show", "n.kns")

    def test_one_that_throws_costs_a_line(self):
        self.place("throwing_eval", "a.so")
        ran = self.run_tool("eval", "n.kns", "n.out", "--plugin", "a.so")
        self.assertEqual((ran.returncode, ran.stdout), (1, ""))
        told = ran.stderr.splitlines()
        self.assertEqual(len(told), 2, told)
        self.assertIn("no value today", told[0])
        self.assertEqual(told[1], "kelvo: n.kns: 'n.out' has no value: the eval callback of 'n' "
                                  "gave none.")


if __name__ == "__main__":
    plugins = os.path.abspath(sys.argv.pop(2))
    main()
