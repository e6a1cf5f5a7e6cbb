#!/usr/bin/env python3
"""scripts/peers.py compares programs in turn, by ratio, and fails for a ratio that became worse."""
import json
import unittest

from simulated_bench import SimulatedBench

BROKEN = (
    ("no JSON", '{"ratios": ', "cannot be read: Expecting value"),
    ("no table", '{"about": ""}', 'has no table "ratios"'),
    ("a list", "[]", 'has no table "ratios"'),
    ("a row without peers", '{"ratios": {"a": 1}}', 'has no table "ratios"'),
    ("a text", '{"ratios": {"a": {"coin": "1"}}}', "the ratio of a to coin is no number above 0"),
    ("zero", '{"ratios": {"a": {"coin": 0}}}', "the ratio of a to coin is no number above 0"),
    ("not a number", '{"ratios": {"a": {"coin": NaN}}}', "is no number above 0"),
)


class Comparing(SimulatedBench):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "ratios.json"

    def recorded(self, **rows):
        self.file.write_text(json.dumps({"ratios": rows}), encoding="utf-8")

    def compare(self, ours, peers, *options):
        """Compares {row: value} of ours with {peer: {row: value}}; one round unless told else."""
        rounds = () if "--rounds" in options else ("--rounds", "1")
        programs = [f"{peer}={self.program(peer, rows)}" for peer, rows in peers.items()]
        return self.script("peers.py", "--ratios", self.file, *rounds, *options,
                           self.program("ours", ours), *programs)

    def compare_a(self, ours, *options):
        """Compares a row "a" that takes a peer 100."""
        return self.compare({"a": ours}, {"coin": {"a": 100}}, *options)


class Ratios(Comparing):
    def test_same_ratio_passes(self):
        self.recorded(a={"coin": 0.5})
        ran = self.compare_a(50)
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertRegex(ran.stdout, r"\na +50 µs +100 µs +0\.5 +0\.5\n")
        self.assertTrue(ran.stdout.endswith("1 ratios of 1 rows, 0 findings\n"), ran.stdout)

    def test_more_than_a_quarter_worse_fails(self):
        self.recorded(a={"coin": 0.8})
        for ours, status in ((10, 0), (99, 0), (100, 0), (101, 1), (500, 1)):
            self.assertEqual(self.compare_a(ours).returncode, status, ours)

    def test_worse_row_is_named_with_both_ratios(self):
        self.recorded(a={"coin": 0.5})
        ran = self.compare_a(100)
        self.assertIn("\nworse: a against coin: 1, recorded 0.5, 100 % worse\n", ran.stdout)

    def test_row_that_looks_worse_is_measured_again(self):
        self.recorded(a={"coin": 0.5})
        ran = self.compare_a([100, 50, 50])
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertEqual(len(self.runs_made()), 6)

    def test_each_peer_has_its_ratio(self):
        self.recorded(a={"coin": 1, "osg": 0.1})
        ran = self.compare({"a": 10}, {"coin": {"a": 10}, "osg": {"a": 20}})
        self.assertEqual(ran.returncode, 1)
        self.assertIn("worse: a against osg", ran.stdout)
        self.assertNotIn("worse: a against coin", ran.stdout)

    def test_ratio_is_that_of_the_medians_over_the_rounds(self):
        ran = self.compare_a([10, 500, 20], "--rounds", "3", "--record")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertEqual(json.loads(self.file.read_text())["ratios"], {"a": {"coin": 0.2}})

    def test_programs_run_in_turn_row_by_row(self):
        rows = {"a/1": 1, "a/10": 1, "b": 1}
        self.compare(rows, {"coin": rows}, "--rounds", "2", "--record")
        self.assertEqual(self.runs_made(), ["a/1 a/10", "a/1 a/10", "b", "b"] * 2)

    def test_memory_is_compared_by_bytes(self):
        bytes_of = "heap_bytes_per_node"
        self.compare({"memory/iterations:1": {bytes_of: 4096}},
                     {"coin": {"memory/iterations:1": {bytes_of: 1024}}}, "--record")
        self.assertEqual(json.loads(self.file.read_text())["ratios"], {"memory": {"coin": 4.0}})

    def test_row_that_a_peer_lacks_is_named(self):
        self.recorded(a={"coin": 1, "osg": 1}, b={"coin": 1})
        ran = self.compare({"a": 1, "b": 1, "c": 1}, {"coin": {"a": 1, "b": 1}, "osg": {"a": 1}})
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertIn("\nmissing: osg has no b\n", ran.stdout)

    def test_row_that_only_a_peer_has_is_named(self):
        self.recorded(a={"coin": 1})
        ran = self.compare({"a": 1}, {"coin": {"a": 1, "b": 1}})
        self.assertIn("\nmissing: kelvo has no b\n", ran.stdout)

    def test_recorded_row_that_is_not_measured_fails(self):
        self.recorded(a={"coin": 1}, gone={"coin": 1})
        ran = self.compare_a(100)
        self.assertEqual(ran.returncode, 1)
        self.assertIn("missing: gone against coin is recorded but was not measured", ran.stdout)
        self.assertEqual(self.compare_a(100, "--filter", "^a$").returncode, 0)

    def test_row_that_is_not_recorded_passes_and_is_named(self):
        self.recorded()
        ran = self.compare_a(100)
        self.assertEqual(ran.returncode, 0)
        self.assertIn("\nnot recorded yet: a\n", ran.stdout)

    def test_row_that_fails_is_named_with_its_message(self):
        self.recorded(a={"coin": 1})
        ran = self.compare_a("wrong count")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("failed: a of kelvo: wrong count", ran.stdout)

    def test_program_that_ends_early_is_named(self):
        self.recorded(a={"coin": 1})
        ran = self.compare({"a": 1}, {"coin": {"a": "crash"}})
        self.assertEqual(ran.returncode, 1)
        self.assertRegex(ran.stdout, r"failed: a of coin: \S+coin ended with status 3")


class RatiosFile(Comparing):
    def test_without_the_file_nothing_is_measured(self):
        ran = self.compare_a(100)
        self.assertEqual((ran.returncode, self.runs_made()), (1, []))
        self.assertIn("ratios.json is missing. Record it with scripts/bench --against peers "
                      "--record", ran.stdout)

    def test_broken_file_is_told_and_nothing_is_measured(self):
        for note, text, message in BROKEN:
            with self.subTest(note):
                self.file.write_text(text, encoding="utf-8")
                ran = self.compare_a(100)
                self.assertEqual((ran.returncode, self.runs_made()), (1, []))
                self.assertIn(message, ran.stdout)
                self.assertIn("Record it anew with scripts/bench", ran.stdout)

    def test_call_without_programs_checks_the_file(self):
        self.recorded(a={"coin": 1})
        self.assertEqual(self.script("peers.py", "--ratios", self.file).returncode, 0)
        self.file.write_text("{", encoding="utf-8")
        self.assertEqual(self.script("peers.py", "--ratios", self.file).returncode, 1)

    def test_record_sorts_rows_and_keeps_four_digits(self):
        self.compare({"b": 1, "a": 2}, {"coin": {"a": 3, "b": 3}}, "--record")
        text = self.file.read_text(encoding="utf-8")
        self.assertEqual(json.loads(text)["ratios"], {"a": {"coin": 0.6667}, "b": {"coin": 0.3333}})
        self.assertLess(text.index('"a"'), text.index('"b"'))
        self.assertNotIn(str(self.folder), text)

    def test_record_with_a_filter_keeps_the_other_rows(self):
        self.recorded(a={"coin": 9}, b={"coin": 9})
        self.compare({"a": 1, "b": 1}, {"coin": {"a": 1, "b": 1}}, "--record", "--filter", "a")
        self.assertEqual(json.loads(self.file.read_text())["ratios"],
                         {"a": {"coin": 1.0}, "b": {"coin": 9}})

    def test_record_of_a_failed_row_keeps_the_file(self):
        self.recorded(a={"coin": 9})
        before = self.file.read_text(encoding="utf-8")
        ran = self.compare_a("wrong count", "--record")
        self.assertEqual((ran.returncode, self.file.read_text(encoding="utf-8")), (1, before))
        self.assertIn("Nothing was recorded.", ran.stdout)


class Calls(Comparing):
    def test_wrong_options_are_told_the_usage(self):
        for options in (("--rounds", "0"), ("--rounds", "x"), ("--filter", "("), ("--fast",)):
            ran = self.script("peers.py", *options)
            self.assertEqual(ran.returncode, 2, options)
            self.assertIn("usage: scripts/bench --against peers [--rounds N]", ran.stdout)

    def test_filter_that_matches_no_row_is_told(self):
        self.recorded(a={"coin": 1})
        ran = self.compare_a(100, "--filter", "xyz")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("No row that can be compared matches 'xyz'", ran.stdout)


if __name__ == "__main__":
    unittest.main()
