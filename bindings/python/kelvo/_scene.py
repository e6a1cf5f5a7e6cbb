"""The parts of scenes and libraries that are written in Python: search, validation, merging,
plug-ins, copies and pickling."""
from __future__ import annotations

import os
from collections.abc import Callable, Iterable, Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, NamedTuple, TypeVar, Union

from kelvo import _kelvo
from kelvo._errors import Error
from kelvo._kelvo import (
    Finding,
    Library,
    MergeConflict,
    Node,
    Rule,
    Scene,
    Snapshot,
    SnapshotInput,
    SnapshotNode,
    WhyChain,
)

if TYPE_CHECKING:
    from kelvo import Match

_Function = TypeVar("_Function", bound=Callable[..., object])
_StrPath = Union[str, "os.PathLike[str]"]


class Findings(list[Finding]):
    """The findings of a validation, in the order of the scene."""

    def passes(self, strict: bool = False) -> bool:
        """Tells whether there are no errors and, if `strict`, no warnings and nothing unchecked."""
        return not any(_kelvo._breaks(finding.rule, strict) for finding in self)


class SnapshotFinding(NamedTuple):
    """A place where a snapshot breaks a rule."""

    rule: Rule
    node: SnapshotNode | None
    """The node; None for the scene as a whole."""
    place: str
    """The path, such as \"room.children[0]\"."""
    message: str
    fix_text: str | None
    """The edit of the scene that would fix it; None without a fix."""


class SnapshotFindings(list[SnapshotFinding]):
    """The findings of a validation of a snapshot, in the order of the scene."""

    def passes(self, strict: bool = False) -> bool:
        """Tells whether there are no errors and, if `strict`, no warnings and nothing unchecked."""
        return not any(_kelvo._breaks(finding.rule, strict) for finding in self)


class FixReport(NamedTuple):
    """The outcome of `Scene.fix`."""

    fixed: Findings
    left: Findings
    """The findings of a validation afterwards."""


class Merge(NamedTuple):
    """The outcome of `merge`."""

    scene: Scene
    conflicts: list[MergeConflict]


class SnapshotMatch(NamedTuple):
    """A node or an input that a search in a snapshot found."""

    node: SnapshotNode
    input: SnapshotInput | None
    """None when the node itself matched."""
    path: str


class Why(NamedTuple):
    """The outcome of `why`."""

    chains: list[WhyChain]
    is_complete: bool
    """False when more nodes differ than were asked for."""


@dataclass(frozen=True)
class Plugin:
    """A loaded node library."""

    name: str
    file: str
    """The absolute path of the shared object."""
    library: Library


def find(self: Scene, pattern: str = "**", *, type: str | None = None, value: str | None = None,
         nodes: bool = True, inputs: bool = True,
         libraries: Iterable[Library] | None = None) -> list[Match]:
    """Finds nodes and inputs by path, type and value, in the order of the scene.

        for match in scene.find("*.intensity", value=">10"):
            match.input.value = 10
    """
    return list(self._find(pattern, type, value, nodes, inputs, libraries))


def find_in_snapshot(self: Snapshot, pattern: str = "**", *, type: str | None = None,
                     value: str | None = None, nodes: bool = True, inputs: bool = True,
                     libraries: Iterable[Library] | None = None) -> list[SnapshotMatch]:
    """Finds nodes and inputs as `Scene.find` does. Bases of types are looked up in the libraries,
    by default the standard one."""
    found = _kelvo._find_in_snapshot(self, pattern, type, value, nodes, inputs, libraries)
    return [SnapshotMatch(*one) for one in found]


def why(before: Snapshot, after: Snapshot, node: SnapshotNode, *, at_most: int = 100) -> Why:
    """Returns why the deep hash of a node, of one of the snapshots, differs between them: a
    shortest chain of dependencies to each node that differs itself, shorter ones first."""
    chains, is_complete = _kelvo._why(before, after, node, at_most)
    return Why(chains, is_complete)


def validate(self: Scene, *, file_exists: Callable[[str], bool] | None = os.path.exists,
             needs_types: bool = False) -> Findings:
    """Checks the scene by all rules; changes nothing. Files are checked by `file_exists`."""
    return Findings(self._validate(file_exists, needs_types))


def validate_snapshot(self: Snapshot, *,
                      file_exists: Callable[[str], bool] | None = os.path.exists,
                      needs_types: bool = False,
                      libraries: Iterable[Library] | None = None) -> SnapshotFindings:
    """Checks the snapshot as `Scene.validate` checks a scene with these libraries, by default the
    standard one; modifiers are not applied."""
    found = _kelvo._validate_snapshot(self, file_exists, needs_types, libraries)
    return SnapshotFindings(SnapshotFinding(*one) for one in found)


def fix(self: Scene, least: str = "note", *,
        file_exists: Callable[[str], bool] | None = os.path.exists,
        needs_types: bool = False) -> FixReport:
    """Applies the fixes of all findings of at least a severity, as one undo step."""
    fixed, left = self._fix(least, file_exists, needs_types)
    return FixReport(Findings(fixed), Findings(left))


def open_scene(path: _StrPath, *, libraries: Iterable[Library] | None = None) -> Scene:
    """Returns a new scene with the nodes of a file. Raises FileError or TextError."""
    scene = Scene(libraries=libraries)
    scene.load(path)
    scene.mark_saved()
    return scene


def merge(base: Scene, mine: Scene, theirs: Scene, *, prefer: str | None = None) -> Merge:
    """Merges the changes of two sides to a base into a new scene. In a conflict the side `prefer`
    ("mine" or "theirs") wins; without it mine wins, and comments in the scene describe the rest."""
    merged, conflicts = _kelvo._merge(base, mine, theirs, prefer)
    return Merge(merged, conflicts)


def load_plugins(paths: Sequence[_StrPath] = ()) -> list[Plugin]:
    """Loads plug-ins: shared objects, directories of them, or names; then those of the directories
    in the variable KELVO_PLUGIN_PATH. Raises Error when one cannot be loaded."""
    plugins, complaints = _kelvo._load_plugins([os.fspath(path) for path in paths])
    if complaints:
        raise Error(" ".join(complaints))
    return [Plugin(*plugin) for plugin in plugins]


def callback(self: Library, type: str, kind: str) -> Callable[[_Function], _Function]:
    """Gives a type of the library a function as its behaviour:

        @library.callback("twice", "eval")
        def twice(node, output):
            return 2 * node["x"]

    `kind` is "init" (node), "prep" (node), "eval" (node, output), "modify" (modifier, node),
    "changed" (input) or "free" (a FreedNode: the node is being destroyed).
    """
    def attach(function: _Function) -> _Function:
        self.set_callback(type, kind, function)
        return function
    return attach


def node_class(self: Library, type: str) -> Callable[[_Function], _Function]:
    """Gives a type of the library the functions of a class: those named "init", "prep", "eval",
    "modify", "changed" and "free", as static methods."""
    def attach(owner: Any) -> Any:
        for kind in ("init", "prep", "eval", "modify", "changed", "free"):
            if kind in vars(owner):
                self.set_callback(type, kind, getattr(owner, kind))
        return owner
    return attach


def _library_state(library: Library) -> str | None:
    return None if library == Library.standard() else library.text()


def _restore_scene(text: str, libraries: list[str | None]) -> Scene:
    known = [Library.standard() if state is None else Library(state) for state in libraries]
    scene = Scene(libraries=known)
    scene.read(text, source="<pickle>")
    scene.mark_saved()
    return scene


def _reduce_scene(self: Scene) -> tuple[Callable[..., Scene], tuple[object, ...]]:
    return _restore_scene, (self.text(), [_library_state(one) for one in self.libraries])


def _copy_scene(self: Scene, memo: object = None) -> Scene:
    copy = Scene(libraries=self.libraries)
    copy.read(self.text(), source="<copy>")
    copy.mark_saved()
    return copy


def _reduce_snapshot(self: Snapshot) -> tuple[Callable[..., Snapshot], tuple[object, ...]]:
    return _restore_snapshot, (self.to_bytes(),)


def _restore_snapshot(data: bytes) -> Snapshot:
    return Snapshot.from_bytes(data, name="<pickle>")


def _refuse_pickle(self: object) -> object:
    raise TypeError(f"A {type(self).__name__} cannot be pickled: pickle its scene, and look it up "
                    "by name.")


def complete() -> None:
    """Adds the functions of this module to the classes of the compiled one."""
    for name, function in {"find": find, "validate": validate, "fix": fix,
                           "__copy__": _copy_scene, "__deepcopy__": _copy_scene,
                           "__reduce__": _reduce_scene}.items():
        setattr(Scene, name, function)
    setattr(Library, "callback", callback)
    setattr(Library, "node_class", node_class)
    setattr(Node, "__reduce__", _refuse_pickle)
    setattr(_kelvo.Input, "__reduce__", _refuse_pickle)
    setattr(_kelvo.Output, "__reduce__", _refuse_pickle)
    setattr(Snapshot, "find", find_in_snapshot)
    setattr(Snapshot, "validate", validate_snapshot)
    setattr(Snapshot, "__reduce__", _reduce_snapshot)
