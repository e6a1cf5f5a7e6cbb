"""Renders scenes, where the SDK was built with its renderer.

    import kelvo.render

    renderer = kelvo.render.Renderer(scene.snapshot(evaluated=True), width=320, height=240)
    renderer.render(samples=16)
    renderer.picture().save("scene.png")
"""
from __future__ import annotations

from kelvo.render._farm import farm
from kelvo.render._render import (
    SAMPLE_STEP,
    Finding,
    Picture,
    PictureParts,
    Renderer,
    tiles_of,
)

__all__ = ["SAMPLE_STEP", "Finding", "Picture", "PictureParts", "Renderer", "farm", "tiles_of"]
