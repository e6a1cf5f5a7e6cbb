"""Edits everything that a pattern finds, as one undo step."""
import kelvo

scene = kelvo.Scene()
scene.undo_enabled = True
for number in range(5):
    scene.create("pointLight", f"lamp{number}", intensity=10 * number)

with scene.edit("Dim the bright lamps"):
    for match in scene.find("lamp*.intensity", value=">15"):
        match.input.value /= 2

print([node["intensity"] for node in scene])
scene.undo()
print([node["intensity"] for node in scene])
