"""Differences, merges, validation."""
from __future__ import annotations

import copy

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


def test_a_snapshot_has_the_findings_of_its_scene(scene: kelvo.Scene) -> None:
    scene.read('node pointLight "lamp" {\n    Real intensity = -1\n}\nnode zebra "z" {\n}\n')
    live, frozen = scene.validate(), scene.snapshot().validate()
    assert [(one.rule.id, one.place, one.message, one.fix_text) for one in frozen] == [
        (one.rule.id, one.place, one.message, one.fix_text) for one in live]
    assert frozen[0].node is not None and frozen[0].node.name == "lamp"
    assert frozen.passes() and not frozen.passes(strict=True)
    unknown = scene.snapshot().validate(needs_types=True, libraries=[])
    assert [one.rule.id for one in unknown].count("unknown-type") == 2


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
