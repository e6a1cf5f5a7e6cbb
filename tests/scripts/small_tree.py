"""A tree with only the scripts, in which the tests replace programs on the PATH."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
# Programs that every Debian has, so the scripts need not install them; git comes from a package.
TOOLS = ("bash basename cat chmod chown cp cut dirname du env find git grep head id ls mkdir mktemp"
         " mv nproc realpath rm sed sleep sort stat tail tee touch tput tr uniq wc xargs").split()


class SmallTree(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="scripts"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.tree = self.folder / "tree"
        shutil.copytree(ROOT / "scripts", self.tree / "scripts",
                        ignore=shutil.ignore_patterns("__pycache__"))
        self.programs = self.folder / "programs"
        self.programs.mkdir()
        for tool in TOOLS:
            (self.programs / tool).symlink_to(shutil.which(tool))
        self.calls = self.folder / "calls"
        self.calls.touch()

    def program(self, name, *lines):
        """Puts a program on the PATH; it records its arguments, then runs the lines."""
        self.script(self.programs / name, f'echo "{name} $*" >>"{self.calls}"', *lines)

    def script(self, path, *lines):
        path.unlink(missing_ok=True)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("\n".join(("#!/usr/bin/env bash", *lines, "")), encoding="utf-8")
        path.chmod(0o755)

    def environment(self, **variables):
        return {"PATH": str(self.programs), "HOME": str(self.folder), "TMPDIR": str(self.folder),
                **variables}

    def run_script(self, *command, **options):
        """Runs a script of the tree, without a terminal; returns its output and its status."""
        return subprocess.run([str(self.tree / command[0]), *command[1:]], text=True, timeout=60,
                              env=self.environment(), stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)

    def called(self):
        return self.calls.read_text(encoding="utf-8").splitlines()
