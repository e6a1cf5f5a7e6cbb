"""A shell that runs the commands of the pages as a reader would."""
import os
import pathlib
import re
import shutil
import subprocess

import doc_text
from doc_text import ROOT


class Shell:
    """A shell in a copy of the tree, which keeps its folder and variables between commands."""

    def __init__(self, folder, build):
        self.tree = folder / "tree"
        self.state = folder / "state"
        self.home = folder / "home"
        self.build = pathlib.Path(build)
        self.home.mkdir()
        self.lay_out()
        self.state.write_text(f"cd {self.tree}\n")

    def lay_out(self):
        self.tree.mkdir()
        for entry in ROOT.iterdir():
            if entry.name not in ("build", "examples", ".git"):
                (self.tree / entry.name).symlink_to(entry)
        shutil.copytree(ROOT / "examples", self.tree / "examples")
        (self.tree / "build").mkdir()
        (self.tree / "build" / "release").symlink_to(self.build)

    def compiling(self):
        """Returns the variables that make compiled programs compatible with the build."""
        sanitize = doc_text.configured(self.build, "KELVO_SANITIZE")
        return {"CXX": doc_text.configured(self.build, "CMAKE_CXX_COMPILER"),
                "CMAKE_GENERATOR": doc_text.configured(self.build, "CMAKE_GENERATOR"),
                "CXXFLAGS": f"-fsanitize={sanitize}" if sanitize else ""}

    def run(self, command):
        script = f'. {self.state}\n{command}\nstatus=$?\n' \
                 f'{{ printf "cd %q\\n" "$PWD"; export -p; }} >{self.state}\nexit $status\n'
        environment = {"PATH": f"{self.tree}/build/release/tools/kelvo:{os.environ['PATH']}",
                       "HOME": str(self.home), "LC_ALL": "C.UTF-8", "GIT_CONFIG_NOSYSTEM": "1",
                       "GIT_AUTHOR_NAME": "A", "GIT_AUTHOR_EMAIL": "a@example.org",
                       "GIT_COMMITTER_NAME": "A", "GIT_COMMITTER_EMAIL": "a@example.org"}
        environment |= {k: v for k, v in os.environ.items() if k.endswith("SAN_OPTIONS")}
        environment |= self.compiling()
        return subprocess.run(["bash", "-c", script], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, text=True,
                              timeout=300, env=environment)

    def file_written(self, command):
        """Returns the output file that the command names, if any."""
        named = re.search(r"(?: -o |>) ?([^\s>|\"']+)$", command)
        folder = re.search(r"^cd (.*)$", self.state.read_text(), re.M)[1]
        return pathlib.Path(folder) / named[1] if named else None
