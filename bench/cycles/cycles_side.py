"""Renders a model with Cycles, in Blender:

blender -b --factory-startup -P cycles_side.py -- MODEL WIDTH HEIGHT FEW MANY [PICTURE.exr...]

Writes few.npy and many.npy, the pictures with so many samples, and seconds.json, how long each
took, beside the model. Also writes each PICTURE as an array of NumPy, for programs that do not read
EXR."""
import json
import pathlib
import sys
import time

import numpy

# The reader of glTF in Blender 3.4 uses a name that NumPy has removed.
numpy.bool = bool

import bpy  # noqa: E402

# Lumens by watt: Blender divides the brightness of lights by it when it reads glTF.
LUMENS = 683


def pixels_of(file):
    """Returns the colours of an EXR file, rows from below."""
    image = bpy.data.images.load(str(file))
    image.colorspace_settings.name = "Non-Color"
    width, height = image.size
    pixels = numpy.empty(width * height * 4, numpy.float32)
    image.pixels.foreach_get(pixels)
    return pixels.reshape(height, width, 4)[:, :, :3]


def make_alike(material):
    """Replaces what Cycles adds to a matte material, and keeps the light that metals reflect
    several times."""
    tree = material.node_tree
    shader = next(node for node in tree.nodes if node.type == "BSDF_PRINCIPLED")
    shader.distribution = "MULTI_GGX"
    is_metal = shader.inputs["Metallic"].default_value > 0
    shines = any(part > 0 for part in list(shader.inputs["Emission"].default_value)[:3])
    if is_metal or shines:
        return
    matte = tree.nodes.new("ShaderNodeBsdfDiffuse")
    matte.inputs["Color"].default_value = shader.inputs["Base Color"].default_value
    output = next(node for node in tree.nodes if node.type == "OUTPUT_MATERIAL")
    tree.links.new(matte.outputs[0], output.inputs["Surface"])


def prepare(scene, width, height):
    scene.render.engine = "CYCLES"
    scene.render.resolution_x, scene.render.resolution_y = width, height
    scene.render.resolution_percentage = 100
    scene.render.image_settings.file_format = "OPEN_EXR"
    scene.render.image_settings.color_depth = "32"
    scene.view_settings.view_transform = "Raw"
    cycles = scene.cycles
    cycles.device = "CPU"
    cycles.use_adaptive_sampling = cycles.use_denoising = False
    cycles.max_bounces = cycles.diffuse_bounces = cycles.glossy_bounces = 64
    cycles.sample_clamp_indirect = cycles.light_sampling_threshold = cycles.blur_glossy = 0
    cycles.pixel_filter_type, cycles.filter_width = "BOX", 1
    for thing in scene.objects:
        if thing.type == "CAMERA":
            scene.camera = thing
        if thing.type == "LIGHT":
            thing.data.energy *= LUMENS
            thing.data.shadow_soft_size = 0
            if thing.data.type == "SUN":
                thing.data.angle = 0
    for material in bpy.data.materials:
        make_alike(material)


def render(scene, samples, picture):
    """Returns the seconds."""
    scene.cycles.samples = samples
    scene.render.filepath = str(picture)
    begin = time.monotonic()
    bpy.ops.render.render(write_still=True)
    return time.monotonic() - begin


def main(words):
    model, (width, height, few, many) = pathlib.Path(words[0]), map(int, words[1:5])
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.import_scene.gltf(filepath=str(model))
    scene = bpy.context.scene
    prepare(scene, width, height)
    seconds = {}
    for name, samples in (("few", few), ("many", many)):
        picture = model.with_name(f"cycles_{name}.exr")
        seconds[name] = render(scene, samples, picture)
        numpy.save(model.with_name(f"cycles_{name}.npy"), pixels_of(picture))
    for picture in map(pathlib.Path, words[5:]):
        numpy.save(picture.with_suffix(".npy"), pixels_of(picture))
    model.with_name("seconds.json").write_text(json.dumps(seconds))


main(sys.argv[sys.argv.index("--") + 1:])
