"""Defines a node type whose values are computed in Python."""
import math

import kelvo

DEFINITION = """
type pulse : value {
    help "en" "Swings between 0 and 1."
    Real time = 0 @unit "s"
    Real rate = 1 @min 0 @unit "Hz"
    output Real result
}
"""

library = kelvo.Library(DEFINITION, source="pulse.knd")


@library.callback("pulse", "eval")
def pulse(node: kelvo.Node, output: kelvo.Output) -> float:
    return 0.5 - 0.5 * math.cos(2 * math.pi * node["time"] * node["rate"])


scene = kelvo.Scene(libraries=[library, kelvo.Library.standard()])
beat = scene.create("pulse", "beat", rate=2)
lamp = scene.create("pointLight", "lamp")
lamp.input("intensity").connect(beat.output("result"))
for beat.time in (0, 0.125, 0.25):
    print(f"{beat.time} s: {lamp.intensity:.2f}")
