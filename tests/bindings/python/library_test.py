"""Node libraries in Python."""
from __future__ import annotations

import logging

import numpy as np
import pytest

import kelvo

TEXT = """
type twice {
    Real x = 1
    output Real result
}
type ramp {
    Int count = 3
    output Buffer<Float> values
    output Rgba color
    output String text
}
"""


@pytest.fixture
def library(scene: kelvo.Scene) -> kelvo.Library:
    library = kelvo.Library(TEXT)
    scene.add_library(library)
    return library


def test_types_are_defined(scene: kelvo.Scene, library: kelvo.Library) -> None:
    assert [node.type for node in library.types] == ["twice", "ramp"]
    assert "twice" in library and "thrice" not in library and len(library) == 2
    assert scene.create("twice")["x"] == 1.0
    assert kelvo.Library(library.text()).text() == library.text()
    assert scene.libraries == [kelvo.Library.standard(), library]


def test_a_faulty_text_raises_and_adds_nothing(library: kelvo.Library) -> None:
    with pytest.raises(kelvo.TextError, match="'Reel'") as caught:
        library.read("type a { Real x = 1 }\ntype b { Reel x = 1 }\n", source="b.knd")
    assert caught.value.diagnostics[0].type == "b"
    assert len(library) == 2


def test_eval_gives_the_value(scene: kelvo.Scene, library: kelvo.Library) -> None:
    @library.callback("twice", "eval")
    def twice(node: kelvo.Node, output: kelvo.Output) -> object:
        return 2 * node["x"]

    node = scene.create("twice", x=4)
    assert node.output("result").value == 8.0
    lamp = scene.create("pointLight", "lamp")
    lamp.input("intensity").connect(node.output("result"))
    assert lamp["intensity"] == 8.0


def test_outputs_of_every_kind(scene: kelvo.Scene, library: kelvo.Library) -> None:
    @library.callback("ramp", "eval")
    def ramp(node: kelvo.Node, output: kelvo.Output) -> object:
        if output.name == "values":
            return np.arange(node["count"], dtype=np.float32)
        return (1, 2, 3, 4) if output.name == "color" else "text"

    node = scene.create("ramp", count=4)
    assert node.output("values").value.tolist() == [0, 1, 2, 3]
    assert node.output("color").value.tolist() == [1, 2, 3, 4]
    assert node.output("text").value == "text"


def test_an_exception_is_logged_and_fails_the_read(
        scene: kelvo.Scene, library: kelvo.Library, caplog: pytest.LogCaptureFixture) -> None:
    @library.callback("twice", "eval")
    def fail(node: kelvo.Node, output: kelvo.Output) -> object:
        raise ZeroDivisionError("mine")

    node = scene.create("twice", "n")
    with caplog.at_level(logging.ERROR, "kelvo"), pytest.raises(kelvo.EvaluationError) as caught:
        node.output("result").value
    assert "n.result" in str(caught.value)
    assert isinstance(caught.value.__cause__, ZeroDivisionError)
    assert "Traceback" in caplog.text and "in fail" in caplog.text


def test_a_result_of_a_wrong_type_fails_the_read(scene: kelvo.Scene,
                                                 library: kelvo.Library) -> None:
    library.set_callback("twice", "eval", lambda node, output: [1, 2])
    with pytest.raises(kelvo.EvaluationError) as caught:
        scene.create("twice").output("result").value
    assert isinstance(caught.value.__cause__, kelvo.KindError)


def test_an_exception_of_init_makes_no_node(scene: kelvo.Scene, library: kelvo.Library) -> None:
    @library.callback("twice", "init")
    def fail(node: kelvo.Node) -> None:
        raise ZeroDivisionError("mine")

    with pytest.raises(kelvo.Error, match="init") as caught:
        scene.create("twice")
    assert isinstance(caught.value.__cause__, ZeroDivisionError)
    assert len(scene) == 0


def test_an_exception_is_not_the_cause_of_later_failures(scene: kelvo.Scene,
                                                         library: kelvo.Library) -> None:
    library.set_callback("twice", "prep", lambda node: 1 / 0)
    node = scene.create("twice")
    assert not node.prepare()
    with pytest.raises(kelvo.InvalidValueError) as caught:
        node["x"] = "text"
    assert caught.value.__cause__ is None


def test_a_class_has_all_callbacks(scene: kelvo.Scene, library: kelvo.Library) -> None:
    calls: list[str] = []

    @library.node_class("twice")
    class Twice:
        @staticmethod
        def init(node: kelvo.Node) -> None:
            calls.append("init")

        @staticmethod
        def prep(node: kelvo.Node) -> None:
            calls.append("prep")

        @staticmethod
        def changed(one: kelvo.Input) -> None:
            calls.append(f"changed {one.name}")

        @staticmethod
        def free(node: kelvo.FreedNode) -> None:
            calls.append(f"free {node.name}")

    node = scene.create("twice", "n")
    node["x"] = 5
    assert node.prepare()
    node.remove()
    del node
    assert calls == ["init", "changed x", "prep", "free n"]


FREED = """type thing {
    Real x = 1
    Node friend
    Array<Node> friends
    Object shade {
        Rgba tint = (1 0 0 1)
        Array<Real> stops = [1, 2]
    }
    Buffer<Pos3f> positions
}
"""


def test_a_node_that_is_freed_still_has_its_values() -> None:
    library, freed = kelvo.Library(FREED), []
    values: list[object] = []

    @library.callback("thing", "free")
    def free(node: kelvo.FreedNode) -> None:
        freed.append(node)
        values.extend((node.name, node.type, node["x"], node["friend"], node["friends"],
                       node["shade.stops[1]"], list(node["shade"]), node["positions"]))

    scene = kelvo.Scene(libraries=[library])
    friend = scene.create("other", "o")
    scene.create("thing", "a", x=5, friend=friend, friends=[friend, None],
                 positions=np.ones((2, 3), np.float32)).remove()
    assert values[:-1] == ["a", "thing", 5.0, "o", ["o", None], 2.0, ["tint", "stops"]]
    array = values[-1]
    assert isinstance(array, np.ndarray) and array.sum() == 6 and freed[0].name == "a"
    with pytest.raises(kelvo.DeadHandleError, match="'a' is gone"):
        freed[0]["x"]


def test_a_wrong_name_in_a_free_callback_is_logged(caplog: pytest.LogCaptureFixture) -> None:
    library = kelvo.Library(FREED)
    library.set_callback("thing", "free", lambda node: node["why"])
    scene = kelvo.Scene(libraries=[library])
    scene.create("thing", "a").remove()
    assert "NotFoundError: Node 'a' of type 'thing' has no input 'why'" in caplog.text


@pytest.mark.parametrize("kind, function", [
    ("eval", lambda node: 1),
    ("init", lambda: None),
    ("changed", lambda a, b: None),
    ("prep", 5),
])
def test_a_wrong_signature_raises(library: kelvo.Library, kind: str, function: object) -> None:
    with pytest.raises(kelvo.KindError, match=f"'{kind}' of type 'twice'"):
        library.set_callback("twice", kind, function)  # type: ignore[arg-type]


def test_unknown_types_and_callbacks_raise(library: kelvo.Library) -> None:
    with pytest.raises(kelvo.NotFoundError, match="thrice"):
        library.set_callback("thrice", "eval", lambda node, output: 1)
    with pytest.raises(kelvo.InvalidValueError, match="expected init, prep"):
        library.set_callback("twice", "evil", lambda node, output: 1)
    with pytest.raises(kelvo.RefusedError):
        kelvo.Library.standard().set_callback("mix", "eval", lambda node, output: 1)


def test_an_endless_evaluation_fails(scene: kelvo.Scene, library: kelvo.Library) -> None:
    library.set_callback("twice", "eval", lambda node, output: output.value)
    with pytest.raises(kelvo.EvaluationError):
        scene.create("twice").output("result").value


def test_a_callback_must_not_edit(scene: kelvo.Scene, library: kelvo.Library) -> None:
    @library.callback("twice", "eval")
    def edit(node: kelvo.Node, output: kelvo.Output) -> object:
        node["x"] = 7
        return 1

    with pytest.raises(kelvo.EvaluationError) as caught:
        scene.create("twice", "n").output("result").value
    assert isinstance(caught.value.__cause__, kelvo.BusyError)
    assert scene["n"]["x"] == 1.0


def test_modifiers_run_python(scene: kelvo.Scene) -> None:
    library = kelvo.Library("type doubler : modifier {\n    Real by = 2\n}\n")
    calls: list[tuple[str, str]] = []

    @library.callback("doubler", "modify")
    def modify(modifier: kelvo.Node, node: kelvo.Node) -> None:
        calls.append((modifier.name, node.name))

    scene.add_library(library)
    doubler = scene.create("doubler", "d")
    scene.create("pointLight", "lamp", modifiers=[doubler])
    assert ("d", "lamp") in calls
