"""The renderer in Python."""
from __future__ import annotations

import _thread
import pathlib
import threading
import time
from collections.abc import Callable

import numpy
import pytest

import kelvo
from kelvo import nodes, render



def small(scene: kelvo.Scene, threads: int = 0) -> render.Renderer:
    return render.Renderer(scene.snapshot(), width=24, height=16, threads=threads)


@pytest.fixture
def room(scene: kelvo.Scene) -> kelvo.Scene:
    square = nodes.Mesh(scene, "square", positions=[(-1, -1, 0), (1, -1, 0), (1, 1, 0), (-1, 1, 0)],
                        indices=[0, 1, 2, 3], faceCounts=[4])
    nodes.Xform(scene, "world", children=[square])
    nodes.SkyLight(scene, "sky", intensity=1)
    return scene


def picture(scene: kelvo.Scene, samples: int = 4, threads: int = 0) -> render.Picture:
    renderer = small(scene, threads)
    renderer.render(samples=samples)
    return renderer.picture()


def test_a_picture_is_read_only_arrays_of_rows(room: kelvo.Scene) -> None:
    made = picture(room)
    assert (made.width, made.height) == (24, 16)
    assert made.color.shape == (16, 24, 4) and made.color.dtype == numpy.float32
    assert made.albedo.shape == made.normal.shape == (16, 24, 3)
    assert made.depth.shape == made.node.shape == made.samples.shape == (16, 24)
    assert (made.samples == 4).all()
    assert made.node[8, 12] == room.snapshot()["square"].number
    assert not numpy.isinf(made.depth[8, 12])
    with pytest.raises(ValueError):
        made.color[0, 0, 0] = 1


def test_arrays_keep_the_picture_alive(room: kelvo.Scene) -> None:
    color = picture(room).color
    assert (color == picture(room).color).all()


def test_the_picture_is_the_same_for_any_number_of_threads(room: kelvo.Scene) -> None:
    assert picture(room, threads=1) == picture(room, threads=3)
    assert picture(room, samples=4) != picture(room, samples=5)
    assert picture(room) != "picture"


def test_an_updated_renderer_makes_the_picture_of_a_new_one(room: kelvo.Scene) -> None:
    renderer = small(room)
    renderer.render(samples=2)
    room["sky"]["intensity"] = 3
    renderer.update(room.snapshot())
    renderer.render(samples=4)
    assert renderer.picture() == picture(room)


def test_rendering_goes_on(room: kelvo.Scene) -> None:
    renderer = small(room)
    renderer.render(samples=2)
    renderer.render(samples=4)
    assert renderer.picture() == picture(room)


def test_what_is_not_rendered_and_what_is_added_is_told(scene: kelvo.Scene) -> None:
    scene.create("mesh", "empty")
    renderer = small(scene)
    assert [(one.node, one.number) for one in renderer.findings] == [
        ("empty", scene.snapshot()["empty"].number)]
    assert renderer.findings[0].text.endswith(".")
    assert len(renderer.notes) == 2
    assert "empty" in repr(renderer.findings[0])


def test_progress_rises_on_the_calling_thread(room: kelvo.Scene) -> None:
    told: list[tuple[float, int]] = []
    renderer = render.Renderer(room.snapshot(), width=640, height=480)
    renderer.render(samples=16, progress=lambda share: told.append((share, threading.get_ident())))
    assert told
    assert all(0 < share <= 1 for share, _ in told)
    assert [share for share, _ in told] == sorted(share for share, _ in told)
    assert {thread for _, thread in told} == {threading.get_ident()}


def test_an_exception_in_progress_ends_the_rendering(room: kelvo.Scene) -> None:
    def fail(share: float) -> None:
        raise LookupError("enough")

    renderer = render.Renderer(room.snapshot(), width=640, height=480)
    with pytest.raises(LookupError, match="enough"):
        renderer.render(samples=1 << 30, progress=fail)
    assert renderer.picture().width == 640


def test_progress_may_stop_the_rendering(room: kelvo.Scene) -> None:
    renderer = render.Renderer(room.snapshot(), width=640, height=480)
    renderer.render(samples=1 << 30, progress=lambda share: renderer.stop())
    assert renderer.picture().samples.max() < 1 << 30


def test_an_interrupt_ends_the_rendering(room: kelvo.Scene) -> None:
    interrupts: list[threading.Timer] = []

    def interrupt_later(share: float) -> None:
        if not interrupts:
            interrupts.append(threading.Timer(0.05, _thread.interrupt_main))
            interrupts[0].start()

    renderer = render.Renderer(room.snapshot(), width=640, height=480)
    with pytest.raises(KeyboardInterrupt):
        renderer.render(samples=1 << 30, progress=interrupt_later)
    assert interrupts
    assert renderer.picture().width == 640


def test_another_thread_can_only_stop(room: kelvo.Scene) -> None:
    renderer = render.Renderer(room.snapshot(), width=64, height=64)
    begun = threading.Event()
    thread = threading.Thread(target=lambda: renderer.render(
        samples=1 << 30, progress=lambda share: begun.set()))
    thread.start()
    begun.wait()
    uses: list[Callable[[], object]] = [
        renderer.picture, lambda: renderer.findings, lambda: renderer.render(samples=1),
        lambda: renderer.update(room.snapshot())]
    for use in uses:
        with pytest.raises(kelvo.BusyError, match="in use"):
            use()
    start = time.monotonic()
    renderer.stop()
    thread.join()
    assert time.monotonic() - start < 60
    assert (renderer.picture().samples > 0).any()


@pytest.mark.parametrize("settings, message", [
    ({"width": -1}, "width is a whole number from 0 to 4294967295, not -1"),
    ({"threads": 1 << 32}, "threads is a whole number"),
])
def test_settings_out_of_range_are_refused(room: kelvo.Scene, settings: dict[str, int],
                                           message: str) -> None:
    with pytest.raises(kelvo.RangeError, match=message):
        render.Renderer(room.snapshot(), **settings)  # type: ignore[arg-type]


def test_limits_out_of_range_are_refused(room: kelvo.Scene) -> None:
    renderer = small(room)
    with pytest.raises(kelvo.RangeError, match="seconds is a number from 0 on, not nan"):
        renderer.render(seconds=float("nan"))
    with pytest.raises(kelvo.RangeError, match="samples"):
        renderer.render(samples=-1)


@pytest.mark.parametrize("settings, message", [
    ({"width": 0}, "A picture of 0 x 720 pixels cannot be rendered"),
    ({"camera": "nobody"}, 'There is no camera "nobody"'),
])
def test_what_cannot_be_rendered_is_refused(room: kelvo.Scene, settings: dict[str, str],
                                            message: str) -> None:
    renderer = render.Renderer(room.snapshot(), **settings)  # type: ignore[arg-type]
    with pytest.raises(kelvo.InvalidValueError, match=message):
        renderer.render()


def test_pictures_are_saved(room: kelvo.Scene, tmp_path: pathlib.Path) -> None:
    made = picture(room)
    made.save(tmp_path / "room.png")
    assert (tmp_path / "room.png").read_bytes()[1:4] == b"PNG"
    made.save(str(tmp_path / "room.exr"), layers=["depth", "node"], scene_hash="1234abcd")
    exr = (tmp_path / "room.exr").read_bytes()
    assert b"depth.Z" in exr and b"node.N" in exr and b"1234abcd" in exr


def test_a_picture_that_cannot_be_saved_is_refused(room: kelvo.Scene,
                                                   tmp_path: pathlib.Path) -> None:
    made = picture(room)
    with pytest.raises(kelvo.FileError, match="room.gif"):
        made.save(tmp_path / "room.gif")
    with pytest.raises(kelvo.InvalidValueError, match='"light" is no layer'):
        made.save(tmp_path / "room.exr", layers=["light"])  # type: ignore[list-item]
    assert not list(tmp_path.iterdir())


def test_parts_make_the_picture(room: kelvo.Scene) -> None:
    renderer = small(room)
    assert render.tiles_of(24, 16) == 2
    parts = render.PictureParts(24, 16)
    second, first = renderer.render_part(0, 1, 32, 8), renderer.render_part(0, 2, 0, 32)
    parts.add(first)
    parts.add(second)
    parts.add(renderer.render_part(1, 1, render.SAMPLE_STEP, 8))
    assert parts.picture() == picture(room, samples=40)
    with pytest.raises(kelvo.InvalidValueError, match="which has 40 samples"):
        parts.add(first)
    with pytest.raises(kelvo.InvalidValueError, match="no part of a picture of 24 x 16"):
        parts.add(b"part")


def test_parts_that_do_not_exist_are_refused(room: kelvo.Scene) -> None:
    with pytest.raises(kelvo.InvalidValueError, match="it has 2 tiles"):
        small(room).render_part(1, 2, 0, 1)
    with pytest.raises(kelvo.RangeError, match="first_tile"):
        small(room).render_part(-1, 1, 0, 1)
    with pytest.raises(kelvo.InvalidValueError, match="100000 x 1"):
        render.PictureParts(100000, 1)
