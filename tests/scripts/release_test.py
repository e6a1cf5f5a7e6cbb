#!/usr/bin/env python3
"""The scripts that build release: their configuration, and their messages at the end."""
import json
import os
import subprocess
import unittest

from small_tree import ROOT, SmallTree

INSTALLED = ("/lib/libkelvo_sdk.so", "/bin/kelvo")


class Release(SmallTree):
    def setUp(self):
        super().setUp()
        self.script(self.programs / "dpkg-query", "printf installed")
        self.script(self.tree / "scripts/main_job.sh", "echo the main job")
        manifest = self.tree / "build/release/install_manifest.txt"
        self.program("cmake", f"[ $1 = --install ] && mkdir -p {manifest.parent} &&",
                     *(f"echo $4{name} >>{manifest} &&" for name in INSTALLED), "true", "exit 0")
        self.program("ldconfig")

    def refused(self, *arguments, **options):
        """Returns the message of scripts/install when it stops before the build."""
        ran = self.run_script("scripts/install", *arguments, **options)
        self.assertEqual(self.called(), [])
        return ran.returncode, ran.stdout

    def test_preset_needs_no_package_for_benchmarks(self):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        release = next(preset for preset in presets if preset["name"] == "release")
        self.assertEqual(release["cacheVariables"]["KELVO_BUILD_BENCH"], "OFF")

    def test_bench_switches_benchmarks_on(self):
        self.script(self.tree / "build/release/bench/base_bench", "echo measured $*")
        ran = self.run_script("scripts/bench", "--benchmark_filter=a")
        self.assertIn("-DKELVO_BUILD_BENCH=ON", self.called()[0])
        self.assertIn("--benchmark_filter=a", ran.stdout)

    def test_run_ends_by_saying_where_the_program_is(self):
        ran = self.run_script("scripts/run")
        self.assertEqual(ran.stdout.splitlines()[-1],
                         f"The program is {self.tree}/build/release/tools/kelvo/kelvo")

    def test_run_without_main_job_fails(self):
        self.script(self.tree / "scripts/main_job.sh", "exit 1")
        ran = self.run_script("scripts/run")
        self.assertEqual(ran.returncode, 1)
        self.assertNotIn("The program is", ran.stdout)

    def test_build_that_fails_tells_the_errors_alone(self):
        self.program("cmake", "[ $1 = --build ] || exit 0", "echo '[1/2] Building CXX object a.o'",
                     "echo 'a.cpp:1: error: no'", "exit 1")
        ran = self.run_script("scripts/run")
        self.assertEqual(ran.returncode, 1)
        self.assertTrue(ran.stdout.endswith("[1/2] a\na.cpp:1: error: no\n"), ran.stdout)

    def test_install_goes_to_the_prefix(self):
        ran = self.run_script("scripts/install", str(self.folder / "to"))
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertEqual(self.called()[-1],
                         f"cmake --install build/release --prefix {self.folder}/to")
        for told in ("/to/bin/kelvo", "-DCMAKE_PREFIX_PATH=", "PKG_CONFIG_PATH="):
            self.assertIn(told, ran.stdout)

    def test_install_counts_a_folder_from_where_it_is_called(self):
        ran = self.run_script("scripts/install", "to/../there", cwd=self.folder)
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertTrue(self.called()[-1].endswith(f" --prefix {self.folder}/there"))

    def test_install_below_a_file_is_refused_first(self):
        self.assertEqual(self.refused(f"{self.calls}/to"), (
            1, f"Cannot install into {self.calls}/to: {self.calls} is not a folder.\n"))

    def test_install_where_one_may_not_write_is_refused_first(self):
        locked = self.folder / "locked"
        locked.mkdir(mode=0o555)
        self.folder.chmod(0o755)
        (self.tree / "build").mkdir()
        other = {"user": 65534} if os.geteuid() == 0 else {}
        status, said = self.refused(str(locked / "to"), cwd=self.folder, **other)
        self.assertEqual(status, 1)
        self.assertIn(f"Cannot install into {locked}/to: you may not write to {locked}.\n", said)

    def test_install_wrong_calls_show_the_usage(self):
        for arguments in (["a", "b"], ["--prefix=/usr"]):
            status, said = self.refused(*arguments)
            self.assertEqual(status, 2)
            self.assertIn("usage: scripts/install [PREFIX]", said)


if __name__ == "__main__":
    unittest.main()
