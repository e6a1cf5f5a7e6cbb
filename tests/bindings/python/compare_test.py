"""Differences, merges, validation, snapshots."""
from __future__ import annotations

import copy
import pickle
import threading

import numpy as np
import pytest

import kelvo


def test_a_diff_makes_the_later_scene_of_the_earlier(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    later = copy.copy(scene)
    later["lamp"]["intensity"] = 9
    later.create("mesh", "desk")
    changes = kelvo.diff(scene, later)
    assert [(c.action, c.subject, c.path) for c in changes] == [
        ("change", "input", "lamp.intensity"), ("add", "node", "desk")]
    assert (changes.changes[0].before, changes.changes[0].after) == ("3", "9")
    changes.apply_to(scene)
    assert scene.text() == later.text()
    with pytest.raises(kelvo.RefusedError, match="lamp.intensity"):
        changes.apply_to(scene)


def test_merges_report_conflicts(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    mine, theirs = copy.copy(scene), copy.copy(scene)
    mine["lamp"]["intensity"], theirs["lamp"]["intensity"] = 5, 6
    theirs["lamp"]["castShadows"] = False
    merged, conflicts = kelvo.merge(scene, mine, theirs, prefer="theirs")
    assert merged["lamp"]["intensity"] == 6.0 and merged["lamp"]["castShadows"] is False
    assert [(c.path, c.base, c.mine, c.theirs) for c in conflicts] == [
        ("lamp.intensity", "3", "5", "6")]
    with pytest.raises(kelvo.InvalidValueError, match="'mine' or 'theirs'"):
        kelvo.merge(scene, mine, theirs, prefer="both")


def test_validation_finds_and_fixes(scene: kelvo.Scene) -> None:
    scene.read('node pointLight "lamp" {\n    Real intensity = -1\n}\n')
    findings = scene.validate()
    assert findings.passes() and not findings.passes(strict=True)
    assert [(one.severity, one.place) for one in findings] == [("warning", "lamp.intensity")]
    assert findings[0].rule.id in {rule.id for rule in kelvo.rules()}
    report = scene.fix()
    assert report.left.passes(strict=True) and len(report.fixed) == 1
    assert scene["lamp"]["intensity"] == 0.0


def test_one_finding_is_fixed(scene: kelvo.Scene) -> None:
    scene.read('node pointLight "lamp" {\n    Real intensity = -1\n}\n')
    finding = scene.validate()[0]
    assert finding.fix_text and finding.node == scene["lamp"]
    finding.fix()
    assert scene["lamp"]["intensity"] == 0.0


def test_a_studio_says_what_files_there_are(scene: kelvo.Scene) -> None:
    scene.create("texture", "wood").file_path = "maps/wood.png"
    asked: list[str] = []

    def exists(path: str) -> bool:
        asked.append(path)
        return True

    assert scene.validate(file_exists=exists).passes() and asked == ["maps/wood.png"]
    assert any(one.node == scene["wood"] for one in scene.validate(file_exists=lambda path: False))


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
    (old, new, inputs), = changes.changed
    assert (old.name, new.name) == ("lamp", "lamp")
    (one, other, parts), = inputs
    assert one and other and (one.value, other.value, parts) == (3.0, 4.0, ["value"])
    assert not kelvo.delta(before, before)


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
    assert [(n.name, n.type, n.bases) for n in other] == [
        (n.name, n.type, n.bases) for n in snapshot]
    for node in snapshot:
        for one in node.inputs:
            there = other[node.name].input(one.path)
            assert there.kind == one.kind, one.path
            assert str(there.value) == str(one.value), one.path
    assert other["lamp"].input("intensity").source.name == "result"
