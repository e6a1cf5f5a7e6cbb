"""Scenes, nodes, graphs and findings show themselves in a notebook that a browser runs."""
from __future__ import annotations

import json
import os
import pathlib
import subprocess
import sys
import time
from collections.abc import Iterator
from typing import Any

import pytest

import kelvo

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
from browser import Browser  # type: ignore[import]  # noqa: E402

PATIENCE = 600

CELLS = ["""\
import kelvo
HOSTILE = "<script>window.hit=1</script><img src=x onerror=window.hit=1>'&"
scene = kelvo.Scene()
lamp = scene.create("pointLight", "lamp", name=HOSTILE, intensity=3)
room = scene.create("xform", "room", children=[lamp])
wood = scene.create("texture", "wood", dir=HOSTILE, file="a")
scene""", "lamp", "scene.graph([lamp, room])", "scene.validate()"]


def write_notebook(file: pathlib.Path) -> None:
    cells = [{"cell_type": "code", "source": cell, "metadata": {}, "outputs": [],
              "execution_count": None} for cell in CELLS]
    kernel = {"kernelspec": {"name": "python3", "display_name": "Python 3"}}
    file.write_text(json.dumps({"cells": cells, "metadata": kernel, "nbformat": 4,
                                "nbformat_minor": 4}))


def address(server: subprocess.Popen[bytes], folder: pathlib.Path) -> str:
    """Waits until the server has a port, and returns its address."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end and server.poll() is None:
        for file in folder.glob("nbserver-*.json"):
            try:
                return str(json.loads(file.read_text())["url"])
            except ValueError:
                pass  # It is being written.
        time.sleep(0.1)
    raise TimeoutError((folder / "log").read_text())


@pytest.fixture(scope="module")
def server(tmp_path_factory: pytest.TempPathFactory) -> Iterator[str]:
    folder = tmp_path_factory.mktemp("notebook")
    write_notebook(folder / "scene.ipynb")
    # It takes the first free port from 8888 on, and others at random.
    command = [sys.executable, "-m", "notebook", "--no-browser", "--allow-root", "--ip=127.0.0.1",
               "--port-retries=1000", "--NotebookApp.token=", "--NotebookApp.password=",
               f"--notebook-dir={folder}"]
    places = {name: str(folder) for name in ("HOME", "IPYTHONDIR", "JUPYTER_CONFIG_DIR",
                                             "JUPYTER_DATA_DIR", "JUPYTER_RUNTIME_DIR")}
    with open(folder / "log", "wb") as log:
        process = subprocess.Popen(command, cwd=folder, env={**os.environ, **places}, stdout=log,
                                   stderr=log, stdin=subprocess.DEVNULL)
    yield address(process, folder)
    process.terminate()
    process.wait()


@pytest.fixture(scope="module")
def page(server: str) -> Iterator[Any]:
    browser = Browser(PATIENCE)
    browser.visit(server + "notebooks/scene.ipynb")
    browser.wait_for("!!(window.Jupyter && Jupyter.notebook && Jupyter.notebook.kernel"
                     " && Jupyter.notebook.kernel.is_connected())")
    browser.value("Jupyter.notebook.execute_all_cells()")
    # A cell's answer and its output come on ways of their own, in any order.
    browser.wait_for("Jupyter.notebook.get_cells().every(one => one.output_area.outputs.length)")
    yield browser
    browser.close()


def output(page: Any, cell: int, expression: str) -> Any:
    """Returns the value of a script that has the output of a cell as `o`."""
    one = f"document.querySelectorAll('.cell')[{cell}].querySelector('.output')"
    return page.value(f"(o => {expression})({one})")


@pytest.mark.parametrize("cell, caption", [(0, "Scene of 3 nodes"), (1, "pointLight lamp"),
                                           (3, "1 findings")])
def test_scenes_nodes_and_findings_are_tables(page: Any, cell: int, caption: str) -> None:
    assert output(page, cell, "o.querySelectorAll('table').length") == 1
    assert output(page, cell, "o.querySelector('caption').textContent") == caption


def test_markup_in_a_scene_is_text(page: Any) -> None:
    table = output(page, 1, "o.querySelector('table').textContent")
    assert "<script>window.hit=1</script><img" in table and "intensityReal3" in table
    assert output(page, 1, "o.querySelectorAll('script, img').length") == 0
    assert page.value("window.hit === undefined")


def test_a_graph_is_a_picture(page: Any) -> None:
    counted = "[...o.querySelectorAll('svg rect, svg line')].map(one => one.tagName).join(' ')"
    assert output(page, 2, counted) == "line rect rect"
    assert output(page, 2, "o.querySelector('svg text').textContent") == "lamp"


def test_a_graph_has_the_given_nodes(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    room = scene.create("xform", "room", children=[lamp])
    assert scene.graph().nodes == [lamp, room]
    assert scene.graph([lamp])._repr_svg_().count("<rect") == 1
    assert scene.graph()._repr_svg_() == scene._repr_svg_()
