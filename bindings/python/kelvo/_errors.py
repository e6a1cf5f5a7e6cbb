"""The exceptions of the package. All are kinds of `Error`, and carry the message of the failure."""
from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from kelvo import Diagnostic


class Error(Exception):
    """The base of all exceptions of this package."""

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""


class InvalidValueError(Error, ValueError):
    """A value does not fit: out of bounds, not among the choices, of the wrong shape."""


class KindError(Error, TypeError):
    """A value is of a type that the input does not accept."""


class NotFoundError(Error, KeyError, AttributeError):
    """There is no node, input or output of that name."""


class RangeError(Error, IndexError):
    """An index is out of range."""


class DeadHandleError(Error, ReferenceError):
    """The node or input was removed, or its scene is gone."""


class ReadOnlyError(Error):
    """The input is marked as read-only."""


class TextError(Error, ValueError):
    """A text cannot be read. `diagnostics` has all errors with their places."""

    def __init__(self, message: str, diagnostics: list[Diagnostic] | None = None) -> None:
        super().__init__(message)
        self.diagnostics: list[Diagnostic] = diagnostics or []


class EvaluationError(Error, RuntimeError):
    """A value cannot be evaluated. If a callback raised an exception, it is the `__cause__`."""


class BusyError(Error, RuntimeError):
    """Another thread uses the scene, or it changed during an iteration."""


class RefusedError(Error):
    """An operation is refused, such as a connection that would close a loop."""


class FileError(Error, OSError):
    """A file cannot be read or written."""
