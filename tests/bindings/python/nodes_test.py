"""The typed classes of node types, and the modules that the tool writes for others."""
from __future__ import annotations

import inspect
import keyword
from typing import Any

import numpy as np
import pytest

import kelvo
from kelvo import nodes


def test_every_standard_type_has_a_class() -> None:
    for prototype in kelvo.Library.standard().types:
        name = prototype.type[0].upper() + prototype.type[1:]
        assert getattr(nodes, name).type_name == prototype.type
        assert isinstance(prototype, getattr(nodes, name))


def test_every_input_is_a_property_with_its_help() -> None:
    for prototype in kelvo.Library.standard().types:
        for one in prototype.inputs:
            is_taken = hasattr(kelvo.Node, one.name) or keyword.iskeyword(one.name)
            name = one.name + "_" if is_taken else one.name
            found = inspect.getattr_static(type(prototype), name)
            assert isinstance(found, kelvo.InputProperty) and found.name == one.name
            assert found.__doc__ and found.__doc__.startswith(one.kind)
            assert one.help() in found.__doc__


def test_classes_make_nodes(scene: kelvo.Scene) -> None:
    lamp = nodes.PointLight(scene, "lamp", intensity=3, name="The lamp")
    assert isinstance(lamp, nodes.PointLight) and isinstance(lamp, nodes.Emitter)
    assert lamp.intensity == 3.0 and lamp.name == "lamp" and lamp.name_ == "The lamp"
    lamp.intensity = 5
    assert lamp["intensity"] == 5.0
    with pytest.raises(kelvo.InvalidValueError, match="below the minimum"):
        lamp.intensity = -1
    with pytest.raises(kelvo.NotFoundError, match="did you mean 'intensity'"):
        nodes.PointLight(scene, intensty=3)  # type: ignore[call-arg]


def test_create_takes_a_class(scene: kelvo.Scene) -> None:
    mesh = scene.create(nodes.Mesh, "desk", positions=np.zeros((2, 3), np.float32))
    assert isinstance(scene["desk"], nodes.Mesh) and mesh.positions.shape == (2, 3)


def test_a_word_of_python_has_an_underscore(scene: kelvo.Scene) -> None:
    names = [one.name for node in kelvo.Library.standard().types for one in node.inputs]
    assert "from" in names
    owner = next(node for node in kelvo.Library.standard().types if "from" in node)
    made = scene.create(owner.type, from_=owner["from"])
    assert np.array_equal(getattr(made, "from_"), made["from"])


def test_handles_are_not_made_by_hand(scene: kelvo.Scene) -> None:
    wrong: list[tuple[Any, tuple[object, ...]]] = [
        (kelvo.Node, ()), (kelvo.Node, (scene,)), (kelvo.Input, ()), (kelvo.Output, ()),
        (nodes.Mesh, ()), (nodes.Mesh, ("scene",)), (nodes.Mesh, (scene, "a", "b"))]
    for made, arguments in wrong:
        with pytest.raises(TypeError):
            made(*arguments)
