"""The package as a whole: its names, its plug-ins, its import."""
from __future__ import annotations

import pathlib
import subprocess
import sys

import pytest

import kelvo


def printed(code: str) -> str:
    ran = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    return ran.stdout.strip()


def test_every_public_name_is_there() -> None:
    for name in kelvo.__all__:
        assert hasattr(kelvo, name), name


def test_the_import_leaves_numpy_and_the_classes_for_later() -> None:
    assert printed("import kelvo, sys; print('numpy' in sys.modules, 'kelvo.nodes' in sys.modules)"
                   ) == "False False"
    assert printed("import kelvo; print(kelvo.nodes.PointLight.type_name)") == "pointLight"


def test_a_plug_in_that_is_not_there_raises(tmp_path: pathlib.Path) -> None:
    with pytest.raises(kelvo.Error, match="nothing.so"):
        kelvo.load_plugins([tmp_path / "nothing.so"])
    assert kelvo.load_plugins([tmp_path]) == []


def test_labels_are_in_the_chosen_language(lamp: kelvo.Node) -> None:
    kelvo.set_language("de")
    try:
        assert lamp.input("intensity").label() == "Stärke"
    finally:
        kelvo.set_language("")


def test_every_class_and_method_is_explained() -> None:
    for owner in (kelvo.Scene, kelvo.Node, kelvo.Input, kelvo.Output):
        assert owner.__doc__
        for name, member in vars(owner).items():
            if not name.startswith("_"):
                assert member.__doc__, f"{owner.__name__}.{name}"


def test_errors_are_of_their_kinds() -> None:
    for error, base in ((kelvo.InvalidValueError, ValueError), (kelvo.KindError, TypeError),
                        (kelvo.NotFoundError, KeyError), (kelvo.NotFoundError, AttributeError),
                        (kelvo.RangeError, IndexError), (kelvo.FileError, OSError),
                        (kelvo.DeadHandleError, ReferenceError)):
        assert issubclass(error, base) and issubclass(error, kelvo.Error)
