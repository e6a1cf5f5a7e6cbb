#!/usr/bin/env python3
"""The command `kelvo merge`, alone and called by git. kelvo_merge_test.py KELVO [...]"""
import json
import os
import pathlib
import re
import shlex
import subprocess

from kelvo_tool import SCENE, ToolTest, main, scene, tool, xform

ROOT = pathlib.Path(__file__).resolve().parents[2]


class MergeTest(ToolTest):
    def sides(self, mine=(), theirs=()):
        """Writes mine.kns and theirs.kns, copies of the scene with texts replaced."""
        for name, pairs in (("mine", mine), ("theirs", theirs)):
            text = SCENE
            for before, after in pairs:
                self.assertIn(before, text)
                text = text.replace(before, after)
            (self.folder / f"{name}.kns").write_text(text)

    def merge(self, status, *arguments, error=None):
        return self.expect(status, "merge", "a.kns", "mine.kns", "theirs.kns", *arguments,
                           error=error)


class Merge(MergeTest):
    def test_what_both_sides_changed_is_there(self):
        self.sides([("radius = 0.5", "radius = 0.7"), ("lamp", "light_1")],
                   [("count = 3", "count = 4"), ("target = desk", "target = lamp")])
        both = SCENE
        for before, after in (("radius = 0.5", "radius = 0.7"), ("count = 3", "count = 4"),
                              ("target = desk", "target = lamp"), ("lamp", "light_1")):
            both = both.replace(before, after)
        (self.folder / "both.kns").write_text(both)
        self.assertEqual(self.merge(0, "-o", "out.kns"), "")
        self.expect(0, "diff", "both.kns", "out.kns", out="")

    def test_conflicts_are_reported_and_marked_and_mine_counts(self):
        self.sides([("radius = 0.5", "radius = 0.7"), ("count = 3", "count = 4")],
                   [("radius = 0.5", "radius = 0.9")])
        out = self.merge(1, error="kelvo: conflict: lamp.radius: base 0.5, mine 0.7, theirs 0.9\n")
        self.assertIn("    # conflict: lamp.radius: base 0.5, mine 0.7, theirs 0.9\n"
                      "    Real radius = 0.7 # metres\n    UInt count = 4\n", out)

    def test_conflicts_can_be_json(self):
        self.sides([("Int fixed = 1 @readonly\n", "")], [("fixed = 1", "fixed = 2")])
        found = json.loads(self.merge(1, "-o", "out.kns", "--format", "json"))
        self.assertEqual(found, {"format": "kelvo conflicts 1", "conflicts": [
            {"path": "lamp.fixed", "field": "", "base": "Int fixed = 1 @readonly", "mine": None,
             "theirs": "Int fixed = 2 @readonly",
             "reason": "theirs changed it and mine removed it"}]})

    def test_a_preferred_side_settles_conflicts(self):
        self.sides([("radius = 0.5", "radius = 0.7")], [("radius = 0.5", "radius = 0.9")])
        for side, radius in (("mine", "0.7"), ("theirs", "0.9")):
            ran = self.run_tool("merge", "a.kns", "mine.kns", "theirs.kns", "--prefer", side)
            self.assertEqual(ran.returncode, 0)
            self.assertEqual(ran.stdout, SCENE.replace("radius = 0.5", f"radius = {radius}"))

    def test_a_node_that_is_preferred_keeps_its_place_and_what_leads_to_it(self):
        text = scene(xform("room", "a", "b"),
                     'node light "a" {\n    Real r = 1\n    output Real o\n}',
                     'node t "b" {\n    Real r = 1 <- a.o\n    Node n = a\n'
                     "    Array<Node> modifiers = [a]\n}")
        changed = text.replace("Real r = 1\n", "Real r = 2\n")
        self.file.write_text(text)
        for removal in (["edit", "-c", "remove a"], None):
            removed = self.folder / "removed.kns"
            removed.write_text(text)
            if removal:
                self.expect(0, removal[0], "removed.kns", *removal[1:])
            else:
                # As removing the node through the library leaves it.
                removed.write_text(scene(xform("room", "null", "b"), 'node t "b" {\n'
                                         "    Real r = 1\n    Node n = null\n"
                                         "    Array<Node> modifiers = [null]\n}"))
            (self.folder / "changed.kns").write_text(changed)
            for mine, theirs, side, expected in (
                    ("changed", "removed", "mine", changed),
                    ("changed", "removed", "theirs", removed.read_text()),
                    ("removed", "changed", "theirs", changed),
                    ("removed", "changed", "mine", removed.read_text())):
                with self.subTest(mine=mine, side=side, removal=removal):
                    ran = self.run_tool("merge", "a.kns", f"{mine}.kns", f"{theirs}.kns",
                                        "--prefer", side)
                    self.assertEqual((ran.returncode, ran.stdout), (0, expected))

    def test_trouble_is_2_and_writes_nothing(self):
        self.sides([("color = (0.8 0.6 0.4 1) <- wood.color", "color = (0.8 0.6 0.4 1)")])
        for arguments, error in (
                (["a.kns", "mine.kns", "gone.kns"], "cannot read 'gone.kns'"),
                (["a.kns", "mine.kns", "theirs.kns", "--prefer", "his"], "'his' is no side"),
                (["a.kns", "mine.kns", "theirs.kns", "--format", "json"], "use -o")):
            ran = self.run_tool("merge", *arguments)
            self.assertEqual((ran.returncode, ran.stdout), (2, ""))
            self.assertIn(error, ran.stderr)

    def test_sides_that_do_not_go_together_are_trouble(self):
        def text(first, second):
            return "kelvo scene 1\n\n" + "".join(
                f'node n "{name}" {{\n    Real r = 0{source}\n    output Real o\n}}\n'
                for name, source in (("a", first), ("b", second)))
        self.file.write_text(text("", ""))
        (self.folder / "mine.kns").write_text(text(" <- b.o", ""))
        (self.folder / "theirs.kns").write_text(text("", " <- a.o"))
        ran = self.run_tool("merge", "a.kns", "mine.kns", "theirs.kns", "-o", "mine.kns")
        self.assertEqual(ran.returncode, 2)
        self.assertIn("does not go together", ran.stderr)
        self.assertEqual((self.folder / "mine.kns").read_text(), text(" <- b.o", ""))


class Git(MergeTest):
    """Tests merges by git, in a repository that is set up with the commands of docs/git.md."""

    def setUp(self):
        super().setUp()
        self.environment = {"HOME": str(self.folder), "GIT_CONFIG_NOSYSTEM": "1",
                            "PATH": f"{os.path.dirname(tool())}:{os.environ['PATH']}"}
        self.git("init", "-q", "-b", "main")
        self.git("config", "user.name", "A")
        self.git("config", "user.email", "a@example.org")
        text = (ROOT / "docs" / "git.md").read_text()
        for line in re.findall(r"^    (git config .*)$", text, re.MULTILINE):
            self.git(*shlex.split(line)[1:])
        attributes = re.findall(r"^    (printf .* >\.gitattributes)$", text, re.MULTILINE)
        self.assertEqual(len(attributes), 1)
        subprocess.run(attributes[0], shell=True, check=True, cwd=self.folder)
        self.commit("Start")

    def git(self, *arguments, status=0):
        ran = subprocess.run(["git", *arguments], cwd=self.folder, env=self.environment,
                             capture_output=True, text=True, timeout=60)
        self.assertEqual(ran.returncode, status, ran.stdout + ran.stderr)
        return ran.stdout + ran.stderr

    def commit(self, message, text=None):
        if text is not None:
            self.file.write_text(text)
        self.git("add", ".")
        self.git("commit", "-q", "-m", message)

    def branch_off(self, theirs, mine):
        """Commits `theirs` on a branch and `mine` on main."""
        self.git("checkout", "-q", "-b", "side")
        self.commit("Theirs", theirs)
        self.git("checkout", "-q", "main")
        self.commit("Mine", mine)

    def test_lines_beside_each_other_are_merged(self):
        self.branch_off(SCENE.replace("count = 3", "count = 4"),
                        SCENE.replace("radius = 0.5", "radius = 0.7"))
        self.git("merge", "-q", "side", "-m", "Merge")
        self.assertEqual(self.file.read_text(),
                         SCENE.replace("radius = 0.5", "radius = 0.7")
                         .replace("count = 3", "count = 4"))
        self.assertEqual(self.git("status", "--porcelain"), "")

    def test_a_conflict_is_left_to_the_user_in_a_scene_that_reads(self):
        self.branch_off(SCENE.replace("radius = 0.5", "radius = 0.9"),
                        SCENE.replace("radius = 0.5", "radius = 0.7"))
        said = self.git("merge", "-q", "side", "-m", "Merge", status=1)
        self.assertIn("conflict: lamp.radius: base 0.5, mine 0.7, theirs 0.9", said)
        self.assertIn("CONFLICT (content): Merge conflict in a.kns", said)
        self.assertIn("UU a.kns", self.git("status", "--porcelain"))
        self.expect(0, "get", "a.kns", "lamp.radius", out="0.7\n")
        self.assertIn("# conflict: lamp.radius", self.file.read_text())

    def test_a_file_that_both_sides_added_is_merged_without_a_base(self):
        def added(name):
            (self.folder / "new.kns").write_text(f'kelvo scene 1\n\nnode n "{name}" {{\n}}\n')
        self.git("checkout", "-q", "-b", "side")
        added("theirs")
        self.commit("Theirs")
        self.git("checkout", "-q", "main")
        added("mine")
        self.commit("Mine")
        self.git("merge", "-q", "side", "-m", "Merge")
        self.assertEqual((self.folder / "new.kns").read_text(),
                         'kelvo scene 1\n\nnode n "mine" {\n}\n\nnode n "theirs" {\n}\n')

    def test_a_rebase_merges_too(self):
        self.branch_off(SCENE.replace("[lamp, desk]", "[lamp, desk, wood]"),
                        SCENE.replace("[lamp, desk]", "[desk, lamp]"))
        self.git("rebase", "-q", "main", "side")
        self.assertIn("children = [desk, wood, lamp]", self.file.read_text())

    def test_diffs_are_reported_by_meaning(self):
        self.file.write_text(SCENE.replace("radius = 0.5", "radius  =  0.7"))
        self.assertEqual(self.git("diff"), "a.kns\n~ lamp.radius: 0.5 -> 0.7\n")
        self.commit("Change")
        self.assertIn("~ lamp.radius: 0.5 -> 0.7\n", self.git("log", "-p", "--ext-diff", "-1"))
        self.git("rm", "-q", "a.kns")
        self.assertIn("\n- room: ", self.git("diff", "--cached"))


if __name__ == "__main__":
    main()
