"""Buffers, vectors and matrices as arrays of NumPy."""
from __future__ import annotations

import gc
from typing import Any

import numpy as np
import pytest

import kelvo

CORNERS = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0]], np.float32)


@pytest.fixture
def mesh(scene: kelvo.Scene) -> kelvo.Node:
    return scene.create("mesh", "desk", positions=CORNERS)


def test_a_buffer_is_a_read_only_array(mesh: kelvo.Node) -> None:
    positions = mesh["positions"]
    assert positions.dtype == np.float32 and positions.shape == (3, 3)
    assert np.array_equal(positions, CORNERS)
    with pytest.raises(ValueError, match="read-only"):
        positions[0] = 1
    with pytest.raises(ValueError):
        positions.flags.writeable = True


def test_arrays_share_the_memory_of_the_buffer(mesh: kelvo.Node) -> None:
    assert np.shares_memory(mesh["positions"], mesh["positions"])


def test_an_array_keeps_its_elements(mesh: kelvo.Node) -> None:
    positions = mesh["positions"]
    mesh["positions"] = positions * 2
    assert np.array_equal(positions, CORNERS)
    assert np.array_equal(mesh["positions"], CORNERS * 2)
    mesh.remove()
    gc.collect()
    assert np.array_equal(positions, CORNERS)


def test_setting_copies(mesh: kelvo.Node) -> None:
    mine = CORNERS.copy()
    mesh["positions"] = mine
    mine[:] = 7
    assert np.array_equal(mesh["positions"], CORNERS)


def test_lists_become_arrays(mesh: kelvo.Node) -> None:
    mesh["indices"] = [0, 1, 2]
    assert mesh["indices"].dtype == np.uint32 and mesh["indices"].tolist() == [0, 1, 2]
    mesh["positions"] = []
    assert mesh["positions"].shape == (0, 3)


@pytest.mark.parametrize("value, error, message", [
    (np.zeros((3, 2), np.float32), kelvo.InvalidValueError, r"shape \(3, 2\)"),
    (np.zeros(9, np.float32), kelvo.InvalidValueError, r"shape \(9,\)"),
    (np.zeros((3, 3)), kelvo.KindError, "type float64"),
    (np.zeros((3, 3), np.int32), kelvo.KindError, "type int32"),
    (np.zeros((6, 3), np.float32)[::2], kelvo.InvalidValueError, "ascontiguousarray"),
    (np.zeros((3, 3), np.float32).T, kelvo.InvalidValueError, "ascontiguousarray"),
    (np.zeros((3, 3), np.dtype(np.float32).newbyteorder()), kelvo.InvalidValueError, "byte order"),
    (np.array([["a"] * 3]), kelvo.KindError, "type <U1"),
    (np.array([[None] * 3]), kelvo.KindError, "type object"),
    ([[1, 2, 3], [4, 5]], kelvo.InvalidValueError, "desk.positions"),
    ("text", kelvo.KindError, "str"),
    (5, kelvo.KindError, "int"),
    (None, kelvo.KindError, "NoneType"),
])
def test_a_wrong_array_raises_and_changes_nothing(mesh: kelvo.Node, value: object,
                                                  error: type[kelvo.Error],
                                                  message: str) -> None:
    with pytest.raises(error, match=message) as caught:
        mesh["positions"] = value
    assert "'desk.positions'" in str(caught.value)
    assert r"shape (n, 3) and type float32" in str(caught.value)
    assert np.array_equal(mesh["positions"], CORNERS)


@pytest.mark.parametrize("kind, array", [
    ("Bool", np.array([True, False])),
    ("Byte", np.array([1, 255], np.uint8)),
    ("Int16", np.array([-1, 2], np.int16)),
    ("Int64", np.array([-2**63, 2**63 - 1], np.int64)),
    ("UInt64", np.array([2**64 - 1], np.uint64)),
    ("Double", np.array([0.1, np.nan, np.inf])),
    ("Vec2i", np.array([[1, -2]], np.int32)),
    ("Rgba8", np.array([[1, 2, 3, 4]], np.uint8)),
    ("Mat3d", np.arange(18.0).reshape(2, 3, 3)),
    ("Mat4f", np.arange(16, dtype=np.float32).reshape(1, 4, 4)),
    ("Aabbf", np.arange(6, dtype=np.float32).reshape(1, 6)),
])
def test_every_element_type_comes_back(scene: kelvo.Scene, kind: str, array: Any) -> None:
    node = scene.create("thing")
    node.create_input("data", f"Buffer<{kind}>", array)
    assert node["data"].dtype == array.dtype
    assert np.array_equal(node["data"], array, equal_nan=array.dtype.kind == "f")


def test_a_buffer_of_any_elements_takes_the_type_of_the_array(scene: kelvo.Scene) -> None:
    node = scene.create("thing")
    data = node.create_input("data", "Buffer")
    data.value = np.zeros((2, 3), np.float32)
    assert data.kind == "Buffer<Vec3f>"
    data.set_elements(np.zeros(2, np.uint16))
    assert data.kind == "Buffer<UInt16>"
    data.set_elements([[1, 2, 3]], "Pos3f")
    assert data.kind == "Buffer<Pos3f>"
    with pytest.raises(kelvo.InvalidValueError, match="no element type"):
        data.set_elements(np.zeros((2, 7), np.float32))


def test_tuples_are_arrays_of_doubles(lamp: kelvo.Node) -> None:
    lamp["color"] = (0.1, 0.2, 0.3, 1)
    assert lamp["color"].dtype == np.float64 and lamp["color"].tolist() == [0.1, 0.2, 0.3, 1]
    with pytest.raises(ValueError, match="read-only"):
        lamp["color"][0] = 1
    lamp["color"] = np.ones(4, np.float32)
    assert lamp["color"].tolist() == [1, 1, 1, 1]


def test_the_translation_of_a_matrix_is_its_last_row(scene: kelvo.Scene) -> None:
    matrix = np.eye(4)
    matrix[3, :3] = 1, 2, 3
    room = scene.create("xform", "room", matrix=matrix)
    assert np.array_equal(room["matrix"], matrix)
    assert "0 0 1 0  1 2 3 1)" in scene.text()
    for wrong in (np.zeros((3, 4)), np.zeros(16), np.zeros((4, 3))):
        with pytest.raises(kelvo.KindError, match="room.matrix"):
            room["matrix"] = wrong
