#!/usr/bin/env python3
"""The models of Debian's package assimp-testmodels are rendered without a fault.
kelvo_render_models_test.py KELVO [...]

Takes one small model of each kind of file; all with KELVO_ALL_MODELS=1."""
import concurrent.futures
import os
import pathlib

from kelvo_tool import ToolTest, main

MODELS = pathlib.Path("/usr/share/assimp/models")
SMALL = 20_000
FEWEST = 20


def models():
    files = [path for path in sorted(MODELS.rglob("*")) if path.is_file()]
    if os.environ.get("KELVO_ALL_MODELS"):
        return files
    kinds = {}
    for path in files:
        if path.stat().st_size <= SMALL:
            kinds.setdefault(path.suffix.lower(), path)
    return list(kinds.values())


class RenderModels(ToolTest):
    def renders(self, number, model):
        """Tells whether the model imports; fails when it then gives no picture."""
        scene, picture = f"{number}.kns", f"{number}.png"
        if self.run_tool("import", model, "-o", scene).returncode != 0:
            return False
        ran = self.run_tool("render", scene, "-o", picture, "--size", "32x32", "--samples", "2",
                            "--threads", "1")
        self.assertEqual((ran.returncode, ran.stdout),
                         (0, f"{picture}: 32 x 32 pixels, 2 samples\n"), f"{model}: {ran.stderr}")
        for name in (scene, picture):
            (self.folder / name).unlink()
        return True

    def test_every_model_that_imports_gives_a_picture(self):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as threads:
            rendered = list(threads.map(lambda each: self.renders(*each), enumerate(models())))
        print(f"{sum(rendered)} of {len(rendered)} files are rendered")
        self.assertGreaterEqual(sum(rendered), FEWEST)


if __name__ == "__main__":
    main()
