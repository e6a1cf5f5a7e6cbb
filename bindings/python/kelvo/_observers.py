"""The net changes of an edit, as `Scene.observe_edits` gives them."""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from kelvo import Input, Node, Output


@dataclass(frozen=True)
class SceneChanges:
    """Net changes by one edit; changes that cancel each other are left out."""

    added_nodes: list[Node] = field(default_factory=list)
    removed_nodes: list[Node] = field(default_factory=list)
    renamed_nodes: list[tuple[Node, str]] = field(default_factory=list)
    """Each node with its name before."""
    moved_nodes: list[Node] = field(default_factory=list)
    added_inputs: list[Input] = field(default_factory=list)
    removed_inputs: list[Input] = field(default_factory=list)
    renamed_inputs: list[tuple[Input, str]] = field(default_factory=list)
    """Each input with its name before."""
    changed_inputs: list[Input] = field(default_factory=list)
    """Inputs whose value, link or order of elements differs from before."""
    connected_inputs: list[Input] = field(default_factory=list)
    added_outputs: list[Output] = field(default_factory=list)
    removed_outputs: list[Output] = field(default_factory=list)
