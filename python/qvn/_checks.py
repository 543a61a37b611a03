"""Arguments: ctypes cuts numbers to their types and texts at a NUL without a word."""
from __future__ import annotations

import math
import operator
import os
from typing import Optional, SupportsFloat, SupportsIndex, Union

MOST_INT32 = 0x7FFFFFFF


def whole(name: str, value: SupportsIndex, low: int, high: int) -> int:
    """A whole number within its limits."""
    number = operator.index(value)
    if not low <= number <= high:
        raise ValueError(f"{name} {number} is not {low} to {high}")
    return number


def real(name: str, value: SupportsFloat, low: float, high: float) -> float:
    """A number within its limits; none that is not a number passes."""
    number = float(value)
    if not low <= number <= high:
        raise ValueError(f"{name} {number:g} is not {low:g} to {high:g}")
    return number


def time_limit(name: str, value: Optional[SupportsFloat]) -> Optional[float]:
    """Seconds of 0 and more, also without end; None: the usual ones."""
    if value is None:
        return None
    number = float(value)
    if math.isnan(number) or number < 0.0:
        raise ValueError(f"{name} {number:g} s is below 0, or no number")
    return number


def text(name: str, value: Union[str, "os.PathLike[str]"]) -> bytes:
    """A text or a path as the library takes it."""
    data = os.fsencode(value)
    if b"\0" in data:
        raise ValueError(f"{name} {os.fspath(value)!r} has a NUL inside")
    return data
