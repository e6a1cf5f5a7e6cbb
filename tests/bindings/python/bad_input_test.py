"""Any input: it is accepted, or an exception names the input and nothing changes."""
from __future__ import annotations

from typing import Any

import numpy as np
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import kelvo

SCALARS = st.one_of(
    st.none(), st.booleans(), st.integers(), st.integers(-2**70, 2**70), st.floats(),
    st.text(max_size=8), st.binary(max_size=8), st.complex_numbers(), st.just(object()),
    st.floats(width=32).map(np.float32), st.integers(0, 255).map(np.uint8))
TYPES = st.one_of(hnp.boolean_dtypes(), hnp.integer_dtypes(endianness="?"),
                  hnp.floating_dtypes(endianness="?"), hnp.unicode_string_dtypes())
ARRAYS = TYPES.flatmap(lambda dtype: hnp.arrays(dtype, hnp.array_shapes(
    min_dims=0, max_dims=3, min_side=0, max_side=4)))
VALUES = st.recursive(st.one_of(SCALARS, ARRAYS), lambda inner: st.one_of(
    st.lists(inner, max_size=5), st.tuples(inner, inner, inner),
    st.dictionaries(st.text(max_size=4), inner, max_size=3)), max_leaves=6)
KINDS = ["Bool", "Int", "UInt", "Real", "Vec2", "Vec3", "Pos3", "Quat", "Rgba", "Mat3", "Mat4",
         "String", "Node", "Buffer", "Buffer<Float>", "Buffer<Pos3f>", "Buffer<Mat4d>",
         "Array<Real>", "Array<Node>", "Object"]

settings.register_profile("kelvo", database=None, max_examples=100, deadline=None,
                          suppress_health_check=list(HealthCheck))
settings.load_profile("kelvo")


def scene_of_all_kinds() -> kelvo.Scene:
    scene = kelvo.Scene(libraries=[])
    node = scene.create("thing", "t")
    for number, kind in enumerate(KINDS):
        node.create_input(f"i{number}", kind)
    return scene


@given(st.sampled_from(range(len(KINDS))), VALUES)
def test_any_value(number: int, value: Any) -> None:
    scene = scene_of_all_kinds()
    before = scene.text()
    try:
        scene["t"][f"i{number}"] = value
    except kelvo.Error as error:
        assert f"t.i{number}" in str(error) and len(str(error)) > 20
        assert scene.text() == before
    assert scene.verify() == []
    assert kelvo.Scene(libraries=[]).read(scene.text()) == 0


@settings(max_examples=40)
@given(VALUES)
def test_any_key(key: Any) -> None:
    scene = scene_of_all_kinds()
    before = scene.text()
    for container in (scene, scene["t"], scene["t"]["i17"], scene["t"]["i19"]):
        try:
            container[key]
        except (kelvo.Error, TypeError, IndexError):
            pass
        try:
            key in container  # noqa: B015
        except (kelvo.Error, TypeError):
            pass
    assert scene.text() == before


@given(st.text(max_size=200))
def test_any_scene_text(text: str) -> None:
    scene = scene_of_all_kinds()
    before = scene.text()
    try:
        scene.read(text)
    except kelvo.TextError as error:
        assert error.diagnostics and scene.text() == before


@given(st.text(max_size=200))
def test_any_definition_text(text: str) -> None:
    try:
        library = kelvo.Library("type a {\n    Real x = " + text + "\n}\n")
        assert kelvo.Library(library.text()).text() == library.text()
    except kelvo.TextError as error:
        assert error.diagnostics


@settings(max_examples=30)
@given(VALUES)
def test_any_argument(value: Any) -> None:
    scene = scene_of_all_kinds()
    before = scene.text()
    node, one = scene["t"], scene["t"].input("i3")
    calls: list[Any] = [scene.remove, scene.load, scene.add_library, scene.observe,
                        node.parent_to, node.input, node.output, node.first_path_to, one.connect,
                        one.copy_value, one.rename, scene.return_to, scene.find]
    for call in calls:
        try:
            call(value)
        except (kelvo.Error, TypeError, ValueError, OSError, OverflowError):
            pass
        else:
            if call == one.rename:
                one.rename("i3")
    assert scene.text() == before and scene.verify() == []


STORED = scene_of_all_kinds().snapshot().to_bytes()


@given(st.integers(0, len(STORED) - 1), st.integers(1, 255), st.booleans())
def test_a_stored_snapshot_with_a_wrong_byte(place: int, wrong: int, is_cut: bool) -> None:
    data = bytearray(STORED)
    data[place] ^= wrong
    try:
        snapshot = kelvo.Snapshot.from_bytes(bytes(data[:place] if is_cut else data))
        assert all(one.path in node for node in snapshot for one in node.inputs)
        snapshot.verify()
    except kelvo.FileError as error:
        assert "<bytes>" in str(error)


@given(st.one_of(SCALARS, st.lists(SCALARS, max_size=2)))
def test_calls_of_snapshots_with_any_argument(value: Any) -> None:
    scene = scene_of_all_kinds()
    before, snapshot = scene.text(), scene.snapshot()
    try:
        scene.read(value)
        before = scene.text()  # A comment is a text without nodes.
    except (kelvo.Error, TypeError, ValueError):
        pass
    calls: list[Any] = [kelvo.read_snapshot, kelvo.Snapshot.from_bytes, kelvo.open_binary,
                        snapshot.find, snapshot["t"].input, snapshot["t"].world_matrices,
                        snapshot.node_with_number, snapshot["t"].paths_to,
                        lambda one: kelvo.why(snapshot, snapshot, one)]
    for call in calls:
        try:
            call(value)
        except (kelvo.Error, TypeError, ValueError):
            pass
    assert scene.text() == before
