"""The wheel is built without network, and works in a new virtual environment outside the tree."""
from __future__ import annotations

import os
import pathlib
import subprocess
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[3]

PROGRAM = """
import pathlib, kelvo
from kelvo import nodes
scene = kelvo.Scene()
mesh = nodes.Mesh(scene, "desk", positions=[(0, 0, 0), (1, 1, 1)])
print(mesh.positions.sum(), pathlib.Path(kelvo.__file__).parent)
"""


def run(*command: object, folder: pathlib.Path) -> str:
    # The environment has neither the package of the build nor a network to install from.
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("PYTHONPATH", "PYTHONMALLOC", "LD_PRELOAD", "VIRTUAL_ENV")}
    ran = subprocess.run([*map(str, command)], cwd=folder, stdout=subprocess.PIPE, text=True,
                         stderr=subprocess.STDOUT, timeout=1800, env=environment)
    assert ran.returncode == 0, ran.stdout
    return ran.stdout


def test_the_wheel_works_in_a_new_environment(tmp_path: pathlib.Path) -> None:
    run(ROOT / "scripts" / "wheel", folder=ROOT)
    wheel = max((ROOT / "dist").glob("kelvo-*.whl"), key=os.path.getmtime)
    names = zipfile.ZipFile(wheel).namelist()
    for name in ("kelvo/py.typed", "kelvo/_kelvo.pyi", "kelvo/nodes.py", "kelvo/__init__.py"):
        assert name in names
    # It would need libraries of the system.
    assert not [name for name in names if name.startswith("kelvo/render")]
    run("/usr/bin/python3", "-m", "venv", "--system-site-packages", "env", folder=tmp_path)
    python = tmp_path / "env" / "bin" / "python3"
    run(python, "-m", "pip", "install", "--no-index", "--no-deps", wheel, folder=tmp_path)
    sum_and_place = run(python, "-c", PROGRAM, folder=tmp_path).split()
    assert sum_and_place[0] == "3.0"
    assert pathlib.Path(sum_and_place[1]).is_relative_to(tmp_path)


def test_the_installation_has_the_package(tmp_path: pathlib.Path) -> None:
    run("cmake", "--install", os.environ["KELVO_BUILD"], "--prefix", tmp_path, folder=ROOT)
    packages, = (tmp_path / "lib").glob("python3*/dist-packages")
    code = f"import sys; sys.path.insert(0, {str(packages)!r})" + PROGRAM
    answer = run("/usr/bin/python3", "-c", code, folder=tmp_path).split()
    assert answer == ["3.0", str(packages / "kelvo")]
