"""Scenes of named, typed nodes: the Kelvo SDK for Python.

    import kelvo

    scene = kelvo.Scene()
    lamp = scene.create("pointLight", "lamp", intensity=3)
    lamp["intensity"] = 4

`kelvo.nodes` has a typed class for each standard node type.
"""
from __future__ import annotations

import atexit

from typing import TYPE_CHECKING

from kelvo import _display, _kelvo, _models, _observers, _scene
from kelvo._display import Graph
from kelvo._errors import (
    BusyError,
    DeadHandleError,
    Error,
    EvaluationError,
    FileError,
    InvalidValueError,
    KindError,
    NotFoundError,
    RangeError,
    ReadOnlyError,
    RefusedError,
    TextError,
)
from kelvo._kelvo import (
    Change,
    Diagnostic,
    Edit,
    Finding,
    FreedNode,
    HelpGroup,
    HelpPage,
    HelpRow,
    Input,
    InputChange,
    InputProperty,
    LayoutGroup,
    LayoutPage,
    Library,
    Match,
    MergeConflict,
    Node,
    NodeChange,
    Output,
    PathWalk,
    Rule,
    Scene,
    SceneChange,
    SceneDiff,
    Snapshot,
    SnapshotDelta,
    SnapshotInput,
    SnapshotNode,
    SnapshotOutput,
    SnapshotPathWalk,
    Subscription,
    UndoStep,
    WhyChain,
    delta,
    diff,
    language,
    open_binary,
    read_snapshot,
    rules,
    set_language,
)
from kelvo._models import ImportReport
from kelvo._observers import SceneChanges
from kelvo._scene import (
    Findings,
    FixReport,
    Merge,
    Plugin,
    SnapshotFinding,
    SnapshotFindings,
    SnapshotMatch,
    Why,
    load_plugins,
    merge,
    open_scene,
    why,
)

__all__ = [
    "BusyError", "Change", "DeadHandleError", "Diagnostic", "Edit", "Error", "EvaluationError",
    "FileError", "Finding", "Findings", "FixReport", "FreedNode", "Graph", "HelpGroup", "HelpPage",
    "HelpRow", "ImportReport", "Input", "InputChange", "InputProperty", "InvalidValueError",
    "KindError", "LayoutGroup", "LayoutPage", "Library", "Match", "Merge", "MergeConflict", "Node",
    "NodeChange", "NotFoundError", "Output", "PathWalk", "Plugin", "RangeError", "ReadOnlyError",
    "RefusedError", "Rule", "Scene", "SceneChange", "SceneChanges", "SceneDiff", "Snapshot",
    "SnapshotDelta", "SnapshotFinding", "SnapshotFindings", "SnapshotInput", "SnapshotMatch",
    "SnapshotNode", "SnapshotOutput", "SnapshotPathWalk", "Subscription", "TextError", "UndoStep",
    "Why", "WhyChain", "delta", "diff", "language", "load_plugins", "merge", "open_binary",
    "open_scene", "read_snapshot", "rules", "set_language", "why",
]

if TYPE_CHECKING:
    from kelvo import nodes as nodes

_scene.complete()
_display.complete()
_models.complete()
# Nothing of the library may call Python while the interpreter ends.
atexit.register(_kelvo._release_log)
del _display, _models, _observers, _scene


def __getattr__(name: str) -> object:
    # The typed classes are imported when they are needed first, as there are many.
    if name == "nodes":
        import importlib
        return importlib.import_module("kelvo.nodes")
    raise AttributeError(f"module 'kelvo' has no attribute '{name}'")
