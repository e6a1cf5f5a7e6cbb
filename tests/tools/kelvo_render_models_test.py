#!/usr/bin/env python3
"""The models of Debian's package assimp-testmodels are rendered without a fault.
kelvo_render_models_test.py KELVO [...]

Takes one small model of each kind of file; all with KELVO_ALL_MODELS=1."""
import concurrent.futures
import os
import pathlib
import subprocess

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
    def fault_of(self, number, model):
        """Returns the fault of rendering a model: none is "", None says that it does not import."""
        scene, picture = f"{number}.kns", f"{number}.png"
        try:
            if self.run_tool("import", model, "-o", scene).returncode != 0:
                return None
            ran = self.run_tool("render", scene, "-o", picture, "--size", "32x32", "--samples",
                                "2", "--threads", "1")
        except subprocess.TimeoutExpired as error:
            return f"{model}: {error}"
        (self.folder / scene).unlink()
        told = f"{picture}: 32 x 32 pixels, 2 samples\n"
        return "" if (ran.returncode, ran.stdout) == (0, told) else f"{model}: {ran.stderr}"

    def test_every_model_that_imports_gives_a_picture(self):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as threads:
            faults = list(threads.map(lambda each: self.fault_of(*each), enumerate(models())))
        print(f"{faults.count('')} of {len(faults)} files are rendered")
        self.assertEqual([fault for fault in faults if fault], [])
        self.assertGreaterEqual(faults.count(""), FEWEST)


if __name__ == "__main__":
    main()
