"""Writes the models that both renderers get, as glTF: three balls on a floor, a camera and a light.

The materials are those that both renderers define alike: matte ones without a reflecting surface
(an index of refraction of 1) and a metal. The shining square is a mesh, so that its radiance needs
no conversion of units."""
import base64
import json
import math
import struct

LIGHTS = ("point", "sun", "square")

FLOATS, NUMBERS = 5126, 5125
VERTICES, INDICES = 34962, 34963


class Model:
    """Collects the parts of a glTF file."""

    def __init__(self):
        self.data = bytearray()
        self.views, self.accessors, self.meshes = [], [], []
        self.nodes, self.materials = [], []
        self.lights = []

    def material(self, color, metallic=0.0, roughness=1.0, emission=0.0):
        self.materials.append({
            "doubleSided": True,
            "emissiveFactor": [emission] * 3,
            "extensions": {"KHR_materials_ior": {"ior": 1.5 if metallic else 1.0}},
            "pbrMetallicRoughness": {"baseColorFactor": [*color, 1.0], "metallicFactor": metallic,
                                     "roughnessFactor": roughness}})
        return len(self.materials) - 1

    def mesh(self, positions, normals, triangles, material):
        corners = [(corner,) for triangle in triangles for corner in triangle]
        places = self._accessor("f", "VEC3", positions, FLOATS, VERTICES)
        self.accessors[places]["min"] = [min(axis) for axis in zip(*positions)]
        self.accessors[places]["max"] = [max(axis) for axis in zip(*positions)]
        attributes = {"POSITION": places,
                      "NORMAL": self._accessor("f", "VEC3", normals, FLOATS, VERTICES)}
        indices = self._accessor("I", "SCALAR", corners, NUMBERS, INDICES)
        self.meshes.append({"primitives": [
            {"attributes": attributes, "indices": indices, "material": material}]})
        return len(self.meshes) - 1

    def _accessor(self, code, kind, rows, component, target):
        begin = len(self.data)
        for row in rows:
            self.data += struct.pack(f"<{len(row)}{code}", *row)
        self.views.append({"buffer": 0, "byteOffset": begin,
                           "byteLength": len(self.data) - begin, "target": target})
        self.accessors.append({"bufferView": len(self.views) - 1, "componentType": component,
                               "count": len(rows), "type": kind})
        return len(self.accessors) - 1

    def text(self):
        data = base64.b64encode(bytes(self.data)).decode()
        used = ["KHR_materials_ior"] + (["KHR_lights_punctual"] if self.lights else [])
        whole = {
            "asset": {"version": "2.0"},
            "extensionsUsed": used,
            "scene": 0,
            "scenes": [{"nodes": list(range(len(self.nodes)))}],
            "nodes": self.nodes,
            "meshes": self.meshes,
            "materials": self.materials,
            "cameras": [{"type": "perspective", "perspective": {
                "yfov": 0.7, "aspectRatio": 4 / 3, "znear": 0.1, "zfar": 100.0}}],
            "accessors": self.accessors,
            "bufferViews": self.views,
            "buffers": [{"byteLength": len(self.data),
                         "uri": f"data:application/octet-stream;base64,{data}"}]}
        if self.lights:
            whole["extensions"] = {"KHR_lights_punctual": {"lights": self.lights}}
        return json.dumps(whole)


def ball(rings=48, parts=96):
    """Returns positions, normals and triangles of a ball of radius 1."""
    points = []
    for ring in range(rings + 1):
        height, width = math.cos(math.pi * ring / rings), math.sin(math.pi * ring / rings)
        for part in range(parts + 1):
            angle = 2 * math.pi * part / parts
            points.append((width * math.cos(angle), height, width * math.sin(angle)))
    triangles = []
    for ring in range(rings):
        for part in range(parts):
            upper = ring * (parts + 1) + part
            lower = upper + parts + 1
            if ring > 0:
                triangles.append((upper, upper + 1, lower))
            if ring < rings - 1:
                triangles.append((upper + 1, lower + 1, lower))
    return points, points, triangles


def square(size, up):
    """Returns a horizontal square that faces up (1) or down (-1)."""
    points = [(-size, 0, size), (size, 0, size), (size, 0, -size), (-size, 0, -size)]
    triangles = [(0, 1, 2), (0, 2, 3)] if up > 0 else [(2, 1, 0), (3, 2, 0)]
    return points, [(0, up, 0)] * 4, triangles


def text_of(light):
    """Returns the text of the model with that light."""
    model = Model()
    model.nodes.append({"mesh": model.mesh(*square(6, 1), model.material((0.6, 0.6, 0.6)))})
    materials = (model.material((0.8, 0.2, 0.1)), model.material((0.9, 0.7, 0.3), 1.0, 0.3),
                 model.material((0.2, 0.4, 0.8)))
    for place, material in enumerate(materials):
        model.nodes.append({"mesh": model.mesh(*ball(), material),
                            "translation": [2.2 * (place - 1), 1, 0]})
    if light == "square":
        shining = model.mesh(*square(1.5, -1), model.material((0, 0, 0), emission=1.0))
        model.nodes.append({"mesh": shining, "translation": [0, 5, 1]})
    else:
        kind, intensity = ("point", 60.0) if light == "point" else ("directional", 3.0)
        model.lights.append({"type": kind, "intensity": intensity})
        model.nodes.append({"translation": [1, 5, 2],
                            "rotation": [-0.6, 0.2, 0.0, math.sqrt(1 - 0.6**2 - 0.2**2)],
                            "extensions": {"KHR_lights_punctual": {"light": 0}}})
    down = math.radians(-15) / 2
    model.nodes.append({"camera": 0, "translation": [0, 3.2, 8],
                        "rotation": [math.sin(down), 0, 0, math.cos(down)]})
    return model.text()
