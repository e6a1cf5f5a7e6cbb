"""Rendering on several machines."""
from __future__ import annotations

import hashlib
import importlib
import os
import threading
import warnings
from collections.abc import Callable, Iterator
from typing import Any, NamedTuple

from kelvo import Scene, Snapshot
from kelvo.render._render import SAMPLE_STEP, Picture, PictureParts, Renderer, tiles_of

TILES_OF_TASK = 32
SAMPLES_OF_TASK = 4 * SAMPLE_STEP


class Settings(NamedTuple):
    """The needs of a worker beside the snapshot, which `key` stands for."""

    key: str
    width: int
    height: int
    camera: str
    folder: str
    threads: int


class Part(NamedTuple):
    """Some samples of some tiles."""

    first_tile: int
    tiles: int
    first_sample: int
    samples: int


# A worker's process keeps the renderer that it used last.
_kept: tuple[Settings, Renderer] | None = None
_rendering = threading.Lock()


def _keep(data: bytes) -> bytes:
    return data


def _render_part(data: bytes, settings: Settings, part: Part) -> bytes:
    """Runs on a worker."""
    global _kept
    with _rendering:
        if _kept is None or _kept[0] != settings:
            _kept = None  # Frees its memory first.
            _kept = settings, Renderer(
                Snapshot.from_bytes(data), width=settings.width, height=settings.height,
                camera=settings.camera, folder=settings.folder, threads=settings.threads)
        return _kept[1].render_part(*part)


def _parts_of(tiles: int, samples: int) -> Iterator[Part]:
    """Lists the parts of a picture; those of a tile in the order of their samples."""
    for first_sample in range(0, samples, SAMPLES_OF_TASK):
        for first_tile in range(0, tiles, TILES_OF_TASK):
            yield Part(first_tile, min(TILES_OF_TASK, tiles - first_tile),
                       first_sample, min(SAMPLES_OF_TASK, samples - first_sample))


class _Assembly:
    """Adds parts, which come in any order, in the order of their samples."""

    def __init__(self, parts: PictureParts) -> None:
        self._parts = parts
        # By first tile and first sample: parts that came before earlier samples of their tiles.
        self._early: dict[tuple[int, int], tuple[Part, bytes]] = {}
        self._next_sample: dict[int, int] = {}

    def add(self, part: Part, data: bytes) -> None:
        self._early[part.first_tile, part.first_sample] = part, data
        place = part.first_tile, self._next_sample.get(part.first_tile, 0)
        while place in self._early:
            part, data = self._early.pop(place)
            self._parts.add(data)
            place = part.first_tile, part.first_sample + part.samples
            self._next_sample[part.first_tile] = place[1]


def farm(scene: Scene | Snapshot, client: Any, *, width: int = 1280, height: int = 720,
         camera: str = "", folder: str | os.PathLike[str] = "", samples: int = 64,
         threads: int = 0, progress: Callable[[float], object] | None = None) -> Picture:
    """Renders on the workers of a `distributed.Client`; returns the picture, bit for bit the one
    that a `Renderer` makes here.

    The snapshot, evaluated here, is sent once to each worker. Textures are read by the workers:
    `folder` is a folder that all of them have. `threads` is the number of threads of a rendering
    on a worker; 0 for as many as its machine runs at once. `progress(share)` is called with a
    number from 0 to 1. When a worker dies, others render its parts, also those that come later.
    Raises what `Renderer` raises.
    """
    as_completed: Any = importlib.import_module("distributed").as_completed
    assembly = _Assembly(made := PictureParts(width, height))
    snapshot = scene.snapshot(evaluated=True) if isinstance(scene, Scene) else scene
    data = snapshot.to_bytes(compressed=True)
    settings = Settings(hashlib.sha256(data).hexdigest(), width, height, camera,
                        os.fspath(folder), threads)
    with warnings.catch_warnings():
        # The scheduler keeps the snapshot: it can send it again when workers are lost.
        warnings.filterwarnings("ignore", message="Large object")
        sent = client.submit(_keep, data, pure=False)
    running = {client.submit(_render_part, sent, settings, part, pure=False): part
               for part in _parts_of(tiles_of(width, height), samples)}
    try:
        for count, future in enumerate(as_completed(running), 1):
            assembly.add(running[future], future.result())
            future.release()
            if progress:
                progress(count / len(running))
    finally:
        client.cancel([*running, sent])
    return made.picture()
