#!/usr/bin/env python3
"""scripts/bench builds what it runs; the scripts that measure and draw are simulated."""
import sys
import unittest

from small_tree import SmallTree

# Notes how it was called, and fails as the test asks.
SIMULATED = """import os, pathlib, sys
name = pathlib.Path(__file__).name
with open({calls!r}, "a") as calls:
    calls.write(" ".join([name, *sys.argv[1:]]) + "\\n")
measures = any("_bench" in each for each in sys.argv)
print("round 1 of 1: a\\n\\nthe table" if measures else "", end="\\n" if measures else "")
sys.exit(int(os.environ.get("FAILS", "0")) if measures else {status})
"""


class Bench(SmallTree):
    def setUp(self):
        super().setUp()
        (self.programs / "python3").symlink_to(sys.executable)
        self.script(self.programs / "dpkg-query", "printf installed")
        self.program("cmake")
        for name in ("peers", "figures", "performance_page"):
            self.simulate(name, 0)

    def simulate(self, name, status):
        text = SIMULATED.format(calls=str(self.calls), status=status)
        (self.tree / f"scripts/{name}.py").write_text(text, encoding="utf-8")

    def bench(self, *arguments, **variables):
        environment = self.environment(**variables)
        self.environment = lambda: environment
        return self.run_script("scripts/bench", *arguments)

    def measured(self):
        return [call for call in self.called() if not call.startswith("cmake")]

    def test_peers_are_built_and_compared(self):
        ran = self.bench("--against", "peers", "--rounds", "3")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertTrue(ran.stdout.endswith("\nthe table\n"), ran.stdout)
        self.assertIn("cmake --build build/peers", self.called())
        self.assertEqual(self.measured(), [
            "peers.py --rounds 3",
            "peers.py --rounds 3 build/release/bench/sdk_bench coin=build/peers/coin_bench "
            "osg=build/peers/osg_bench"])

    def test_comparison_that_fails_ends_with_status_1(self):
        ran = self.bench("--against", "peers", FAILS="1")
        self.assertEqual(ran.returncode, 1)
        self.assertTrue(ran.stdout.endswith("\nthe table\n"), ran.stdout)

    def test_what_is_recorded_is_drawn(self):
        self.bench("--against", "peers", "--record")
        self.assertEqual(self.measured()[-1], "performance_page.py")

    def test_wrong_call_is_refused_before_the_build(self):
        self.simulate("peers", 2)
        ran = self.bench("--against", "peers", "--rounds", "0")
        self.assertEqual((ran.returncode, self.called()), (2, ["peers.py --rounds 0"]))

    def test_only_peers_can_be_compared_with(self):
        for arguments in (("--against",), ("--against", "others")):
            ran = self.run_script("scripts/bench", *arguments)
            self.assertEqual((ran.returncode, self.called()), (2, []))
            self.assertIn("usage: scripts/bench --against peers", ran.stdout)

    def test_figures_are_measured_and_drawn(self):
        ran = self.bench("--figures")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertEqual(self.measured(), [
            "figures.py",
            "figures.py build/release/bench/sdk_bench build/release/bench/large_scene",
            "performance_page.py"])
        self.assertNotIn("cmake --build build/peers", self.called())

    def test_only_the_comparison_needs_packages_of_peers(self):
        lists = (self.tree / "scripts/packages.sh").read_text(encoding="utf-8")
        self.assertIn("\npeer_packages=(libcoin-dev libopenscenegraph-dev)\n", lists)
        for script in self.tree.glob("scripts/*"):
            if script.is_file() and script.name not in ("bench", "packages.sh"):
                self.assertNotIn("peer_packages", script.read_text(encoding="utf-8"), script)


if __name__ == "__main__":
    unittest.main()
