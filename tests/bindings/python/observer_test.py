"""Observers and edits: notifications, rollback, history, lifetimes."""
from __future__ import annotations

import gc
import logging
import subprocess
import sys
import weakref

import pytest

import kelvo


def test_an_observer_gets_each_change(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    changes: list[kelvo.Change] = []
    with scene.observe(changes.append):
        lamp["intensity"] = 4
        lamp["intensity"] = 4
        lamp.name = "sun"
        scene.create("mesh", "desk")
    lamp["intensity"] = 5
    assert [change.kind for change in changes] == ["input_changed", "node_renamed", "node_added"]
    assert (changes[0].before, changes[0].after) == (3.0, 4.0)
    assert (changes[1].before, changes[1].after) == ("lamp", "sun")
    assert changes[2].node == scene["desk"]


def test_a_node_observer_gets_the_changes_of_its_node(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    kinds: list[str] = []
    with lamp.observe(lambda change: kinds.append(change.kind)):
        scene.create("mesh")
        lamp["intensity"] = 4
        lamp.remove()
    assert kinds == ["input_changed", "node_removed"]


def test_an_observer_of_edits_gets_the_net_changes(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    batches: list[kelvo.SceneChanges] = []
    with scene.observe_edits(batches.append), scene.edit("Move"):
        for value in range(10):
            lamp["intensity"] = value
        desk = scene.create("mesh", "desk")
    assert len(batches) == 1
    assert batches[0].added_nodes == [desk]
    assert batches[0].changed_inputs == [lamp.input("intensity")]


def test_a_subscription_ends_with_its_object(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    changes: list[kelvo.Change] = []
    subscription = scene.observe(changes.append)
    assert subscription.is_open
    del subscription
    lamp["intensity"] = 4
    assert changes == []


def test_an_exception_of_an_observer_takes_the_edit_back(scene: kelvo.Scene,
                                                         lamp: kelvo.Node) -> None:
    def refuse(change: kelvo.Change) -> None:
        raise ZeroDivisionError("no")

    scene.undo_enabled = True
    before = scene.text()
    with scene.observe(refuse):
        for edit in (lambda: lamp.__setitem__("intensity", 9), lambda: scene.create("mesh"),
                     lambda: scene.read('node thing "t" {\n}\n'), lamp.remove):
            with pytest.raises(ZeroDivisionError):
                edit()
    assert scene.text() == before
    assert scene.verify() == []


def test_an_exception_of_an_observer_of_edits_is_logged(
        scene: kelvo.Scene, lamp: kelvo.Node, caplog: pytest.LogCaptureFixture) -> None:
    def fail(changes: kelvo.SceneChanges) -> None:
        raise ZeroDivisionError("no")

    with scene.observe_edits(fail), caplog.at_level(logging.ERROR, "kelvo"):
        lamp["intensity"] = 9
    assert lamp["intensity"] == 9.0
    assert "ZeroDivisionError: no" in caplog.text and "in fail" in caplog.text


def test_an_observer_with_a_wrong_signature_raises(scene: kelvo.Scene) -> None:
    with pytest.raises(kelvo.KindError, match="one argument"):
        scene.observe(lambda: None)  # type: ignore[arg-type,misc]
    with pytest.raises(kelvo.KindError, match="one argument"):
        scene.observe(5)  # type: ignore[arg-type]


def test_an_edit_is_one_step(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.undo_enabled = True
    with scene.edit("Move the lamp", "Move it back"):
        lamp["intensity"] = 8
        scene.create("mesh")
    step = scene.undo_steps[0]
    assert (step.text, step.undo_text) == ("Move the lamp", "Move it back")
    assert "lamp.intensity" in step.touched and step.bytes > 0
    scene.undo()
    assert lamp["intensity"] == 3.0 and len(scene) == 1 and len(scene.redo_steps) == 1
    scene.redo()
    assert lamp["intensity"] == 8.0
    with pytest.raises(kelvo.RefusedError):
        scene.redo()


def test_the_history_works_beside_observers(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    kinds: list[str] = []
    with scene.observe(lambda change: kinds.append(change.kind)):
        scene.undo_enabled = True
        scene.set_checkpoint("start")
        lamp["intensity"] = 8
        assert len(scene.undo_steps) == 1
        scene.undo()
        scene.redo()
        scene.return_to("start")
        assert lamp["intensity"] == 3.0 and kinds == ["input_changed"] * 4
        scene.undo_enabled = False


def test_an_observer_that_fails_in_an_undo_does_not_stop_it(scene: kelvo.Scene,
                                                            lamp: kelvo.Node) -> None:
    scene.undo_enabled = True
    lamp["intensity"] = 8

    def fail(change: kelvo.Change) -> None:
        raise RuntimeError("no")

    with scene.observe(fail), pytest.raises(RuntimeError, match="no"):
        scene.undo()
    assert lamp["intensity"] == 3.0 and len(scene.redo_steps) == 1


def test_an_exception_leaves_the_scene_as_it_was(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    before = scene.text()
    with pytest.raises(RuntimeError, match="mine"):
        with scene.edit("Move"):
            lamp["intensity"] = 8
            with scene.edit("Inner"):
                scene.create("mesh")
            raise RuntimeError("mine")
    assert scene.text() == before


def test_an_edit_can_be_cancelled(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    with scene.edit("Try") as edit:
        lamp["intensity"] = 8
        edit.cancel()
        assert lamp["intensity"] == 3.0
    with pytest.raises(kelvo.RefusedError, match="not open"):
        edit.cancel()


def test_checkpoints(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.undo_enabled = True
    scene.set_checkpoint("start")
    lamp["intensity"] = 8
    lamp["castShadows"] = False
    assert scene.checkpoints == ["start"]
    scene.return_to("start")
    assert lamp["intensity"] == 3.0
    with pytest.raises(kelvo.RefusedError):
        scene.return_to("nowhere")


class Panel:
    """An observer that holds its scene, its subscription and, by its method, itself."""

    def __init__(self) -> None:
        self.scene = kelvo.Scene()
        self.subscription = self.scene.observe(self.changed)

    def changed(self, change: kelvo.Change) -> None:
        self.last = change


def test_cycles_through_observers_are_collected() -> None:
    panel = Panel()
    panel.scene.create("mesh")
    weak = weakref.ref(panel)
    del panel
    gc.collect()
    assert weak() is None


def test_a_subscription_may_outlive_the_handles_on_its_scene() -> None:
    subscription = kelvo.Scene().observe(lambda change: None)
    gc.collect()
    subscription.close()
    subscription.close()
    assert not subscription.is_open


ENDING = """
import kelvo, sys
scene = kelvo.Scene()
library = kelvo.Library("type thing {\\n Real x = 0\\n output Real y\\n}")
log = []
for kind in ("init", "free"):
    library.set_callback("thing", kind, lambda node: log.append(node))
scene.add_library(library)
node = scene.create("thing", "t")
subscription = scene.observe(log.append)
edits = scene.observe_edits(log.append)
class Circle: pass
circle = Circle()
circle.all = (circle, scene, node, subscription, library, node.input("x"), scene.snapshot())
edit = scene.edit("open")
edit.__enter__()
print("ready")
"""


def test_the_interpreter_ends_in_peace() -> None:
    ran = subprocess.run([sys.executable, "-c", ENDING], capture_output=True, text=True,
                         timeout=60)
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "ready\n", "")
