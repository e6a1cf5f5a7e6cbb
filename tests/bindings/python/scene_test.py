"""Scenes as containers of nodes."""
from __future__ import annotations

import copy
import pathlib
import pickle

import pytest

import kelvo


def test_create_sets_the_inputs(lamp: kelvo.Node) -> None:
    assert lamp["intensity"] == 3.0
    assert lamp.type == "pointLight"


def test_a_taken_name_gets_a_number(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    assert scene.create("pointLight", "lamp").name != "lamp"


def test_create_with_a_refused_value_makes_no_node(scene: kelvo.Scene) -> None:
    with pytest.raises(kelvo.InvalidValueError, match="below the minimum 0"):
        scene.create("pointLight", "lamp", intensity=-1)
    assert len(scene) == 0


def test_create_of_an_abstract_type_raises(scene: kelvo.Scene) -> None:
    with pytest.raises(kelvo.InvalidValueError, match="abstract"):
        scene.create("emitter", "lamp")


def test_nodes_are_found_by_name_index_and_slice(scene: kelvo.Scene) -> None:
    a, b, c = (scene.create("mesh", name) for name in "abc")
    assert scene["B"] == b
    assert scene[0] == a and scene[-1] == c
    assert scene[::2] == [a, c]
    assert scene.get("b") == b and scene.get("d") is None


def test_a_missing_node_raises_with_a_near_name(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    with pytest.raises(kelvo.NotFoundError, match="did you mean 'lamp'"):
        scene["lamb"]
    for index in (1, -2, 2**70, -2**70):
        with pytest.raises(IndexError, match="there are 1 nodes"):
            scene[index]


def test_iteration_len_and_in(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    desk = scene.create("mesh", "desk")
    assert list(scene) == [lamp, desk]
    assert len(scene) == 2
    assert "LAMP" in scene and lamp in scene and "room" not in scene


def test_an_empty_scene_is_true() -> None:
    assert kelvo.Scene()


def test_change_during_an_iteration_raises(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    with pytest.raises(kelvo.BusyError, match="during the iteration"):
        for _ in scene:
            scene.create("mesh")
    scene.create("mesh")
    with pytest.raises(kelvo.BusyError, match="during the iteration"):
        for _ in scene:
            scene.move(scene[0], 1)


def test_nodes_are_deleted(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.create("mesh", "desk")
    del scene["desk"]
    assert scene.nodes == [lamp]
    lamp.remove()
    assert len(scene) == 0


def test_text_is_read_back(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    other = kelvo.Scene()
    other.read(scene.text())
    assert other.text() == scene.text()
    assert other["lamp"]["intensity"] == 3.0


def test_text_with_errors_raises_all_of_them(scene: kelvo.Scene) -> None:
    with pytest.raises(kelvo.TextError, match="did you mean 'Real'") as caught:
        scene.read('node light "sun" {\n    Reel x = 1\n    Real y = z\n}\n', source="sun.kns")
    assert [found.line for found in caught.value.diagnostics] == [2, 3]
    assert str(caught.value.diagnostics[0]).startswith("sun.kns:2:")
    assert len(scene) == 0


def test_text_is_read_in_part(scene: kelvo.Scene) -> None:
    found: list[kelvo.Diagnostic] = []
    text = 'node light "sun" {\n    Reel x = 1\n    Real y = 1\n}\n'
    assert scene.read(text, partial=True, diagnostics=found) == 1
    assert scene["sun"]["y"] == 1.0 and len(found) == 1


def test_files_are_saved_and_opened(scene: kelvo.Scene, lamp: kelvo.Node,
                                    tmp_path: pathlib.Path) -> None:
    scene.save(tmp_path / "a.kns")
    assert scene.is_saved
    opened = kelvo.open_scene(tmp_path / "a.kns")
    assert opened["lamp"]["intensity"] == 3.0 and opened.is_saved


def test_a_missing_file_raises(tmp_path: pathlib.Path) -> None:
    with pytest.raises(kelvo.FileError, match="nothing.kns"):
        kelvo.open_scene(tmp_path / "nothing.kns")
    with pytest.raises(OSError):
        kelvo.Scene().save(tmp_path / "no" / "folder.kns")


def test_copies_are_scenes_of_their_own(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    for other in (copy.copy(scene), copy.deepcopy(scene), pickle.loads(pickle.dumps(scene))):
        assert other != scene and other.text() == scene.text()
        other["lamp"]["intensity"] = 9
    assert lamp["intensity"] == 3.0


def test_a_pickled_scene_has_its_libraries() -> None:
    library = kelvo.Library("type spring { Real stiffness = 2 }")
    scene = kelvo.Scene(libraries=[kelvo.Library.standard(), library])
    scene.create("spring", "s")
    other = pickle.loads(pickle.dumps(scene))
    assert other["s"]["stiffness"] == 2.0
    assert other.create("spring")["stiffness"] == 2.0


def test_a_scene_without_libraries_makes_bare_nodes() -> None:
    assert len(kelvo.Scene(libraries=[]).create("mesh")) == 0


def test_find_meets_all_conditions(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.create("areaLight", "window", intensity=12)
    found = scene.find("*.intensity", value=">10")
    assert [match.path for match in found] == ["window.intensity"]
    assert [match.node for match in scene.find(type="emitter", inputs=False)] == list(scene)
    with pytest.raises(kelvo.InvalidValueError, match="empty step"):
        scene.find("lamp..x")


def test_verify_finds_nothing(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    assert scene.verify() == []
