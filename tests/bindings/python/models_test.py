"""Models are imported by the tool, whose path the variable KELVO_TOOL has."""
from __future__ import annotations

import os
import pathlib

import pytest

import kelvo

MODEL = """mtllib square.mtl
o square
v 0 0 0
v 1 0 0
v 1 1 0
v 0 1 0
usemtl wood
f 1 2 3
f 1 3 4
"""
MATERIAL = "newmtl wood\nKd 1 0.5 0\nmap_Kd maps/wood.png\n"


@pytest.fixture
def model(tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> pathlib.Path:
    folder = os.path.dirname(os.environ["KELVO_TOOL"])
    monkeypatch.setenv("PATH", folder + os.pathsep + os.environ["PATH"])
    # The tool has its own sanitizer.
    monkeypatch.delenv("LD_PRELOAD", raising=False)
    (tmp_path / "square.mtl").write_text(MATERIAL)
    (tmp_path / "square.obj").write_text(MODEL)
    return tmp_path / "square.obj"


def test_a_model_becomes_nodes(scene: kelvo.Scene, lamp: kelvo.Node, model: pathlib.Path) -> None:
    report = scene.import_model(model, scene_folder=model.parent)
    assert scene.nodes == [lamp, *report.nodes]
    mesh, = (node for node in report.nodes if node.type == "mesh")
    assert mesh["positions"].shape == (4, 3) and mesh["material"].type == "material"
    texture, = (node for node in report.nodes if node.type == "texture")
    assert texture.file_path == "maps/wood.png"
    assert report.warnings and "wood.png" in report.warnings[0]


def test_the_options_are_those_of_the_tool(scene: kelvo.Scene, model: pathlib.Path) -> None:
    report = scene.import_model(model, texture_paths="absolute", join_vertices=False, up="z",
                                unit="cm", model_up="y", model_unit=1)
    texture, = (node for node in report.nodes if node.type == "texture")
    assert texture.file_path == str(model.parent / "maps" / "wood.png")
    assert scene["settings"]["upAxis"] == "z"
    matrix = report.nodes[0]["matrix"]
    assert abs(matrix).max() == pytest.approx(100)


def test_a_model_that_cannot_be_read_changes_nothing(scene: kelvo.Scene, lamp: kelvo.Node,
                                                     model: pathlib.Path) -> None:
    text = scene.text()
    with pytest.raises(kelvo.FileError, match="nowhere.obj: Unable to open file"):
        scene.import_model(model.with_name("nowhere.obj"))
    broken = model.with_name("broken.glb")
    broken.write_bytes(b"glTF" * 100)
    with pytest.raises(kelvo.FileError, match="broken.glb"):
        scene.import_model(broken)
    with pytest.raises(kelvo.InvalidValueError, match="'furlong' is no unit"):
        scene.import_model(model, unit="furlong")
    assert scene.text() == text


def test_without_the_tool_the_message_says_so(scene: kelvo.Scene, model: pathlib.Path,
                                              monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv("PATH", str(model.parent))
    with pytest.raises(kelvo.Error, match="by the tool kelvo, which is not on the search path"):
        scene.import_model(model)
    with pytest.raises(kelvo.Error, match="none.*cannot be run: No such file"):
        scene.import_model(model, tool=model.parent / "none")
