"""The types that inputs accept and give, for the classes of node types."""
from __future__ import annotations

import os
from collections.abc import Iterator, Sequence
from typing import TYPE_CHECKING, Any, Generic, SupportsIndex, TypeVar, Union, overload

import numpy as np
import numpy.typing as npt

Numbers = npt.NDArray[np.float64]
"""A read-only array: of a vector its components, of a colour red, green, blue and opacity, of a
quaternion x, y, z and w, of a matrix its rows; the translation of a Mat4 is its last row."""

TupleLike = Union[Sequence[float], npt.NDArray[Any]]
"""A vector, position, colour or quaternion."""

MatrixLike = Union[Sequence[Sequence[float]], npt.NDArray[Any]]
"""A matrix, row by row."""

TextLike = Union[str, "os.PathLike[str]"]

if TYPE_CHECKING:
    from kelvo._kelvo import Input

    _T = TypeVar("_T")

    class Elements(Input, Generic[_T]):
        """An array, as a sequence of values of one type."""

        @overload
        def __getitem__(self, key: str | SupportsIndex, /) -> _T: ...
        @overload
        def __getitem__(self, key: slice, /) -> list[_T]: ...
        def __getitem__(self, key: Any, /) -> Any: ...
        def __iter__(self) -> Iterator[_T]: ...
