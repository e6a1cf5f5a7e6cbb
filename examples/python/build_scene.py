"""Builds a small scene, with every input typed, and writes it as text."""
from kelvo import Scene, nodes

scene = Scene()
wood = nodes.Material(scene, "wood", baseColor=(0.8, 0.6, 0.4, 1), roughness=0.7)
desk = nodes.Mesh(scene, "desk", material=wood, indices=[0, 1, 2],
                  positions=[(0, 0, 0), (1, 0, 0), (1, 1, 0)])
lamp = nodes.PointLight(scene, "lamp", intensity=40)
room = nodes.Xform(scene, "room", children=[desk, lamp])

dimmer = nodes.Mix(scene, "dimmer", a=0, b=40, amount=0.25)
lamp.input("intensity").connect(dimmer.output("result"))
print(f"The lamp has {lamp.intensity} W.")
print([node.name for node in room.dependencies()])
