"""A snapshot as scene text, by which it is pickled."""
from __future__ import annotations

from collections.abc import Iterator
from typing import Any

from kelvo import _kelvo
from kelvo._kelvo import Snapshot, SnapshotInput, SnapshotNode


def _scalar(value: Any) -> str:
    if value is None:
        return "null"
    if isinstance(value, bool) or type(value).__name__ == "bool_":
        return "true" if value else "false"
    if isinstance(value, str):
        return str(_kelvo._quoted(value))
    return value.name if isinstance(value, SnapshotNode) else repr(value)


def _numbers(value: Any) -> str:
    """Returns numbers of any shape as a tuple."""
    return "(" + " ".join(repr(number) for number in value.reshape(-1).tolist()) + ")"


def _buffer(value: Any) -> str:
    if value.ndim == 1:
        return "[" + " ".join(_scalar(number) for number in value.tolist()) + "]"
    return "[" + " ".join(_numbers(row) for row in value) + "]"


def _value(one: SnapshotInput) -> str:
    if one.kind.startswith("Array"):
        return "[" + ", ".join(_value(inner) for inner in one.inputs) + "]"
    if one.kind == "Object":
        return "{ " + " ".join(_line(inner) for inner in one.inputs) + " }"
    value = one.value
    if one.kind.startswith("Buffer"):
        return _buffer(value)
    return _numbers(value) if hasattr(value, "reshape") else _scalar(value)


def _line(one: SnapshotInput) -> str:
    if one.kind == "Object":
        members = "\n".join(_line(inner) for inner in one.inputs)
        return f"Object {one.name} {{\n{members}\n}}"
    source = one.source
    arrow = f" <- {source.node.name}.{source.name}" if source and source.node else ""
    marks = " @readonly" if one.is_read_only else ""
    return f"{one.kind} {one.name} = {_value(one)}{arrow}{marks}"


def _lines(snapshot: Snapshot) -> Iterator[str]:
    yield "kelvo scene 1"
    for node in snapshot:
        bases = ", ".join(node.bases)
        yield f'node {node.type}{" : " + bases if bases else ""} "{node.name}" {{'
        for one in node.inputs:
            yield _line(one)
        for output in node.outputs:
            yield f"output {output.kind} {output.name}"
        yield "}"


def text_of(snapshot: Snapshot) -> str:
    """Returns the nodes of a snapshot, with all attributes, as scene text."""
    return "\n".join(_lines(snapshot)) + "\n"
