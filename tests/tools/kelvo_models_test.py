#!/usr/bin/env python3
"""Text to binary to text gives the same bytes for the models of Debian's package assimp-testmodels.
kelvo_models_test.py KELVO [...]

Takes the small models, which are most; all with KELVO_ALL_MODELS=1."""
import concurrent.futures
import os
import pathlib

from kelvo_tool import ToolTest, main

MODELS = pathlib.Path("/usr/share/assimp/models")
SMALL = 20_000
FEWEST = 200


def models():
    most = None if os.environ.get("KELVO_ALL_MODELS") else SMALL
    return [path for path in sorted(MODELS.rglob("*"))
            if path.is_file() and (most is None or path.stat().st_size <= most)]


class Models(ToolTest):
    def goes_there_and_back(self, number, model):
        """Tells whether the model imports; fails when its text changes on the way."""
        text, binary, back = (f"{number}.{form}" for form in ("kns", "knb", "back.kns"))
        if self.run_tool("import", model, "-o", text).returncode != 0:
            return False
        self.expect(0, "pack", text, "-o", binary)
        self.expect(0, "unpack", binary, "-o", back)
        same = (self.folder / text).read_bytes()
        self.assertEqual((self.folder / back).read_bytes(), same, model)
        for name in (text, binary, back):
            (self.folder / name).unlink()
        return True

    def test_text_to_binary_to_text_gives_the_same_bytes(self):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as threads:
            imported = list(threads.map(lambda each: self.goes_there_and_back(*each),
                                        enumerate(models())))
        print(f"{sum(imported)} of {len(imported)} files import")
        self.assertGreaterEqual(sum(imported), FEWEST)


if __name__ == "__main__":
    main()
