#!/usr/bin/env python3
"""The scripts install missing packages; the test simulates dpkg-query and apt-get."""
import unittest

from small_tree import SmallTree


class Packages(SmallTree):
    def setUp(self):
        super().setUp()
        self.have("cmake")
        self.program("id", "echo 0")
        self.program("apt-get")
        self.script(self.tree / "scripts/try", 'source "$(dirname "$0")/lib.sh"',
                    'need_packages cmake zlib1g-dev', "echo done")

    def have(self, *names):
        self.script(self.programs / "dpkg-query", 'for name; do :; done', 'case " %s " in' %
                    " ".join(names), '*" $name "*) printf installed ;;', '*) exit 1 ;;', "esac")

    def installs(self):
        return [call for call in self.called() if call.startswith("apt-get") and "install" in call]

    def test_nothing_missing_calls_no_apt(self):
        self.have("cmake", "zlib1g-dev")
        ran = self.run_script("scripts/try")
        self.assertEqual((ran.returncode, ran.stdout), (0, "done\n"))
        self.assertEqual(self.installs(), [])

    def test_only_the_missing_is_installed(self):
        ran = self.run_script("scripts/try")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertIn("== Installing zlib1g-dev\n", ran.stdout)
        self.assertEqual(len(self.installs()), 1)
        self.assertTrue(self.installs()[0].endswith(" zlib1g-dev"), self.installs())

    def test_downloaded_files_are_not_kept(self):
        self.run_script("scripts/try")
        self.assertIn("APT::Keep-Downloaded-Packages=false", self.installs()[0])

    def test_without_lists_they_are_fetched_first(self):
        fetched = self.folder / "fetched"
        self.program("apt-get", f'case "$*" in *update*) touch {fetched} ;; esac',
                     f"[ -e {fetched} ]")
        ran = self.run_script("scripts/try")
        self.assertEqual((ran.returncode, len(self.installs())), (0, 2), ran.stdout)

    def test_unknown_package_tells_what_apt_said(self):
        self.program("apt-get", "echo 'dlstatus:1:2:x'", "echo 'E: Unable to locate zlib1g-dev'",
                     'case "$*" in *update*) exit 0 ;; esac', "exit 100")
        ran = self.run_script("scripts/try")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("\nE: Unable to locate zlib1g-dev\n", ran.stdout)
        self.assertNotIn("done", ran.stdout)

    def test_status_of_apt_is_shown_as_per_cent(self):
        self.program("apt-get", "echo 'Reading package lists...'",
                     "echo 'dlstatus:2:4.7619:Retrieving file 2 of 34 (1s remaining)'",
                     "echo 'pmstatus:zlib1g-dev:35.2:Unpacking zlib1g-dev (amd64)'")
        ran = self.run_script("scripts/try")
        self.assertIn("35% Unpacking zlib1g-dev (amd64)\n", ran.stdout)
        self.assertNotIn("Reading", ran.stdout)

    def test_user_without_sudo_learns_what_lacks(self):
        self.program("id", "echo 1000")
        ran = self.run_script("scripts/try")
        self.assertEqual(ran.returncode, 1)
        self.assertIn("Cannot install zlib1g-dev: this needs root or sudo.\n", ran.stdout)

    def test_user_with_sudo_uses_it(self):
        self.program("id", "echo 1000")
        self.program("sudo", '"$@"')
        ran = self.run_script("scripts/try")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertTrue(self.called()[-2].startswith("sudo env "), self.called())

    def test_machine_without_apt_learns_what_lacks(self):
        (self.programs / "apt-get").unlink()
        ran = self.run_script("scripts/try")
        self.assertIn("Cannot install zlib1g-dev: this machine has no apt-get.\n", ran.stdout)


if __name__ == "__main__":
    unittest.main()
