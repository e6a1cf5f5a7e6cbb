#!/usr/bin/env python3
"""Measures a farm of local processes: farm_rows.py PACKAGE_FOLDER [SCENE]

PACKAGE_FOLDER has the package of a build with the renderer; it sets PYTHONPATH itself. Renders here
and on 1, 2 and 4 workers, each with one thread, compares the bits, and prints the times."""
import os
import sys
import time

sys.path.insert(0, sys.argv[1])
os.environ["PYTHONPATH"] = sys.argv[1]

import distributed  # noqa: E402
import kelvo  # noqa: E402
from kelvo import nodes, render  # noqa: E402

SIZE = {"width": 640, "height": 360}
SAMPLES = 256


def made_scene():
    """Returns a lit pyramid of cubes."""
    scene = kelvo.Scene()
    corners = [(x, y, z) for x in (0, 1) for y in (0, 1) for z in (0, 1)]
    faces = [0, 1, 3, 2, 4, 6, 7, 5, 0, 4, 5, 1, 2, 3, 7, 6, 0, 2, 6, 4, 1, 5, 7, 3]
    stone = nodes.Material(scene, "stone", baseColor=(0.7, 0.6, 0.5, 1), roughness=0.4)
    cube = nodes.Mesh(scene, "cube", positions=corners, indices=faces, faceCounts=[4] * 6,
                      material=stone)
    for level in range(10):
        for x in range(level, 20 - level):
            for z in range(level, 20 - level):
                nodes.Xform(scene, matrix=[(1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0),
                                           (x * 1.1, level * 1.1, z * 1.1, 1)], children=[cube])
    nodes.SkyLight(scene, "sky", intensity=1)
    return scene


def farmed(scene, workers):
    with distributed.Client(n_workers=workers, threads_per_worker=1,
                            dashboard_address=None) as client:
        client.wait_for_workers(workers)
        # Loads the renderer; the picture below begins from nothing but that.
        client.run(lambda: render.tiles_of(1, 1))
        start = time.perf_counter()
        picture = render.farm(scene, client, samples=SAMPLES, threads=1, **SIZE)
        return picture, time.perf_counter() - start


def main():
    scene = kelvo.open_scene(sys.argv[2]) if len(sys.argv) > 2 else made_scene()
    start = time.perf_counter()
    renderer = render.Renderer(scene.snapshot(evaluated=True), threads=1, **SIZE)
    renderer.render(samples=SAMPLES)
    alone = time.perf_counter() - start
    print(f"one thread here       {alone:7.2f} s")
    for workers in (1, 2, 4):
        picture, seconds = farmed(scene, workers)
        same = "the same bits" if picture == renderer.picture() else "OTHER BITS"
        print(f"{workers} workers{seconds:19.2f} s   {alone / seconds:5.2f} of one thread   {same}")


if __name__ == "__main__":
    main()
