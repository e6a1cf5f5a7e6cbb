#!/usr/bin/env python3
"""The prompt of `kelvo edit` on a terminal. kelvo_prompt_test.py KELVO [unittest ...]"""
import os
import pty
import re
import select
import termios
import time

from kelvo_tool import SCENE, ToolTest, main, scene, tool

PROMPT = "kelvo> "
TAB, UP, INTERRUPT, END = "\t", "\x1b[A", "\x03", "\x04"
UNSAVED = "There are changes that are not saved: save, or leave with quit again or quit!."


def last_line(text):
    """Returns the last line that a terminal shows, after the sequences that move its cursor."""
    line, at = [], 0
    for move, column, erase, character in re.findall(
            r"(\x1b\[(\d+)G)|(\x1b\[K)|([^\x1b])", text):
        if move:
            at = int(column) - 1
        elif erase:
            del line[at:]
        elif character == "\n":
            line, at = [], 0
        elif character in "\r\b":
            at = 0 if character == "\r" else at - 1
        elif character != "\a":
            line[at:at + 1] = [character]
            at += 1
    return "".join(line)


class Prompt(ToolTest):
    def start(self, *arguments):
        self.seen = ""
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            os.environ.update(TERM="xterm", NO_COLOR="1", LC_ALL="C.UTF-8")
            os.execv(tool(), [tool(), "edit", "a.kns", *arguments])
        self.pid = pid
        self.addCleanup(os.close, self.terminal)
        self.wait_for(PROMPT)

    def wait_until(self, is_there, expected):
        """Reads until the text is sufficient; fails after a time limit."""
        end = time.monotonic() + 10
        while not is_there(self.seen):
            left = max(0, end - time.monotonic())
            self.assertTrue(select.select([self.terminal], [], [], left)[0],
                            f"'{expected}' did not come, but {self.seen!r}")
            self.seen += self.read_some(f"before '{expected}' the end came after {self.seen!r}")

    def wait_for(self, expected):
        """Reads and returns the output up to a text; the rest stays unread."""
        self.wait_until(lambda seen: expected in seen, expected)
        before, self.seen = self.seen.split(expected, 1)
        # The tool reads single keys only a moment after its prompt appears.
        while expected == PROMPT and termios.tcgetattr(self.terminal)[3] & termios.ICANON:
            time.sleep(0.001)
        return before + expected

    def wait_for_line(self, expected):
        """Waits until a text stands after the prompt, which was read before."""
        line = (PROMPT + expected).rstrip()
        self.wait_until(lambda seen: last_line(PROMPT + seen).rstrip() == line, expected)
        self.seen = ""

    def read_some(self, message):
        try:
            return os.read(self.terminal, 4096).decode()
        except OSError:
            return self.fail(message)

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def enter(self, line):
        """Types a line; returns the output up to the next prompt, without control sequences."""
        self.type(line + "\n")
        seen = self.wait_for("\r\n") + self.wait_for(PROMPT)
        seen = re.sub(r"\x1b\[[0-9;]*[A-Za-z]", "", seen)
        return seen.split("\r\n", 1)[1].rsplit(PROMPT, 1)[0].replace("\r\n", "\n")

    def status(self):
        """Waits for the end of the tool."""
        try:
            while os.read(self.terminal, 4096):
                pass
        except OSError:
            pass
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])

    def leave(self, line="quit!"):
        self.type(line + "\n")
        self.assertEqual(self.status(), 0)


class Completion(Prompt):
    def completed(self, keys, expected):
        self.type(keys + TAB)
        self.wait_for_line(expected)
        self.type(INTERRUPT)
        self.wait_for(PROMPT)

    def test_tab_ends_commands_names_and_paths(self):
        self.file.write_text(SCENE + 'node add "sum" {\n}\nnode pointLight "spot" {\n}\n')
        self.start()
        for keys, expected in (("ren", "ame "), ("rename la", "mp "), ("set la", "mp."),
                               ("set lamp.rad", "ius "), ("set lamp.shade.ti", "nt "),
                               ("get desk.weights[1", "] "), ("connect lamp.radius wo", "od."),
                               ("connect lamp.radius wood.", "color "), ("new pointL", "ight "),
                               ("link lamp.target des", "k "), ("add Buf", "fer "),
                               ("help hist", "ory "), ("undo; set desk.col", "or "),
                               ("set spot.inten", "sity "), ("connect lamp.radius sum.r", "esult "),
                               ("remove lamp.rad", "ius "), ("parent desk roo", "m ")):
            with self.subTest(keys):
                self.completed(keys, keys + expected)
        self.leave()

    def test_checkpoints_are_completed(self):
        self.start()
        self.enter("checkpoint before")
        self.completed("return be", "return before ")
        self.leave()

    def test_several_are_listed(self):
        self.start()
        self.type("set lamp." + TAB)
        self.wait_for("lamp.radius  lamp.count  lamp.target  ")
        self.type("rad" + TAB + "4")
        self.wait_for_line("set lamp.radius 4")
        self.enter("")
        self.assertEqual(self.enter("get lamp.radius"), "4\n")
        self.leave()

    def test_names_take_the_case_that_they_have(self):
        self.start()
        self.type("get LAMP.RAD" + TAB + "\n")
        self.wait_for("0.5")
        self.leave()


class Lines(Prompt):
    def test_arrow_up_brings_lines_back(self):
        self.start()
        self.enter("append desk.weights 4")
        self.enter("undo")
        self.type(UP + UP + "2")
        self.wait_for_line("append desk.weights 42")
        self.enter("")
        self.assertEqual(self.enter("get desk.weights"), "[1, 2, 3, 42]\n")
        self.leave()

    def test_the_interrupt_key_drops_the_line(self):
        self.start()
        self.type("remove lamp")
        self.wait_for("lamp")
        self.type(INTERRUPT)
        self.wait_for(PROMPT)
        self.assertEqual(self.enter("get lamp.radius"), "0.5\n")
        self.leave("quit")

    def test_a_wrong_command_is_reported_and_changes_nothing(self):
        self.start()
        self.assertEqual(self.enter("set lamp.count 4; set lamp.radus 2; remove lamp"),
                         "kelvo: 23: set: no input 'radus' in 'lamp': did you mean 'radius'?\n")
        self.assertEqual(self.enter("history"), "   1  set lamp.count 4\n")
        self.leave()

    def test_characters_beyond_ascii_are_taken(self):
        self.start()
        self.enter('set lamp.label "größer"')
        self.assertEqual(self.enter("get lamp.label"), "größer\n")
        self.leave()


class Steps(Prompt):
    def test_undo_and_redo_tell_the_steps(self):
        self.start()
        self.enter("set lamp.count 4")
        self.enter("remove desk")
        self.assertEqual(self.enter("undo 2"), "Undo: remove desk\nUndo: set lamp.count 4\n")
        self.assertEqual(self.enter("redo"), "set lamp.count 4\n")
        self.assertEqual(self.enter("history"),
                         "   1  set lamp.count 4\n   2  remove desk (undone)\n")
        self.leave()

    def test_the_name_of_a_copy_is_reported(self):
        self.start()
        self.assertEqual(self.enter("clone wood"), "wood1\n")
        self.leave()

    def test_conversion_takes_the_types_of_its_node(self):
        self.file.write_text(scene('node add "sum" {\n    Real a = 2\n}'))
        self.start()
        self.enter("set sum.a 3")
        self.assertEqual(self.enter("convert sum multiply"), "")
        self.assertEqual(self.enter("get sum.b"), "0\n")
        self.assertEqual(self.enter("get sum.a"), "3\n")
        self.assertEqual(self.enter("undo 2"),
                         "Undo: convert sum multiply\nUndo: set sum.a 3\n")
        self.leave()


class Leaving(Prompt):
    def test_without_changes_one_quit_is_enough(self):
        self.start()
        self.leave("quit")
        self.assertEqual(self.file.read_text(), SCENE)

    def test_changes_that_are_not_saved_are_reported_once(self):
        self.start()
        self.enter("set lamp.count 4")
        self.assertEqual(self.enter("quit"), UNSAVED + "\n")
        self.enter("get lamp.count")
        self.assertEqual(self.enter("quit"), UNSAVED + "\n")
        self.leave("quit")
        self.assertEqual(self.file.read_text(), SCENE)

    def test_the_end_of_the_input_is_like_quit(self):
        self.start()
        self.enter("set lamp.count 4")
        self.type(END)
        self.wait_for(UNSAVED)
        self.wait_for(PROMPT)
        self.type(END)
        self.assertEqual(self.status(), 0)

    def test_saved_changes_are_in_the_file(self):
        self.start()
        self.enter("set lamp.count 4; save")
        self.assertEqual(self.file.read_text(), SCENE.replace("count = 3", "count = 4"))
        self.leave("quit")

    def test_changes_that_are_undone_need_no_saving(self):
        self.start()
        self.enter("set lamp.count 4; undo")
        self.leave("quit")

    def test_undone_behind_a_save_is_a_change(self):
        self.start()
        self.enter("set lamp.count 4; save; undo")
        self.assertEqual(self.enter("quit"), UNSAVED + "\n")
        self.leave("quit!")

    def test_a_copy_does_not_count_as_saved(self):
        self.start()
        self.enter("set lamp.count 4; save b.kns")
        self.assertIn("count = 4", (self.folder / "b.kns").read_text())
        self.assertEqual(self.enter("quit"), UNSAVED + "\n")
        self.leave()

    def test_a_save_that_fails_is_reported_and_the_prompt_stays(self):
        self.start()
        self.enter("set lamp.count 4")
        self.assertEqual(self.enter("save no/b.kns"),
                         "kelvo: cannot write 'no/b.kns': No such file or directory\n"
                         "kelvo: 1: save: nothing was written.\n")
        self.leave()

    def test_what_another_wrote_meanwhile_is_not_written_over(self):
        self.start()
        self.enter("set lamp.count 4; save; set lamp.count 5")
        other = self.file.read_text().replace("count = 4", "count = 9")
        self.expect(0, "set", "a.kns", "lamp.count=9")
        self.assertEqual(self.enter("save"),
                         "kelvo: cannot write 'a.kns': it was changed by someone else since it was "
                         "read\nkelvo: 1: save: nothing was written.\n")
        self.enter("save b.kns")
        self.leave()
        self.assertEqual(self.file.read_text(), other)
        self.assertIn("count = 5", (self.folder / "b.kns").read_text())

    def test_another_file_takes_what_is_saved(self):
        self.start("-o", "b.kns")
        self.enter("set lamp.count 4; save")
        self.leave("quit")
        self.assertEqual(self.file.read_text(), SCENE)
        self.assertIn("count = 4", (self.folder / "b.kns").read_text())


if __name__ == "__main__":
    main()
