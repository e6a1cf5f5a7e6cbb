"""The import of models. The tool `kelvo` reads them in a process of its own, as a hostile model may
crash its reader, keep it busy forever or take all memory."""
from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
from typing import TYPE_CHECKING, Literal, NamedTuple, Union

from kelvo._errors import Error, FileError, InvalidValueError
from kelvo._kelvo import Node, Scene

if TYPE_CHECKING:
    from collections.abc import Iterator

_StrPath = Union[str, "os.PathLike[str]"]
TexturePaths = Literal["relative", "absolute", "model"]
Axis = Literal["x", "y", "z"]

PREFIX, WARNING = "kelvo: ", "kelvo: warning: "
USAGE = 2
"""The tool's status for a wrong command line."""


class ImportReport(NamedTuple):
    """The outcome of `Scene.import_model`."""

    nodes: list[Node]
    warnings: list[str]
    """Sentences about what could not be imported, and textures that are not there."""


def _tool(given: _StrPath | None) -> str:
    """Returns the path of the tool: the given one, the one installed with the package, or the first
    one on the search path."""
    if given is not None:
        return os.fspath(given)
    # The package stands in lib/python3.X/dist-packages, the tool in bin.
    installed = pathlib.Path(__file__).parents[4] / "bin" / "kelvo"
    found = shutil.which(str(installed)) or shutil.which("kelvo")
    if found is None:
        raise Error("Models are imported by the tool kelvo, which is not on the search path: "
                    "install it, or name it by `tool`.")
    return found


def _command(tool: str, path: _StrPath, options: dict[str, str | None]) -> list[str]:
    command = [tool, "import", os.path.abspath(path)]
    for name, value in options.items():
        command += [] if value is None else [name, value]
    return command


def _run(command: list[str], folder: _StrPath | None) -> subprocess.CompletedProcess[bytes]:
    try:
        return subprocess.run(command, cwd=folder, capture_output=True, stdin=subprocess.DEVNULL)
    except OSError as error:
        raise Error(f"The tool '{command[0]}' cannot be run: {error.strerror}.") from error


def _said(ran: subprocess.CompletedProcess[bytes], start: str) -> Iterator[str]:
    for line in os.fsdecode(ran.stderr).splitlines():
        if line.startswith(start):
            yield line[len(start):]


def import_model(self: Scene, path: _StrPath, *, scene_folder: _StrPath | None = None,
                 texture_paths: TexturePaths = "relative", textures_to: _StrPath | None = None,
                 join_vertices: bool = True, up: Axis | None = None,
                 unit: str | float | None = None, model_up: Axis | None = None,
                 model_unit: str | float | None = None,
                 tool: _StrPath | None = None) -> ImportReport:
    """Adds the content of a model file: hierarchy, meshes, materials, textures, cameras, lights.

        report = scene.import_model("engine.glb", up="z", unit="m")

    Texture paths are relative to `scene_folder`, by default the current folder; `textures_to` is a
    folder for textures that are inside the model. The model is turned and scaled so that the axis
    `up` is up and a unit is `unit` ("mm", "ft", ... or metres); `model_up` and `model_unit` stand
    for what the model does not state. Without `join_vertices`, equal vertices stay apart.

    Needs the tool `kelvo`, built with the import. Raises FileError, with the scene unchanged, for a
    model that cannot be read.
    """
    options = {"--texture-paths": texture_paths, "--up": up, "--model-up": model_up,
               "--unit": None if unit is None else str(unit),
               "--model-unit": None if model_unit is None else str(model_unit),
               "--textures-to": None if textures_to is None else os.path.abspath(textures_to)}
    command = _command(_tool(tool), path, options)
    ran = _run(command if join_vertices else [*command, "--no-join"], scene_folder)
    if ran.returncode != 0:
        kind = InvalidValueError if ran.returncode == USAGE else FileError
        reasons = [line for line in _said(ran, PREFIX) if not line.startswith("warning: ")]
        raise kind(" ".join(reasons) or f"The import ended with status {ran.returncode}.")
    before = len(self)
    self.read(os.fsdecode(ran.stdout), source=os.fspath(path))
    return ImportReport(self[before:], list(_said(ran, WARNING)))


def complete() -> None:
    """Adds the function of this module to the scene."""
    setattr(Scene, "import_model", import_model)
