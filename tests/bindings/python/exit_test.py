"""The interpreter ends without leaks, whatever is alive then; the leak sanitizer looks."""
from __future__ import annotations

import os
import subprocess
import sys

PROGRAM = """
import ctypes, gc, kelvo, threading
library = kelvo.Library("type thing {\\n Real x = 1\\n output Real y\\n}")
seen = []
for kind in ("init", "prep", "free"):
    library.set_callback("thing", kind, seen.append)
library.set_callback("thing", "eval", lambda node, output: node["x"] or 1 / 0)

class Panel:
    def __init__(self):
        self.scene = kelvo.Scene(libraries=[kelvo.Library.standard(), library])
        self.scene.undo_enabled = True
        self.subscriptions = [self.scene.observe(self.see), self.scene.observe_edits(self.see)]

    def see(self, change):
        seen.append((self, change))

def use():
    panel = Panel()
    scene = panel.scene
    lamp = scene.create("pointLight", "lamp", intensity=3)
    mesh = scene.create("mesh", "desk")
    for x in (0, 2):
        lamp.input("intensity").connect(scene.create("thing", x=x).output("y"))
        seen.append(scene.snapshot(evaluated=True, threads=3)["lamp"]["intensity"])
    lamp.remove()
    scene.undo()
    seen.extend((lamp.input("intensity"), scene.find("**"), scene.validate()))
    snapshot = scene.snapshot()
    seen.extend((snapshot, kelvo.Snapshot.from_bytes(snapshot.to_bytes())["desk"]))
    try:
        lamp["nothing"] = 1
    except kelvo.Error as error:
        seen.append(error)
    return panel

panel = use()
thread = threading.Thread(target=use)
thread.start()
thread.join()
outlives = kelvo.Scene().create("mesh")
edit = panel.scene.edit("open")
edit.__enter__()
gc.collect()
"""

ARRAYS = """
import kelvo, numpy
scene = kelvo.Scene()
mesh = scene.create("mesh", "desk", positions=numpy.ones((10, 3), numpy.float32))
move = scene.create("xform", "x", matrix=numpy.eye(4))["matrix"]
shared = [mesh["positions"], scene.snapshot()["desk"]["positions"], mesh["positions"][2:]]
mesh["positions"] = shared[0] * numpy.float32(2)
try:
    mesh["positions"] = numpy.ones((2, 2))
except kelvo.Error as error:
    shared.append(error)
shared.append(shared)
"""

FORGOTTEN = PROGRAM + """
ctypes.pythonapi.Py_IncRef(ctypes.py_object(kelvo.Scene().create("mesh")))
"""


def run(program: str) -> subprocess.CompletedProcess[str]:
    options = os.environ["ASAN_OPTIONS"].replace("detect_leaks=0", "detect_leaks=1")
    return subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                          timeout=600, env={**os.environ, "ASAN_OPTIONS": options,
                                            "PYTHONHASHSEED": "0"})


def leaked(program: str) -> str:
    """Returns the line that counts the leaks; empty without any."""
    return "".join(line for line in run(program).stderr.splitlines() if "SUMMARY" in line)


def test_the_interpreter_ends_without_leaks() -> None:
    ran = run(PROGRAM)
    assert ran.returncode == 0 and "Sanitizer" not in ran.stderr, ran.stderr


def test_arrays_leak_no_more_than_the_import_of_numpy() -> None:
    assert leaked(ARRAYS) == leaked("import numpy")


def test_a_reference_that_is_forgotten_is_found() -> None:
    assert leaked(FORGOTTEN)
