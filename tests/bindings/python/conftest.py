"""Shared by the tests of the package."""
from __future__ import annotations

import pytest

import kelvo


@pytest.fixture
def scene() -> kelvo.Scene:
    return kelvo.Scene()


@pytest.fixture
def lamp(scene: kelvo.Scene) -> kelvo.Node:
    return scene.create("pointLight", "lamp", intensity=3)
