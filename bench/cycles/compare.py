"""Renders the same models with kelvo and with Cycles, and compares pictures and speed.

compare.py --kelvo PROGRAM --folder FOLDER [--size WxH] [--few N] [--many N]

Pictures must agree to 3 %: the mean difference of blocks of 8 x 8 pixels, as a share of the mean.
Exit status 1 when they do not."""
import argparse
import json
import pathlib
import subprocess
import sys
import time

import numpy

import models

MOST_ERROR = 0.03
BLOCK = 8


def run(*command):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{command[0]} failed:\n{done.stdout}{done.stderr}")


def rendered(options, scene, samples, picture):
    """Renders with kelvo and returns the seconds."""
    begin = time.monotonic()
    run(options.kelvo, "render", scene, "-o", picture, "--samples", samples, "--size",
        options.size)
    return time.monotonic() - begin


def blocks(picture):
    height, width = (length // BLOCK * BLOCK for length in picture.shape[:2])
    cut = picture[:height, :width]
    return cut.reshape(height // BLOCK, BLOCK, width // BLOCK, BLOCK, 3).mean(axis=(1, 3))


def difference(ours, theirs):
    return numpy.abs(blocks(ours) - blocks(theirs)).mean() / theirs.mean()


def noise(few, many):
    """Returns the mean square of the relative error of a picture, beside one of many samples."""
    floor = (0.1 * many.mean()) ** 2
    return ((few - many) ** 2 / (many**2 + floor)).mean()


class Side:
    """The pictures of one renderer, and its speed without the time of loading."""

    def __init__(self, folder, name, seconds, options):
        few, many = (numpy.load(folder / f"{name}_{kind}.npy") for kind in ("few", "many"))
        width, height = map(int, options.size.split("x"))
        self.picture = many
        per_sample = (seconds["many"] - seconds["few"]) / (options.many - options.few)
        self.samples_by_second = width * height / per_sample
        # Noise falls with the time: the product is the time for a noise of 1.
        self.time_to_noise = noise(few, many) * options.few * per_sample


def compare(light, options):
    """Returns both sides for a model."""
    folder = options.folder / light
    folder.mkdir(parents=True, exist_ok=True)
    model, scene = folder / "model.gltf", folder / "model.kns"
    model.write_text(models.text_of(light))
    run(options.kelvo, "import", model, "-o", scene)
    counts = {"few": options.few, "many": options.many}
    pictures = {kind: folder / f"kelvo_{kind}.exr" for kind in counts}
    seconds = {kind: rendered(options, scene, counts[kind], pictures[kind]) for kind in counts}
    side = pathlib.Path(__file__).with_name("cycles_side.py")
    run("blender", "-b", "--factory-startup", "-P", side, "--", model, *options.size.split("x"),
        options.few, options.many, *pictures.values())
    theirs = json.loads((folder / "seconds.json").read_text())
    return Side(folder, "kelvo", seconds, options), Side(folder, "cycles", theirs, options)


def arguments(words):
    parser = argparse.ArgumentParser(prog="scripts/cycles", description=__doc__.splitlines()[0])
    parser.add_argument("--kelvo", type=pathlib.Path, required=True, help="the program")
    parser.add_argument("--folder", type=pathlib.Path, required=True,
                        help="for models and pictures")
    parser.add_argument("--size", default="320x240", help="of the pictures, in pixels")
    parser.add_argument("--few", type=int, default=32, help="samples whose noise is measured")
    parser.add_argument("--many", type=int, default=512, help="samples of the compared pictures")
    return parser.parse_args(words)


def main(words):
    options = arguments(words)
    options.folder = options.folder.resolve()
    print(f"{'light':8}{'brightness':>12}{'difference':>12}{'samples by second, million':>30}"
          f"{'time to equal noise':>22}")
    is_alike = True
    for light in models.LIGHTS:
        ours, theirs = compare(light, options)
        error = difference(ours.picture, theirs.picture)
        is_alike = is_alike and error < MOST_ERROR
        brightness = ours.picture.mean() / theirs.picture.mean()
        speeds = (f"{ours.samples_by_second / 1e6:.2f} kelvo, "
                  f"{theirs.samples_by_second / 1e6:.2f} Cycles")
        print(f"{light:8}{brightness:12.4f}{error:12.2%}{speeds:>30}"
              f"{ours.time_to_noise / theirs.time_to_noise:22.2f}", flush=True)
    print("brightness and time: kelvo's as a ratio to that of Cycles")
    return 0 if is_alike else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
