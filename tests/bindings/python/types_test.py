"""Types: mypy accepts package, examples and tests, and the declarations agree with the module."""
from __future__ import annotations

import importlib.util
import os
import pathlib
import subprocess
import sys

import kelvo

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[2]
MODULES = ["kelvo._kelvo"]
if importlib.util.find_spec("kelvo.render"):
    MODULES.append("kelvo.render._render")
PACKAGES = pathlib.Path(kelvo.__file__).resolve().parents[1]


def run(folder: pathlib.Path, *arguments: object) -> subprocess.CompletedProcess[str]:
    environment = dict(os.environ, MYPYPATH=str(PACKAGES))
    return subprocess.run([sys.executable, "-m", *map(str, arguments)], cwd=folder,
                          capture_output=True, text=True, timeout=900, env=environment)


def test_mypy_accepts_package_tests_and_examples(tmp_path: pathlib.Path) -> None:
    files = [*sorted(HERE.glob("*.py")), *sorted((ROOT / "examples" / "python").glob("*.py"))]
    ran = run(tmp_path, "mypy", "--strict", "-p", "kelvo")
    assert ran.returncode == 0, ran.stdout
    ran = run(tmp_path, "mypy", "--strict", *files)
    assert ran.returncode == 0, ran.stdout


def test_declarations_agree_with_the_module(tmp_path: pathlib.Path) -> None:
    ran = run(tmp_path, "mypy.stubtest", *MODULES, "--allowlist",
              HERE / "allowed_differences.txt")
    assert ran.returncode == 0, ran.stdout


WRONG = """
import kelvo
from kelvo import nodes
scene = kelvo.Scene()
lamp = nodes.PointLight(scene, "lamp", intensity=3)
lamp.intensity = "bright"
nodes.PointLight(scene, "lamp", intensity="bright")
nodes.Texture(scene, colorSpace="none of them")
text: str = lamp.intensity
room = nodes.Xform(scene, "room", children=[lamp])
for child in room.children:
    child.upper()
first: nodes.Mesh = room.children[0]
room.children = [3]
"""


def test_mypy_finds_wrong_types_of_single_inputs(tmp_path: pathlib.Path) -> None:
    (tmp_path / "wrong.py").write_text(WRONG)
    ran = run(tmp_path, "mypy", "--strict", "wrong.py")
    wrong = [line.split(":")[1] for line in ran.stdout.splitlines() if ": error:" in line]
    assert wrong == ["6", "7", "8", "9", "12", "13", "14"]
