"""Typed classes of node types, as `kelvo stubs` writes them."""
from __future__ import annotations

from collections.abc import Iterable

from kelvo import _kelvo
from kelvo._kelvo import Node


def register(classes: Iterable[type[Node]]) -> None:
    """Makes nodes of the types of these classes objects of the classes."""
    for one in classes:
        _kelvo._register_class(one.type_name, one)
