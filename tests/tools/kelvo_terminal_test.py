#!/usr/bin/env python3
"""The output of kelvo on a terminal. kelvo_terminal_test.py KELVO [unittest ...]"""
import os
import re
import stat
import time

from kelvo_tool import MODIFIED, READER, ToolTest, main, scene, xform

LONG = "word " * 60
WIDE = scene(xform("room", "lamp", "a_name_that_is_longer_than_most_others_are_on_any_given_day"),
             f"""\
node light "lamp" {{
    String text = "{LONG}"
    Real intensity = 0.5 <- power.result
    Buffer<Float> numbers = [{" ".join(str(i / 7) for i in range(50))}]
    Array<Node> many = [{", ".join(["room", "lamp"] * 20)}]
}}""", 'node realValue "power" {\n    Real value = 3\n    output Real result\n}',
             'node mesh "a_name_that_is_longer_than_most_others_are_on_any_given_day" {\n}')
COLOR = re.compile(r"\x1b\[[0-9;]*m")


def plain(text):
    return COLOR.sub("", text)


class TerminalTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.file.write_text(WIDE)

    def lines(self, columns, *arguments, **options):
        """Returns the lines that the terminal shows, without colours; checks that they fit."""
        text = plain(self.run_on_terminal(columns, *arguments, **options)[1])
        self.assertNotIn("\x1b", text)
        for line in text.splitlines():
            self.assertLessEqual(len(line), columns, line)
        return text.splitlines()


class Width(TerminalTest):
    COMMANDS = (["show", "a.kns"], ["stats", "a.kns"], ["find", "a.kns", "**"], ["check", "a.kns"],
                ["explain", "a.kns", "lamp.text"], ["explain", "a.kns", "lamp"], ["types"],
                ["diff", "a.kns", "b.kns"], ["help", "light"], ["help"], ["help", "find"],
                ["find", "--help"], ["--help"], ["deps", "a.kns", "room"], ["hash", "a.kns"],
                ["deps", "a.kns", "room", "--tree"], ["paths", "a.kns", "room", "--matrix"],
                ["show", "none.kns"], ["show", "a.kns", "--depth", "x"], ["check", "bad.kns"],
                ["library", "check", "none.knd"])

    def setUp(self):
        super().setUp()
        (self.folder / "b.kns").write_text(WIDE.replace("word", "text").replace("0.5", "0.75"))
        (self.folder / "bad.kns").write_text(WIDE.replace("Real value", "Reel value"))

    def test_every_line_fits(self):
        for command in self.COMMANDS:
            for columns in (20, 40, 60, 100):
                with self.subTest((command, columns)):
                    self.assertNotEqual(self.lines(columns, *command), [])

    def test_other_programs_get_lines_whole(self):
        for command in self.COMMANDS:
            with self.subTest(command):
                ran = self.run_tool(*command)
                status, seen, piped = self.run_on_terminal(40, *command, streams=(), COLUMNS="40")
                self.assertEqual((status, seen), (ran.returncode, ""))
                self.assertEqual(piped, ran.stdout + ran.stderr)
        self.assertIn(LONG[:60], self.run_tool("show", "a.kns").stdout)

    def test_a_wide_terminal_changes_nothing_but_colours(self):
        for command in (["show", "a.kns"], ["find", "a.kns", "**"], ["types"], ["stats", "a.kns"],
                        ["explain", "a.kns", "lamp.text"], ["diff", "a.kns", "b.kns"]):
            with self.subTest(command):
                self.assertEqual(self.lines(500, *command),
                                 self.run_tool(*command).stdout.splitlines())

    def test_long_values_are_shortened_and_the_rest_of_the_line_stays(self):
        self.assertIn("│      String text = \"word word word wo…", self.lines(40, "show", "a.kns"))
        self.file.write_text(scene('node t "n" {', f'    String s = "{LONG}" <- m.o', "}",
                                   'node t "m" {', "    output Real o", "}"))
        line, = self.lines(60, "find", "a.kns", "n.s")
        self.assertRegex(line, r'^n\.s \(String\) = "word [word ]+… <- m\.o$')
        self.assertEqual(len(line), 60)

    def test_of_two_long_values_both_are_shortened(self):
        lines = self.lines(90, "diff", "a.kns", "b.kns")
        text = next(line for line in lines if "lamp.text" in line)
        before, after = text.split(": ")[1].split(" -> ")
        self.assertLess(abs(len(before) - len(after)), 2)
        self.assertTrue(before.endswith("…") and after.endswith("…"), text)

    def test_tables_wrap_below_their_columns(self):
        lines = self.lines(50, "help", "paths")
        first = lines.index(" " * 16 + "The product of the matrices along")
        self.assertEqual(lines[first + 1], " " * 16 + "each path too, which takes points")
        self.assertEqual(lines[lines.index("  --all         Every link and connection, not") + 1],
                         " " * 16 + "only children")

    def test_deep_trees_leave_room_for_names(self):
        names = [f"n{i}" for i in range(60)]
        self.file.write_text(scene(*(xform(*pair) for pair in zip(names, names[1:])),
                                   xform(names[-1])))
        lines = self.lines(40, "show", "a.kns", "--no-values")
        self.assertEqual(len(lines), 60)
        self.assertRegex(lines[-1], r"\(58\) └─ n59 \(xform\)$")

    def test_wide_characters_take_two_columns(self):
        self.file.write_text(scene('node t "n" {', f'    String s = "{"漢字" * 40}"', "}"))
        line, = plain(self.run_on_terminal(40, "find", "a.kns", "n.s")[1]).splitlines()
        columns = sum(2 if c in "漢字" else 1 for c in line)
        self.assertLessEqual(columns, 40)
        self.assertGreaterEqual(columns, 38)

    def test_the_variable_counts_for_more_than_the_window(self):
        narrow = self.run_on_terminal(40, "find", "a.kns", "**")[1]
        self.assertEqual(self.run_on_terminal(200, "find", "a.kns", "**", COLUMNS="40")[1], narrow)
        for odd in ("", "0", "-4", "x", "40x"):
            with self.subTest(odd):
                self.assertEqual(self.run_on_terminal(40, "find", "a.kns", "**", COLUMNS=odd)[1],
                                 narrow)

    def test_a_terminal_without_a_width_has_the_usual_one(self):
        self.assertEqual(self.run_on_terminal(0, "find", "a.kns", "**")[1],
                         self.run_on_terminal(80, "find", "a.kns", "**")[1])

    def test_hardly_any_width_is_no_trouble(self):
        for columns in ("1", "2", "19"):
            with self.subTest(columns):
                self.assertEqual(
                    self.run_on_terminal(80, "show", "a.kns", COLUMNS=columns)[:2],
                    self.run_on_terminal(20, "show", "a.kns")[:2])

    def test_what_is_copied_stays_whole(self):
        (self.folder / "r.kns").write_text(READER)
        for command in (["get", "a.kns", "lamp.text"], ["get", "a.kns", "lamp"],
                        ["eval", "a.kns", "lamp.numbers"], ["get", "r.kns", "r.o"],
                        ["new", "light", "l"], ["set", "a.kns", "-o", "-", "power.value=4"],
                        ["diff", "a.kns", "b.kns", "--format", "json"], ["graph", "a.kns"],
                        ["check", "a.kns", "--format", "json"], ["help", "light", "-o", "-"],
                        ["merge", "a.kns", "a.kns", "b.kns"]):
            with self.subTest(command):
                seen = self.run_on_terminal(40, *command, streams=("out",))[1]
                self.assertEqual(seen, self.run_tool(*command).stdout)
                self.assertNotEqual(seen, "")


class Colors(TerminalTest):
    def test_errors_and_warnings_are_in_colour(self):
        self.assertEqual(self.run_on_terminal(80, "show", "none.kns")[:2], (
            1, "\x1b[1;31mkelvo:\x1b[0m cannot read 'none.kns': No such file or directory\n"))
        self.file.write_text(scene(xform("a", "null")))
        seen = self.run_on_terminal(200, "check", "a.kns")[1]
        self.assertIn("\x1b[1;33mkelvo: warning:\x1b[0m a.kns: node 'a'", seen)

    def test_colours_can_be_switched_off(self):
        for variables in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            for command in (["show", "none.kns"], ["show", "a.kns"], ["show"]):
                with self.subTest((variables, command)):
                    seen = self.run_on_terminal(80, *command, **variables)[1]
                    self.assertNotIn("\x1b", seen)
        self.assertIn("\x1b", self.run_on_terminal(80, "show", "none.kns", NO_COLOR="")[1])

    def test_each_stream_looks_at_itself(self):
        status, seen, piped = self.run_on_terminal(80, "show", "none.kns", streams=("out",))
        self.assertEqual((seen, piped),
                         ("", "kelvo: cannot read 'none.kns': No such file or directory\n"))
        status, seen, piped = self.run_on_terminal(40, "show", "a.kns", streams=("error",))
        self.assertEqual((status, seen, piped), (0, "", self.run_tool("show", "a.kns").stdout))

    def test_a_file_cannot_colour_messages(self):
        (self.folder / "x\x1b[31m.kns").write_text("x")
        seen = self.run_on_terminal(80, "show", "x\x1b[31m.kns", NO_COLOR="1")[1]
        self.assertIn("x?[31m.kns", seen)


class Hints(TerminalTest):
    def test_a_connection_that_gives_nothing_is_reported_to_people_alone(self):
        self.file.write_text(scene('node t "n" {', "    Real x = 0.5 <- m.o", "}",
                                   'node t "m" {', "    output Real o", "}"))
        self.expect(0, "get", "a.kns", "n.x", out="0.5\n")
        self.assertEqual(
            self.run_on_terminal(200, "get", "a.kns", "n.x", streams=("error",), NO_COLOR="1"),
            (0, "kelvo: note: 'n.x' gets no value through its connection: 'm.o' has none, and its "
             "node no eval callback to produce one.\n", "0.5\n"))


class Progress(TerminalTest):
    """Tests that a line shows that a long operation is running, and then vanishes."""

    ERASED = "\r\x1b[K"

    def draw(self, **options):
        """Draws with a slow program in place of Graphviz."""
        program = self.folder / "dot"
        program.write_text("#!/bin/sh\nsleep 1.2\necho '<svg></svg>' > graph.svg\n")
        program.chmod(program.stat().st_mode | stat.S_IXUSR)
        return self.run_on_terminal(60, "graph", "a.kns", "-o", "a.svg",
                                    PATH=f"{self.folder}:/usr/bin:/bin", **options)

    def test_it_appears_and_vanishes(self):
        status, seen, _ = self.draw()
        self.assertEqual(status, 0, seen)
        self.assertIn(self.ERASED + "kelvo: drawing a.kns ... 0 s", seen)
        self.assertIn(self.ERASED + "kelvo: drawing a.kns ... 1 s", seen)
        self.assertTrue(seen.endswith(self.ERASED), seen)

    def test_it_is_for_terminals_alone(self):
        self.assertEqual(self.draw(streams=("out",)), (0, "", ""))
        self.assertEqual(self.draw(TERM="dumb"), (0, "", ""))

    def test_it_fits_the_line(self):
        seen = self.draw(COLUMNS="24")[1]
        self.assertIn(self.ERASED + "kelvo: drawing  ... 1 s" + self.ERASED, seen)

    def test_short_works_show_none(self):
        for command in (["show", "a.kns"], ["check", "a.kns"], ["diff", "a.kns", "a.kns"],
                        ["merge", "a.kns", "a.kns", "a.kns", "-o", "b.kns"]):
            with self.subTest(command):
                self.assertNotIn("\r", self.run_on_terminal(80, *command)[1])

    def test_all_that_takes_long_tells_so(self):
        text = self.file.read_text()
        (self.folder / "b.kns").write_text(text.replace("0.5", "0.75"))
        slow = self.folder / "slow.kns"
        os.mkfifo(slow)

        def hold_up(running):
            """Lets the tool wait for its scene for longer than it takes to tell so."""
            with open(slow, "w", encoding="utf-8") as pipe:
                time.sleep(1.2)
                pipe.write(text)

        for command in (["stats", "slow.kns"], ["check", "slow.kns"],
                        ["diff", "b.kns", "slow.kns", "--quiet"],
                        ["merge", "b.kns", "a.kns", "slow.kns", "-o", "m.kns"]):
            with self.subTest(command):
                seen = self.run_on_terminal(80, *command, meanwhile=hold_up, NO_COLOR="1")[1]
                self.assertIn(self.ERASED + "kelvo: reading slow.kns ... 1 s", seen)
                left = re.sub(r"\r\x1b\[Kkelvo: [^\r\n]*(?=\r)", "", seen).replace(self.ERASED, "")
                self.assertEqual(left, self.run_on_terminal(80, *command, streams=(),
                                                            meanwhile=hold_up)[2])


if __name__ == "__main__":
    main()
