"""Nodes and inputs: values, links, connections, handles."""
from __future__ import annotations

import copy
import pathlib
import weakref
from collections.abc import Callable

import numpy as np
import pytest

import kelvo


def test_values_are_set_and_read_by_name_and_attribute(lamp: kelvo.Node) -> None:
    lamp["intensity"] = 4
    assert lamp.intensity == 4.0
    lamp.intensity = 5.5
    assert lamp["intensity"] == 5.5
    assert lamp.input("intensity").value == 5.5


@pytest.mark.parametrize("name, value, error, message", [
    ("intensity", -1, kelvo.InvalidValueError, "below the minimum 0"),
    ("intensity", "bright", kelvo.InvalidValueError, "expected a number"),
    ("intensity", None, kelvo.KindError, "NoneType: expected a number"),
    ("intensity", [1], kelvo.KindError, "list: expected a number"),
    ("intensity", 10**30, kelvo.InvalidValueError, "outside of 64 bits"),
    ("intensity", 2**53 + 1, kelvo.InvalidValueError, "lamp.intensity"),
    ("castShadows", 3, kelvo.InvalidValueError, "expected true or false"),
    ("castShadows", float("nan"), kelvo.InvalidValueError, "expected true or false"),
    ("color", (1, 2), kelvo.KindError, r"four numbers, \(r g b a\)"),
    ("color", (1, 2, 3, "x"), kelvo.KindError, "four numbers"),
    ("color", np.zeros((2, 2)), kelvo.KindError, "four numbers"),
    ("name", 1.5j, kelvo.KindError, "lamp.name"),
    ("modifiers", 3, kelvo.KindError, "a list of values"),
    ("colour", 1, kelvo.NotFoundError, "did you mean 'color'"),
])
def test_a_wrong_value_raises_and_changes_nothing(scene: kelvo.Scene, lamp: kelvo.Node, name: str,
                                                  value: object, error: type[kelvo.Error],
                                                  message: str) -> None:
    before = scene.text()
    with pytest.raises(error, match=message):
        lamp[name] = value
    assert scene.text() == before


def test_a_missing_attribute_is_an_attribute_error(lamp: kelvo.Node) -> None:
    assert not hasattr(lamp, "intensty")
    with pytest.raises(AttributeError, match="did you mean 'intensity'"):
        lamp.intensty = 1
    with pytest.raises(KeyError):
        lamp["intensty"]


def test_a_read_only_input_raises(scene: kelvo.Scene) -> None:
    scene.read('node light "sun" {\n    Real x = 1 @readonly\n}\n')
    with pytest.raises(kelvo.ReadOnlyError, match="sun.x"):
        scene["sun"]["x"] = 2
    with pytest.raises(kelvo.ReadOnlyError):
        scene["sun"].input("x").reset()


def test_numbers_of_numpy_are_accepted(lamp: kelvo.Node) -> None:
    for number in (np.float32(2), np.float64(2), np.int8(2), np.uint64(2)):
        lamp["intensity"] = 1
        lamp["intensity"] = number
        assert lamp["intensity"] == 2.0
    lamp["castShadows"] = np.bool_(False)
    assert lamp["castShadows"] is False


def test_large_whole_numbers_are_exact(scene: kelvo.Scene) -> None:
    node = scene.create("thing")
    node.create_input("u", "UInt", 2**64 - 1)
    node.create_input("i", "Int", -2**63)
    assert (node["u"], node["i"]) == (2**64 - 1, -2**63)


def test_texts_of_any_bytes_come_back(lamp: kelvo.Node) -> None:
    for text in ("Lämpchen \U0001f4a1", "a\0b", b"\xff\xfe".decode("utf-8", "surrogateescape")):
        lamp["name"] = text
        assert lamp["name"] == text


def test_a_path_is_a_text(scene: kelvo.Scene) -> None:
    texture = scene.create("texture", "t")
    texture["dir"] = pathlib.Path("a") / "b"
    assert texture["dir"] == "a/b"
    texture.file_path = pathlib.Path("maps/wood.png")  # type: ignore[assignment]
    assert (texture["file"], texture.file_path) == ("wood", "maps/wood.png")


def test_links_are_nodes(scene: kelvo.Scene) -> None:
    wood = scene.create("material", "wood")
    desk = scene.create("mesh", "desk", material=wood)
    assert desk["material"] == wood
    desk["material"] = None
    assert desk["material"] is None


def test_a_link_to_another_scene_raises(scene: kelvo.Scene) -> None:
    desk, other = scene.create("mesh", "desk"), kelvo.Scene()
    with pytest.raises(kelvo.InvalidValueError, match="wood"):
        desk["material"] = other.create("material", "wood")
    assert desk["material"] is None


def test_arrays_are_sequences(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    desk = scene.create("mesh", "desk")
    children = scene.create("xform", "room", children=[lamp, desk]).children
    assert list(children) == [lamp, desk] and len(children) == 2
    assert children[-1] == desk and children[::-1] == [desk, lamp] and lamp in children
    children[0:2] = [desk, lamp]
    assert list(children) == [desk, lamp]
    del children[0]
    children.append(desk)
    children.insert(0, desk)
    assert list(children) == [desk, lamp, desk]
    children.clear()
    assert not children
    with pytest.raises(IndexError):
        children[0]


def test_a_list_with_a_wrong_value_changes_nothing(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    room = scene.create("xform", "room", children=[lamp])
    before = scene.text()
    with pytest.raises(kelvo.Error, match="children"):
        room["children"] = [lamp, lamp, 3.5]
    assert scene.text() == before


def test_objects_are_mappings(scene: kelvo.Scene) -> None:
    scene.read("""node thing "t" {
        Object o {
            Real x = 1
            Int n = 2
        }
    }
    """)
    thing = scene["t"]
    assert list(thing["o"]) == ["x", "n"] and thing["o"]["x"] == 1.0 and thing["o.n"] == 2
    thing["o"] = {"x": 5}
    assert thing["o"]["x"] == 5.0
    with pytest.raises(kelvo.NotFoundError, match="no member 'y'"):
        thing["o"] = {"x": 6, "y": 7}
    assert thing["o"]["x"] == 5.0


def test_inputs_describe_themselves(lamp: kelvo.Node) -> None:
    one = lamp.input("intensity")
    assert (one.kind, one.minimum, one.maximum, one.default) == ("Real", 0.0, None, 1.0)
    assert one.choices == []
    assert one.label("de") == "Stärke" and "Brightness" in one.help()
    assert not one.is_default
    one.reset()
    assert one.is_default


def test_inputs_are_created_renamed_and_removed(scene: kelvo.Scene) -> None:
    thing = scene.create("thing", "t")
    one = thing.create_input("weights", "Array<Real>", [1, 2.5])
    assert list(thing["weights"]) == [1.0, 2.5] and one.kind == "Array<Real>"
    one.rename("factors")
    assert "factors" in thing and "weights" not in thing
    del thing["factors"]
    assert len(thing) == 0
    with pytest.raises(kelvo.InvalidValueError, match="There is no kind 'Reel'"):
        thing.create_input("x", "Reel")


def test_connections_are_evaluated(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    mix = scene.create("mix", "power", b=40)
    lamp.input("intensity").connect(mix.output("result"))
    assert lamp["intensity"] == 20.0 and lamp.input("intensity").stored == 3.0
    assert mix.output("result").targets == [lamp.input("intensity")]
    assert lamp.input("intensity").source == mix.output("result")
    with pytest.raises(kelvo.RefusedError, match="loop"):
        mix.input("b").connect(mix.output("result"))
    lamp.input("intensity").disconnect()
    assert lamp["intensity"] == 3.0


def test_handles_compare_and_hash(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    assert scene["lamp"] == lamp and scene["lamp"] is not lamp
    assert {lamp: 1}[scene["lamp"]] == 1
    assert lamp != scene.create("mesh") and lamp != "lamp"
    assert lamp.input("color") == lamp.inputs[[i.name for i in lamp.inputs].index("color")]
    assert lamp.scene == scene


def test_a_removed_node_is_dead_until_undo(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    scene.undo_enabled = True
    one = lamp.input("intensity")
    scene.remove(lamp)
    uses: list[Callable[[], object]] = [
        lambda: lamp["intensity"], lambda: one.value, lambda: lamp.inputs, lamp.clone,
        lambda: setattr(lamp, "intensity", 1)]
    for use in uses:
        with pytest.raises(kelvo.DeadHandleError, match="lamp"):
            use()
    assert lamp.name == "lamp" and not lamp.is_alive
    scene.undo()
    assert lamp["intensity"] == 3.0 and one.value == 3.0


def test_handles_outlive_their_scene() -> None:
    lamp = kelvo.Scene().create("pointLight", "lamp")
    assert lamp.name == "lamp" and lamp.scene is None
    with pytest.raises(ReferenceError):
        lamp["intensity"] = 1


def test_copies_of_nodes(scene: kelvo.Scene) -> None:
    wood = scene.create("material", "wood")
    desk = scene.create("mesh", "desk", material=wood)
    assert copy.copy(desk)["material"] == wood
    assert copy.deepcopy(desk)["material"] not in (wood, None)


def test_conversion_reports_losses(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    losses: list[tuple[str, str]] = []
    lamp.create_input("radius", "Real", 2)
    spot = lamp.convert_to("spotLight", losses)
    assert spot.type == "spotLight" and spot["intensity"] == 3.0 and scene["lamp"] == spot
    assert all(path.startswith("lamp.") for path, _ in losses)


def test_paths_and_dependencies(scene: kelvo.Scene, lamp: kelvo.Node) -> None:
    room = scene.create("xform", "room")
    lamp.parent_to(room)
    assert room.descendants() == [lamp] and lamp.index_in(room) == 0
    assert room.first_path_to(lamp) == [room, lamp]
    assert list(room.paths_to(lamp)) == [[room, lamp]] and list(room.paths(["pointLight"]))
    assert room.dependencies() == [lamp]
    lamp.unparent_from(room)
    assert room.first_path_to(lamp) is None


def test_dirty_and_hash_follow_a_change(lamp: kelvo.Node) -> None:
    lamp.dirty = False
    before = lamp.content_hash()
    assert not lamp.dirty
    lamp["intensity"] = 8
    assert lamp.dirty and lamp.content_hash() != before


def test_a_node_without_inputs_is_true(scene: kelvo.Scene) -> None:
    node = scene.create("thing")
    assert node and len(node) == 0


def test_handles_can_be_referred_to_weakly(lamp: kelvo.Node) -> None:
    weak = weakref.ref(lamp)
    assert weak() is lamp
