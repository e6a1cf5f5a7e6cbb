#!/usr/bin/env python3
"""scripts/bare says why no root can be made, reports a failure inside differently, and leaves no
files. The machine is simulated: its apt, its mounts, and the programs in the root."""
import subprocess
import time
import unittest

from small_tree import SmallTree

SOURCES = ("http://mirror.test/debian bookworm main\n"
           "http://mirror.test/debian bookworm-updates main\n"
           "http://mirror.test/debian trixie main\n"
           "http://mirror.test/safe bookworm-security main")


class Bare(SmallTree):
    def setUp(self):
        super().setUp()
        git = ["git", "-c", "user.name=A", "-c", "user.email=a@b.test", "-C", str(self.tree)]
        for command in (["init", "-q"], ["add", "scripts"], ["commit", "-q", "-m", "All"]):
            subprocess.run(git + command, check=True, env=self.environment())
        self.program("id", "echo 0")
        self.program("chroot")
        self.script(self.programs / "dpkg-query", 'case "$*" in',
                    "*--admindir*) printf '.\\n.\\n' ;;", "*) printf installed ;;", "esac")
        self.sources(SOURCES)
        self.mounts()

    def sources(self, text):
        self.program("apt-get", 'case "$*" in *indextargets*)', f"cat <<'S'\n{text}\nS", ";; esac")

    def mounts(self, make="", run=""):
        """Simulates the making of the root, and the script that runs there."""
        self.program("unshare", "shift 3; [ $1 != mount ] || exit 0",
                     "[ $1 != --kill-child ] || shift",
                     "step=$3 root=$4/root", 'mkdir -p "$root/var/log"',
                     'case $step in', f"make) cp $4/sources {self.folder}/sources; {make} ;;",
                     f"run) {run} ;;", "esac")

    def expect_skip(self, reason):
        ran = self.run_script("scripts/bare")
        self.assertEqual(ran.returncode, 77, ran.stdout)
        self.assertEqual(ran.stdout.splitlines()[-1],
                         f"Skipped: no bare Debian 12 can be made here, for {reason}.")
        self.expect_nothing_left()

    def expect_nothing_left(self):
        self.assertEqual(list(self.folder.glob("kelvo-bare.*")), [])

    def test_wrong_calls_show_the_usage(self):
        for arguments in (["walk"], ["run", "test"]):
            ran = self.run_script("scripts/bare", *arguments)
            self.assertEqual(ran.returncode, 2)
            self.assertIn("usage: scripts/bare [run|test]", ran.stdout)

    def test_user_without_sudo(self):
        self.program("id", "echo 1000")
        self.expect_skip("this needs root or sudo")

    def test_user_whose_sudo_asks(self):
        self.program("id", "echo 1000")
        self.program("sudo", "exit 1")
        self.expect_skip("sudo asks for a password")

    def test_user_with_sudo_becomes_root(self):
        marker = self.folder / "root"
        self.program("id", f"[ -e {marker} ] && echo 0 || echo 1000")
        self.program("sudo", f'[ "$1" = -n ] || {{ touch {marker}; exec "$@"; }}')
        ran = self.run_script("scripts/bare", "test")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertIn("== scripts/test on a bare Debian 12: passed\n", ran.stdout)

    def test_machine_without_apt(self):
        (self.programs / "apt-get").unlink()
        self.expect_skip("there is no apt-get that knows a mirror")

    def test_machine_with_another_release(self):
        self.sources("http://mirror.test/debian trixie main")
        self.expect_skip("apt has no mirror of bookworm among its sources")

    def test_machine_that_permits_no_mounts(self):
        self.program("unshare", "echo 'unshare failed: Operation not permitted' >&2", "exit 1")
        self.expect_skip("this machine does not permit mounts, as in most containers")

    def test_machine_that_permits_no_chroot(self):
        self.program("chroot", "exit 125")
        self.expect_skip("this machine does not permit chroot")

    def test_debootstrap_cannot_be_installed(self):
        self.script(self.programs / "dpkg-query", "exit 1")
        self.program("apt-get", 'case "$*" in *indextargets*)', f"cat <<'S'\n{SOURCES}\nS",
                     ";; *) exit 100 ;; esac")
        self.expect_skip("debootstrap is not there and cannot be installed")

    def test_mirror_is_out_of_reach(self):
        self.mounts(make="echo 'E: Failed getting release file'; exit 1")
        self.expect_skip("debootstrap failed (see above)")

    def test_sources_are_those_of_the_machine(self):
        self.assertEqual(self.run_script("scripts/bare").returncode, 0)
        self.assertEqual((self.folder / "sources").read_text().splitlines(), [
            "bookworm", "http://mirror.test/debian",
            "http://mirror.test/debian bookworm main",
            "http://mirror.test/debian bookworm-updates main",
            "http://mirror.test/safe bookworm-security main"])

    def test_tree_is_a_clone_of_what_is_committed(self):
        with (self.tree / "scripts/lib.sh").open("a", encoding="utf-8") as script:
            script.write("# changed\n")
        self.mounts(make=f"! grep changed $4/clone/scripts/lib.sh; cp -r $4/clone {self.folder}")
        ran = self.run_script("scripts/bare")
        self.assertIn("Files that are changed here but not committed: ", ran.stdout)
        self.assertTrue((self.folder / "clone/.git").is_dir())

    def test_success_tells_times_packages_and_space(self):
        self.mounts(run="printf '# a\\ndirect_cache_hit\\n# b\\ncache_miss\\n' "
                        ">$root/var/log/ccache-stats")
        ran = self.run_script("scripts/bare")
        self.assertEqual(ran.returncode, 0, ran.stdout)
        self.assertRegex(ran.stdout, r"(?s)== scripts/run on a bare Debian 12: passed\n"
                         r"making the root +0:0\d, 2 packages, \d+ MB\n"
                         r"scripts/run +0:0\d, 0 more packages, -?\d+ more MB\n"
                         r"From the compiler cache: 1 of 2 files.\n$")
        self.expect_nothing_left()

    def test_cache_keeps_the_limit_of_the_machine(self):
        self.program("ccache", "[ $2 != max_size ] || { echo 20.0G; exit; }",
                     f"echo {self.folder}/cache")
        self.mounts(run='echo "limit $CCACHE_MAXSIZE in $5"')
        self.assertIn(f"limit 20.0G in {self.folder}/cache\n",
                      self.run_script("scripts/bare").stdout)

    def test_failure_inside_is_a_failure(self):
        self.mounts(run="echo 'libz.so missing'; exit 77")
        ran = self.run_script("scripts/bare")
        self.assertEqual(ran.returncode, 1, ran.stdout)
        self.assertIn("libz.so missing\n", ran.stdout)
        self.assertIn("== scripts/run on a bare Debian 12: failed with status 77\n", ran.stdout)
        self.expect_nothing_left()

    def test_interrupted_it_leaves_nothing(self):
        self.mounts(run=f"touch {self.folder}/runs; exec sleep 60")
        with subprocess.Popen([str(self.tree / "scripts/bare")], env=self.environment(),
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL) as ran:
            while not (self.folder / "runs").exists() and ran.poll() is None:
                time.sleep(0.05)
            ran.terminate()
            self.assertEqual(ran.wait(30), 143)
        self.expect_nothing_left()


if __name__ == "__main__":
    unittest.main()
