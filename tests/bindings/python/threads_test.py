"""Threads: long calls release the interpreter lock, and uses that exclude each other raise."""
from __future__ import annotations

import functools
import threading
import time
from collections.abc import Callable

import numpy as np
import pytest

import kelvo


def run_all(*bodies: Callable[[], object]) -> list[BaseException]:
    """Runs functions at the same time; returns their exceptions."""
    failures: list[BaseException] = []

    def run(body: Callable[[], object]) -> None:
        try:
            body()
        except BaseException as error:  # Told to the test.
            failures.append(error)

    threads = [threading.Thread(target=run, args=(body,)) for body in bodies]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
        assert not thread.is_alive()
    return failures


@pytest.fixture
def large() -> str:
    scene = kelvo.Scene(libraries=[])
    for number in range(20):
        node = scene.create("thing", f"n{number}")
        node.create_input("data", "Buffer<Double>", np.random.default_rng(number).random(20000))
    return scene.text()


def test_a_long_call_lets_others_run(large: str) -> None:
    scene = kelvo.Scene()
    ticks: list[float] = []
    done = threading.Event()

    def tick() -> None:
        while not done.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.0005)

    thread = threading.Thread(target=tick)
    thread.start()
    begin = time.perf_counter()
    scene.read(large, threads=1)
    end = time.perf_counter()
    done.set()
    thread.join()
    assert sum(begin < tick < end for tick in ticks) > 3


def test_an_edit_beside_a_long_edit_raises_and_changes_nothing(large: str) -> None:
    scene = kelvo.Scene()
    lamp = scene.create("pointLight", "lamp")
    refused: list[kelvo.BusyError] = []
    started = threading.Event()
    done = threading.Event()

    def read() -> None:
        started.set()
        scene.read(large, threads=1)
        done.set()

    def edit() -> None:
        started.wait()
        while not done.is_set():
            try:
                lamp["intensity"] = lamp["intensity"]
            except kelvo.BusyError as error:
                refused.append(error)

    failures = run_all(read, edit)
    assert [type(failure) for failure in failures] in ([], [kelvo.BusyError])
    assert refused and "in use" in str(refused[0])
    assert scene.verify() == []


def test_an_edit_scope_refuses_the_edits_of_others() -> None:
    scene = kelvo.Scene()
    lamp = scene.create("pointLight", "lamp", intensity=3)
    with scene.edit("Mine"):
        failures = run_all(lambda: lamp.__setitem__("intensity", 9), lambda: lamp["intensity"])
        assert [type(failure) for failure in failures] == [kelvo.BusyError]
        lamp["intensity"] = 4
    assert run_all(lambda: lamp.__setitem__("intensity", 9)) == []
    assert lamp["intensity"] == 9.0


def test_an_iteration_notices_the_edits_of_others() -> None:
    scene = kelvo.Scene()
    scene.create("mesh")
    with pytest.raises(kelvo.BusyError, match="during the iteration"):
        for _ in scene:
            run_all(lambda: scene.create("mesh"))


def test_observers_and_editors_on_many_threads_do_not_wait_for_ever() -> None:
    scenes = [kelvo.Scene() for _ in range(4)]
    shared = kelvo.Scene()
    node = shared.create("mesh")

    def work(scene: kelvo.Scene) -> None:
        changes: list[kelvo.Change] = []
        for number in range(50):
            with scene.observe(changes.append), node.observe(changes.append):
                scene.read(f'node pointLight "n{number}" {{\n    Real intensity = 5\n}}\n')
                shared.text()
        assert sum(change.kind == "node_added" for change in changes) == 50

    assert run_all(*[functools.partial(work, scene) for scene in scenes]) == []


def test_callbacks_run_on_all_reading_threads() -> None:
    library = kelvo.Library("type twice {\n    Real x = 1\n    output Real result\n}\n")
    library.set_callback("twice", "eval", lambda node, output: 2 * node["x"])
    scene = kelvo.Scene(libraries=[library])
    nodes = [scene.create("twice", x=number) for number in range(8)]
    sums: list[float] = []

    def read() -> None:
        sums.append(sum(node.output("result").value for node in nodes for _ in range(50)))

    assert run_all(*[read] * 4) == []
    assert sums == [2 * 28 * 50.0] * 4
