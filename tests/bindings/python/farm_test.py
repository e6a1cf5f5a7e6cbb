"""Rendering on several processes."""
from __future__ import annotations

import os
import pathlib
import signal
import subprocess
import sys
import threading
from collections.abc import Iterator
from typing import Any

import distributed
import pytest

import kelvo
from kelvo import nodes, render

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.insert(0, str(ROOT / "tests" / "docs"))
import doc_text  # type: ignore[import]  # noqa: E402

SAMPLES = 160


@pytest.fixture(scope="module")
def scene() -> kelvo.Scene:
    scene = kelvo.Scene()
    wood = nodes.Material(scene, "wood", baseColor=(0.8, 0.5, 0.3, 1))
    square = nodes.Mesh(scene, "square", positions=[(-1, -1, 0), (1, -1, 0), (1, 1, 0), (-1, 1, 0)],
                        indices=[0, 1, 2, 3], faceCounts=[4], material=wood)
    nodes.Xform(scene, "world", children=[square])
    nodes.SkyLight(scene, "sky", intensity=0.5)
    nodes.Light(scene, "lamp", position=(1, 1, 2), intensity=3)
    return scene


@pytest.fixture(scope="module")
def local(scene: kelvo.Scene) -> render.Picture:
    renderer = render.Renderer(scene.snapshot(evaluated=True), width=160, height=120)
    renderer.render(samples=SAMPLES)
    return renderer.picture()


@pytest.fixture
def cluster() -> Iterator[Any]:
    local_cluster: Any = distributed.LocalCluster
    with local_cluster(n_workers=3, threads_per_worker=1, processes=True,
                       dashboard_address=None) as cluster:
        yield cluster


@pytest.fixture
def client(cluster: Any) -> Iterator[Any]:
    with cluster.get_client() as client:
        client.wait_for_workers(3)
        yield client


def farm(scene: kelvo.Scene, client: Any, **settings: Any) -> render.Picture:
    return render.farm(scene, client, width=160, height=120, samples=SAMPLES, threads=1, **settings)


def test_the_picture_is_the_local_one(scene: kelvo.Scene, client: Any,
                                      local: render.Picture) -> None:
    shares: list[float] = []
    assert farm(scene, client, progress=shares.append) == local
    assert shares == sorted(shares) and shares[-1] == 1
    assert len(shares) == 6


def test_a_worker_is_killed_and_another_joins(scene: kelvo.Scene, cluster: Any, client: Any,
                                              local: render.Picture) -> None:
    killed: list[int] = []

    def kill(share: float) -> None:
        if not killed:
            killed.append(next(iter(client.run(os.getpid).values())))
            os.kill(killed[0], signal.SIGKILL)
            cluster.scale(4)

    assert farm(scene, client, progress=kill) == local
    assert killed
    client.wait_for_workers(4)
    assert killed[0] not in client.run(os.getpid).values()


def test_the_renderer_of_a_worker_is_kept(scene: kelvo.Scene, client: Any) -> None:
    farm(scene, client)
    kept = client.run(lambda: id(render._farm._kept))
    farm(scene, client)
    assert client.run(lambda: id(render._farm._kept)) == kept


def test_errors_of_workers_are_raised(scene: kelvo.Scene, client: Any) -> None:
    with pytest.raises(kelvo.InvalidValueError, match='There is no camera "nobody"'):
        farm(scene, client, camera="nobody")
    with pytest.raises(kelvo.InvalidValueError, match="0 x 1 pixels"):
        render.farm(scene, client, width=0, height=1)


def test_an_exception_in_progress_cancels_the_rest(scene: kelvo.Scene, client: Any) -> None:
    def fail(share: float) -> None:
        raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"):
        farm(scene, client, progress=fail)
    ended = threading.Event()
    client.submit(lambda: None, pure=False).add_done_callback(lambda _: ended.set())
    assert ended.wait(60)


def test_the_program_of_the_page_prints_what_it_says(tmp_path: pathlib.Path) -> None:
    program, output = doc_text.blocks(ROOT / "docs" / "farm.md")
    file = tmp_path / "program.py"
    file.write_text(program.text)
    ran = subprocess.run([sys.executable, str(file)], cwd=tmp_path, text=True, timeout=600,
                         stdout=subprocess.PIPE)
    assert ran.stdout == doc_text.printed_by(program, output)
