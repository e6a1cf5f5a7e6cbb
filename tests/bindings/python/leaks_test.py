"""Nothing of the library outlives its last handle: cycles are collected, and the interpreter ends
without leaks."""
from __future__ import annotations

import ctypes
import gc
import os
import pathlib
import subprocess
import sys
from collections.abc import Callable, Iterator

import pytest

import kelvo
from kelvo import _kelvo

nodes_alive = ctypes.CDLL(_kelvo.__file__).impl_nodeInstanceCount
nodes_alive.restype = ctypes.c_int64


@pytest.fixture(autouse=True)
def nothing_is_left() -> Iterator[None]:
    kelvo.Scene().create("mesh")  # Makes the standard types.
    gc.collect()
    before = nodes_alive()
    yield
    gc.collect()
    assert nodes_alive() == before


def test_a_node_lives_as_long_as_its_handle() -> None:
    node = kelvo.Scene().create("mesh")
    before = nodes_alive()
    del node
    assert nodes_alive() == before - 1


class Panel:
    """Observes its scene by its own methods, and holds everything that it gets."""

    def __init__(self) -> None:
        self.scene = kelvo.Scene()
        self.scene.undo_enabled = True
        self.seen: list[object] = []
        self.subscriptions = [self.scene.observe(self.see), self.scene.observe_edits(self.see)]

    def see(self, change: object) -> None:
        self.seen.append(change)


def test_cycles_through_observers_are_collected() -> None:
    for _ in range(10):
        panel = Panel()
        lamp = panel.scene.create("pointLight", "lamp", intensity=3)
        panel.subscriptions.append(lamp.observe(panel.see))
        lamp["intensity"] = 4
        lamp.remove()
        panel.seen += [panel, lamp, panel.scene.snapshot(), panel.scene.validate()]


def use_handles() -> None:
    scene = kelvo.Scene()
    lamp = scene.create("pointLight", "lamp")
    kept = [lamp, lamp.input("intensity"), scene.snapshot()["lamp"], scene.find("**")]
    del scene
    with pytest.raises(kelvo.DeadHandleError):
        lamp["intensity"]
    assert len(kept) == 4


def use_undo() -> None:
    scene = kelvo.Scene()
    scene.undo_enabled = True
    for _ in range(10):
        scene.create("mesh").remove()
        scene.undo()


def fail_in_observers() -> None:
    scene = kelvo.Scene()

    def fail(change: kelvo.Change) -> None:
        raise RuntimeError(change.node)

    with scene.observe(fail), pytest.raises(RuntimeError):
        scene.create("mesh")


def evaluate_on_threads() -> None:
    library = kelvo.Library("type twice {\n    Real x = 1\n    output Real result\n}\n")
    library.set_callback("twice", "eval", lambda node, output: node["nothing"])
    scene = kelvo.Scene(libraries=[library, kelvo.Library.standard()])
    for _ in range(50):
        lamp = scene.create("pointLight", "lamp")
        lamp.input("intensity").connect(scene.create("twice").output("result"))
    assert scene.snapshot(evaluated=True, threads=4)["lamp"]["intensity"] == 1.0


@pytest.mark.parametrize("use", [use_handles, use_undo, fail_in_observers, evaluate_on_threads])
def test_nothing_is_left_by(use: Callable[[], None]) -> None:
    use()
