"""Notebooks: the tables and pictures show what they should, and nothing of a scene runs in them."""
from __future__ import annotations

import pathlib
import sys
from collections.abc import Iterator
from typing import Any
from xml.etree import ElementTree

import pytest

import kelvo

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
from browser import Browser  # type: ignore[import]  # noqa: E402

HOSTILE = "<script>document.title='hit'</script><img src=x onerror=\"document.title='hit'\">'&\""


@pytest.fixture(scope="module")
def browser() -> Iterator[Any]:
    browser = Browser()
    yield browser
    browser.close()


@pytest.fixture
def hostile(scene: kelvo.Scene) -> kelvo.Scene:
    lamp = scene.create("pointLight", "lamp", name=HOSTILE, intensity=3)
    scene.create("xform", "room", children=[lamp])
    scene.create("texture", "wood", dir=HOSTILE, file="a")
    return scene


def shown(browser: Any, folder: pathlib.Path, *parts: str) -> None:
    page = folder / "page.html"
    page.write_text("<!doctype html><meta charset=utf-8><title>calm</title>" + "".join(parts))
    browser.complaints.clear()
    browser.open(str(page))
    browser.settle()
    assert browser.value("document.title") == "calm"
    assert browser.complaints == [] and browser.value("document.scripts.length") == 0


def html(thing: Any) -> str:
    return str(thing._repr_html_())


def test_tables_show_the_values_as_text(browser: Any, hostile: kelvo.Scene,
                                        tmp_path: pathlib.Path) -> None:
    shown(browser, tmp_path, html(hostile), html(hostile["lamp"]), html(hostile.validate()))
    assert browser.value("document.querySelector('caption').textContent") == "Scene of 3 nodes"
    text = browser.value("document.querySelectorAll('table')[1].textContent")
    assert "pointLight lamp" in text and "<script>" in text and "intensityReal3" in text
    assert browser.value("document.images.length") == 0


def test_the_graph_is_a_picture(browser: Any, hostile: kelvo.Scene, tmp_path: pathlib.Path) -> None:
    picture = hostile._repr_svg_()
    ElementTree.fromstring(picture)
    shown(browser, tmp_path, picture, hostile["lamp"]._repr_svg_() or "")
    assert browser.value("document.querySelectorAll('rect').length") >= 3
    assert browser.value("document.querySelectorAll('line').length") >= 1
    assert browser.value("document.querySelector('svg text').textContent") == "lamp"


def test_long_tables_end(scene: kelvo.Scene) -> None:
    with scene.edit("Many"):
        for _ in range(200):
            scene.create("thing")
    assert html(scene).count("<tr>") == 51 and "150 more" in html(scene)


def test_cycles_of_links_are_drawn(scene: kelvo.Scene) -> None:
    a, b = scene.create("thing", "a"), scene.create("thing", "b")
    a.create_input("to", "Node", b)
    b.create_input("to", "Node", a)
    assert scene._repr_svg_().count("<line") == 2
