#!/usr/bin/env python3
"""The figures of docs/performance.md: their measurement, the pictures, the tables of the page."""
import contextlib
import io
import json
import shutil
import sys
import unittest
import xml.etree.ElementTree as ET
from unittest import mock

from simulated_bench import ROOT, SimulatedBench

sys.path.insert(0, str(ROOT / "scripts"))
import benchmarks  # noqa: E402
import chart  # noqa: E402
import figures as figures_script  # noqa: E402
import performance_page  # noqa: E402
import performance_rows  # noqa: E402

SVG = "{http://www.w3.org/2000/svg}"
LARGEST = f"{performance_rows.LARGE}/1000000"


def figures():
    """Returns figures for every row, with numbers that differ from row to row."""
    rows = sorted(performance_rows.all_rows())
    counters = ["ns", *performance_page.LARGE_COUNTERS, "peak_gib", "heap_bytes_per_node",
                "heap_bytes_per_input", "heap_bytes_per_element", "graph_bytes_per_node",
                "graph_bytes_per_link", "graph_percent"]
    return {row: {counter: 10.5 + place for counter in counters}
            for place, row in enumerate(rows)}


def texts(svg):
    return [element.text for element in ET.fromstring(svg).iter(SVG + "text")]


class Pictures(unittest.TestCase):
    def setUp(self):
        self.recorded = {"walk/1000": {"coin": 0.25, "osg": 8}, "walk/90": {"coin": 1},
                         "a<b>&c": {"osg": 0.00012}}
        self.drawn = performance_page.pictures(self.recorded, figures())

    def test_are_well_formed_with_title_and_description(self):
        for name, svg in self.drawn.items():
            root = ET.fromstring(svg)
            self.assertEqual(root.tag, SVG + "svg", name)
            self.assertTrue(root.find(SVG + "title").text, name)
            self.assertTrue(root.find(SVG + "desc").text, name)

    def test_ratios_show_each_row_by_name_and_size(self):
        shown = [text for text in texts(self.drawn["ratios.svg"]) if text in self.recorded]
        self.assertEqual(shown, ["a<b>&c", "walk/90", "walk/1000"])

    def test_ratios_show_each_number_and_peer(self):
        shown = texts(self.drawn["ratios.svg"])
        for text in ("0.25", "8.0", "1.0", "0.00012", "Coin", "OpenSceneGraph"):
            self.assertIn(text, shown)

    def test_growth_labels_each_line(self):
        for name, lines in (("growth-scene.svg", performance_rows.SCENE_LINES),
                            ("growth-node.svg", performance_rows.NODE_LINES)):
            shown = texts(self.drawn[name])
            for line in lines:
                self.assertIn(line.label, shown)

    def test_growth_names_its_units(self):
        shown = texts(self.drawn["growth-scene.svg"])
        for text in ("nodes in the scene", "1,000,000", "10 ns"):
            self.assertIn(text, shown)

    def test_are_for_light_and_dark_pages(self):
        for svg in self.drawn.values():
            self.assertIn("prefers-color-scheme: dark", svg)

    def test_bars_to_the_left_are_faster(self):
        svg = chart.bars("", "", {"a": {"k": 0.1}, "b": {"k": 10}}, {"k": "K"})
        bars = [element for element in ET.fromstring(svg).iter(SVG + "rect")
                if element.get("height") == "11"]
        faster, slower = (float(bar.get("x")) for bar in bars)
        self.assertAlmostEqual(faster + float(bars[0].get("width")), slower, places=1)

    def test_labels_do_not_overlap(self):
        for places, expected in (([0, 50], [0, 50]), ([0, 1, 2], [0, 10, 20]),
                                 ([90, 95, 99], [80, 90, 100]), ([], [])):
            self.assertEqual(chart.spread(places, 10, 100), expected)


class Results(SimulatedBench):
    def test_are_the_median_of_the_repetitions(self):
        found = [{"cpu_time": time} for time in (50, 10, 11)]
        self.assertEqual(benchmarks.median_of(found), {"cpu_time": 11})

    def test_that_fail_once_are_failed(self):
        failed = {"error_occurred": True, "error_message": "wrong"}
        self.assertEqual(benchmarks.median_of([{"cpu_time": 1}, failed, {"cpu_time": 2}]), failed)

    def test_about_memory_are_those_of_the_first_run(self):
        for row, expected in (("memory_input", 1), (LARGEST, 1), ("get_value_float", 3)):
            self.assertEqual(benchmarks.repetitions_of(row), expected, row)

    def test_of_all_repetitions_do_not_count_as_rows(self):
        found = benchmarks.results(self.program("bench", {"a": 5}), ["a"], "0.1")
        self.assertEqual(list(found), ["a"])


class Texts(unittest.TestCase):
    def test_numbers_have_units(self):
        for number, expected in ((0.27, "0.27 ns"), (17.55, "17.6 ns"), (999.6, "1000 ns"),
                                 (4200, "4.2 µs"), (1.5e9, "1.5 s")):
            self.assertEqual(benchmarks.time_text(number), expected)
        self.assertEqual(benchmarks.bytes_text(3 * 2**29), "1.5 GiB")


class Page(unittest.TestCase):
    def test_tables_replace_the_old_ones(self):
        text = "a\n<!-- t: begin -->\nold\n<!-- t: end -->\nb\n"
        self.assertEqual(performance_page.with_table(text, "t", ["new", "lines"]),
                         "a\n<!-- t: begin -->\nnew\nlines\n<!-- t: end -->\nb\n")

    def test_page_without_marks_is_refused(self):
        with self.assertRaisesRegex(benchmarks.BenchmarkError, 'no marks "<!-- t: begin -->"'):
            performance_page.with_table("a\n", "t", [])

    def test_costs_list_each_operation(self):
        table = "\n".join(performance_page.costs_table(figures()))
        for _, costs in performance_rows.COSTS:
            for cost in costs:
                self.assertIn(f"| {cost.operation} | ", table)

    def test_costs_are_those_of_one_operation(self):
        found = figures() | {"undo_set_value/undo_redo": {"ns": 300.0}}
        self.assertIn("| undo or redo it | 150 ns |",
                      "\n".join(performance_page.costs_table(found)))

    def test_largest_scene_may_be_missing(self):
        found = figures()
        del found[LARGEST]
        self.assertNotIn("| 1,000,000 |", "\n".join(performance_page.large_table(found)))
        performance_page.pictures({"a": {"coin": 1}}, found)

    def test_missing_row_is_named(self):
        with self.assertRaisesRegex(benchmarks.BenchmarkError, '"ns" of get_value_float'):
            performance_page.costs_table({})


class Files(SimulatedBench):
    """The script in a small tree of recorded files and the page."""

    def setUp(self):
        super().setUp()
        for folder in ("bench", "docs"):
            (self.folder / folder).mkdir()
        shutil.copy(ROOT / performance_page.PAGE, self.folder / "docs")
        self.write("ratios.json", {"ratios": {"a": {"coin": 2}}})
        self.write("figures.json", {"rows": figures()})

    def write(self, name, contents):
        (self.folder / "bench" / name).write_text(json.dumps(contents), encoding="utf-8")

    def page(self, *options):
        return self.script("performance_page.py", *options, self.folder)

    def test_are_written_once_and_then_up_to_date(self):
        self.assertEqual(self.page("--check").returncode, 1)
        self.assertEqual(self.page().returncode, 0)
        self.assertEqual(self.page("--check").returncode, 0)

    def test_check_names_the_file_that_is_out_of_date(self):
        self.page()
        self.write("ratios.json", {"ratios": {"a": {"coin": 3}}})
        ran = self.page("--check")
        self.assertEqual((ran.returncode, ran.stdout),
                         (1, "docs/pictures/ratios.svg is not up to date; "
                             "run scripts/performance_page.py\n"))

    def test_broken_figures_are_told(self):
        for text, message in (("{", "cannot be read"), ("[]", 'has no table "rows"')):
            (self.folder / "bench/figures.json").write_text(text, encoding="utf-8")
            ran = self.page()
            self.assertEqual(ran.returncode, 1)
            self.assertIn(message, ran.stdout)
            self.assertIn("Record it anew with scripts/bench --figures", ran.stdout)

    def test_of_the_tree_are_up_to_date(self):
        ran = self.script("performance_page.py", "--check")
        self.assertEqual((ran.returncode, ran.stdout), (0, ""))


class Measuring(SimulatedBench):
    def setUp(self):
        super().setUp()
        self.rows = {"a": 5, "b": 6, LARGEST: 7}
        self.file = self.folder / "figures.json"

    def measure(self):
        """Measures three rows with the page's script; returns its status and its output."""
        said = io.StringIO()
        with (mock.patch("performance_rows.all_rows", lambda: {"a", "b", LARGEST}),
              contextlib.redirect_stdout(said)):
            status = figures_script.main(["--figures", str(self.file), "--rounds", "1",
                                          self.program("bench", self.rows)])
        return status, said.getvalue()

    def test_records_nanoseconds_and_counters_of_each_row(self):
        self.rows["b"] = {"heap_bytes_per_node": 17, "iterations": 9}
        self.rows["other"] = 1
        self.assertEqual(self.measure()[0], 0)
        self.assertEqual(json.loads(self.file.read_text())["rows"], {
            "a": {"ns": 5000.0}, "b": {"ns": 1000.0, "heap_bytes_per_node": 17.0},
            LARGEST: {"ns": 7000.0}})

    def test_scene_that_does_not_fit_is_left_out(self):
        self.rows[LARGEST] = "there is not enough free memory"
        status, said = self.measure()
        self.assertEqual(status, 0, said)
        self.assertIn(f"left out: {LARGEST}: there is not enough free memory", said)
        self.assertNotIn(LARGEST, json.loads(self.file.read_text())["rows"])

    def test_row_that_fails_or_is_missing_records_nothing(self):
        self.rows["a"] = "wrong count"
        del self.rows["b"]
        status, said = self.measure()
        self.assertEqual((status, self.file.exists()), (1, False))
        for line in ("left out: a: wrong count", "left out: b: no program has this row",
                     "Nothing was recorded."):
            self.assertIn(line, said)


if __name__ == "__main__":
    unittest.main()
