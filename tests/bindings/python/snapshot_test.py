"""Snapshots: what they show, how they compare, how they are read and stored."""
from __future__ import annotations

import copy
import pathlib
import pickle
import threading

import numpy as np
import pytest

import kelvo


def test_a_snapshot_does_not_change(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    before = scene.snapshot()
    lamp["intensity"] = 4
    lamp.name = "sun"
    after = scene.snapshot()
    assert before["lamp"]["intensity"] == 3.0 and after["sun"]["intensity"] == 4.0
    assert before["lamp"].number == after["sun"].number
    assert [node.name for node in before] == ["lamp"] and len(before) == 1
    with pytest.raises(kelvo.NotFoundError, match="no node 'sun'"):
        before["sun"]


def test_a_delta_has_what_changed(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    before = scene.snapshot()
    lamp["intensity"] = 4
    scene.create("mesh", "desk")
    changes = kelvo.delta(before, scene.snapshot())
    assert [node.name for node in changes.added] == ["desk"] and changes.removed == []
    change, = changes.changed
    assert (change.before.name, change.after.name) == ("lamp", "lamp")
    assert not change.is_renamed and not change.is_type_changed
    one, = change.inputs
    assert one.before and one.after and one.parts == ["value"]
    assert (one.before.value, one.after.value) == (3.0, 4.0)
    assert not kelvo.delta(before, before)


def test_paths_lead_from_node_to_node(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    room = scene.create("xform", "room", children=[lamp])
    scene.create("xform", "house", children=[room, lamp])
    snapshot = scene.snapshot()
    house, light = snapshot["house"], snapshot["lamp"]
    names = [[node.name for node in path] for path in house.paths_to(light)]
    assert names == [["house", "room", "lamp"], ["house", "lamp"]]
    assert [path[-1].name for path in house.paths(["xform"])] == ["room"]
    assert list(light.paths_to(house)) == []
    with pytest.raises(kelvo.InvalidValueError, match="Node 'lamp' is of another snapshot"):
        house.paths_to(scene.snapshot()["lamp"])


def test_views_tell_what_they_are(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.create("xform", "room", children=[lamp])
    lamp.create_output("light", "Real")
    snapshot = scene.snapshot()
    light = snapshot["lamp"]
    assert (light.display_name, light.is_defined) == ("lamp", True)
    assert light.input("radius").is_default and not light.input("intensity").is_default
    first, = snapshot["room"].input("children").inputs
    assert first.parent and first.parent.name == "children" and first.parent.parent is None
    assert light.outputs[-1].path == "lamp.light"


def test_a_snapshot_outlives_its_scene_and_serves_threads() -> None:
    scene = kelvo.Scene()
    scene.create("mesh", "desk", positions=np.ones((4, 3), np.float32))
    snapshot = scene.snapshot()
    del scene
    sums: list[float] = []
    threads = [threading.Thread(target=lambda: sums.append(snapshot["desk"]["positions"].sum()))
               for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    positions = snapshot["desk"]["positions"]
    del snapshot
    assert sums == [12.0] * 4 and positions.sum() == 12.0 and not positions.flags.writeable


def test_a_snapshot_is_copied_and_pickled(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.create("mesh", "desk", positions=[[0.1, 2, 3]], indices=[0, 1])
    power = scene.create("mix", "power")
    lamp.input("intensity").connect(power.output("result"))
    room = scene.create("xform", "room", children=[lamp])
    room.create_input("text", "String", 'a "b"\n\\ ä')
    room.create_input("nothing", "Real", float("inf"))
    snapshot = scene.snapshot()
    assert copy.copy(snapshot) == snapshot and copy.deepcopy(snapshot) == snapshot
    other = pickle.loads(pickle.dumps(snapshot))
    assert other.text() == snapshot.text() and other.content_hash() == snapshot.content_hash()
    assert [(n.name, n.type, n.bases) for n in other] == [
        (n.name, n.type, n.bases) for n in snapshot]
    for node in snapshot:
        for one in node.inputs:
            there = other[node.name].input(one.path)
            assert there.kind == one.kind, one.path
            assert str(there.value) == str(one.value), one.path
    assert other["lamp"].input("intensity").source.name == "result"


def test_a_snapshot_has_the_text_of_its_time(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    text, node_text, snapshot = scene.text(), lamp.text(), scene.snapshot()
    lamp["intensity"] = 9
    assert snapshot.text() == snapshot.text(threads=1) == text
    assert snapshot["lamp"].text() == node_text
    assert snapshot["lamp"].input("intensity").text() == "3"


def test_hashes_tell_what_differs(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    room = scene.create("xform", "room", children=[lamp])
    before = scene.snapshot()
    assert before["room"].content_hash() == room.content_hash()
    lamp["intensity"] = 9
    after = scene.snapshot()
    assert before["room"].content_hash() == after["room"].content_hash()
    assert before["room"].deep_hash() != after["room"].deep_hash()
    assert before.content_hash() != after.content_hash()
    assert copy.copy(scene).snapshot().content_hash() == after.content_hash()


def test_why_leads_to_the_inputs_that_differ(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.create("xform", "room", children=[lamp])
    before = scene.snapshot()
    lamp["intensity"] = 9
    scene.create("mesh", "desk")
    after = scene.snapshot()
    answer = kelvo.why(before, after, after["room"])
    chain, = answer.chains
    assert answer.is_complete and [node.name for node in chain.nodes] == ["room", "lamp"]
    assert chain.after == after["lamp"] and chain.inputs[0].parts == ["value"]
    assert kelvo.why(before, before, before["room"]).chains == []
    assert not kelvo.why(before, after, after["room"], at_most=0).is_complete
    with pytest.raises(kelvo.InvalidValueError, match="'lamp' belongs to neither"):
        kelvo.why(before, before, after["lamp"])


def test_places_in_the_hierarchy(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    move = np.eye(4)
    move[3] = (1, 2, 3, 1)
    room = scene.create("xform", "room", children=[lamp], matrix=move)
    scene.create("xform", "house", children=[room, lamp], matrix=move)
    snapshot = scene.snapshot()
    assert [one.name for one in snapshot["lamp"].parents()] == ["room", "house"]
    assert snapshot["room"].matrix[3].tolist() == [1, 2, 3, 1]
    assert snapshot["room"].world_matrix[3].tolist() == [2, 4, 6, 1]
    places = snapshot["lamp"].world_matrices()
    assert [place[3].tolist() for place in places] == [[2, 4, 6, 1], [1, 2, 3, 1]]
    assert len(snapshot["lamp"].world_matrices(1)) == 1


def test_an_evaluated_snapshot_has_the_values_of_connections(scene: kelvo.Scene,
                                                             lamp: kelvo.Node) -> None:
    library = kelvo.Library("type twice {\n    Real x = 1\n    output Real result\n}\n")
    library.set_callback("twice", "eval", lambda node, output: 2 * node["x"])
    scene.add_library(library)
    for number in range(20):
        one = scene.create("pointLight", f"light{number}")
        source = scene.create("twice", f"twice{number}", x=number)
        one.input("intensity").connect(source.output("result"))
    snapshot = scene.snapshot(evaluated=True, threads=4)
    assert [snapshot[f"light{n}"]["intensity"] for n in range(20)] == [2.0 * n for n in range(20)]
    assert scene.snapshot()["light7"]["intensity"] == 1.0


def test_a_failed_evaluation_leaves_the_value_that_is_set(
        scene: kelvo.Scene, lamp: kelvo.Node, caplog: pytest.LogCaptureFixture) -> None:
    library = kelvo.Library("type twice {\n    Real x = 1\n    output Real result\n}\n")
    library.set_callback("twice", "eval", lambda node, output: 1 / 0)
    scene.add_library(library)
    lamp.input("intensity").connect(scene.create("twice", "t").output("result"))
    assert scene.snapshot(evaluated=True)["lamp"]["intensity"] == 3.0
    assert "ZeroDivisionError" in caplog.text


def test_searching_a_snapshot(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    found = scene.snapshot().find("*.intensity", value=">2")
    assert [(one.path, one.node.name) for one in found] == [("lamp.intensity", "lamp")]
    assert found[0].input and found[0].input.value == 3.0
    assert [one.path for one in scene.snapshot().find(type="emitter", inputs=False)] == ["lamp"]
    plain = kelvo.read_snapshot('node pointLight "lamp" {\n}\n', libraries=[])
    assert len(plain.find(type="emitter")) == 1 and plain.find(type="emitter", libraries=[]) == []
    with pytest.raises(kelvo.InvalidValueError):
        scene.snapshot().find("a[")


def test_reading_a_text_makes_no_nodes(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    snapshot = kelvo.read_snapshot(scene.text())
    assert snapshot.text() == scene.text() and snapshot["lamp"]["intensity"] == 3.0
    assert "castShadows" in snapshot["lamp"]
    alone = kelvo.read_snapshot("node thing \"a\" {\n    Real x = 2\n}\n", libraries=[])
    assert alone["a"]["x"] == 2.0
    other = kelvo.Scene(libraries=[])
    other.read(alone)
    assert other["a"]["x"] == 2.0


def test_a_faulty_text_gives_no_snapshot() -> None:
    text = "node thing \"a\" {\n    Real x = ?\n    Real y = 1\n    Real z = ?\n}\n"
    with pytest.raises(kelvo.TextError) as caught:
        kelvo.read_snapshot(text, source="a.kns", max_diagnostics=1)
    assert [(one.source, one.line) for one in caught.value.diagnostics] == [("a.kns", 2)]
    found: list[kelvo.Diagnostic] = []
    snapshot = kelvo.read_snapshot(text, partial=True, diagnostics=found)
    assert [one.line for one in found] == [2, 4] and snapshot["a"]["y"] == 1.0


def test_the_binary_form_is_stored_and_opened(scene: kelvo.Scene, lamp: kelvo.Node,
                                              tmp_path: pathlib.Path) -> None:
    scene.create("mesh", "desk", positions=np.ones((100_000, 3), np.float32))
    snapshot, file = scene.snapshot(), tmp_path / "room.knb"
    snapshot.save_binary(file)
    opened = kelvo.open_binary(file)
    opened.verify()
    assert opened.damage is None and opened.text() == snapshot.text()
    assert file.read_bytes() == snapshot.to_bytes()
    assert kelvo.Snapshot.from_bytes(file.read_bytes())["desk"]["positions"].shape == (100_000, 3)
    array = opened["desk"]["positions"]
    del opened
    assert array.sum() == 300_000


def test_scenes_load_and_save_either_form(scene: kelvo.Scene, lamp: kelvo.Node,
                                          tmp_path: pathlib.Path) -> None:
    scene.save(tmp_path / "room.knb")
    assert (tmp_path / "room.knb").read_bytes() == scene.snapshot().to_bytes() and scene.is_saved
    (tmp_path / "room.knb").rename(tmp_path / "room")
    assert kelvo.open_scene(tmp_path / "room").text() == scene.text()


def test_damage_raises(scene: kelvo.Scene, lamp: kelvo.Node, tmp_path: pathlib.Path) -> None:
    scene.create("mesh", "desk", positions=np.ones((10_000, 3), np.float32))
    data = bytearray(scene.snapshot().to_bytes())
    data[len(data) // 2] ^= 1
    (tmp_path / "room.knb").write_bytes(data)
    opened = kelvo.open_binary(tmp_path / "room.knb")
    with pytest.raises(kelvo.FileError, match="room.knb"):
        opened.verify()
    assert opened.damage and "room.knb" in opened.damage
    with pytest.raises(kelvo.FileError):
        scene.load(tmp_path / "room.knb")
    assert len(scene) == 2
    for wrong in (b"", b"nothing", bytes(data[:100])):
        with pytest.raises(kelvo.FileError, match="<bytes>"):
            kelvo.Snapshot.from_bytes(wrong)
    with pytest.raises(kelvo.FileError, match="nowhere"):
        kelvo.open_binary(tmp_path / "nowhere.knb")
