"""What a frame was taken with, in a number: the clock pattern and the definitions."""
from __future__ import annotations

import ctypes
from pathlib import Path
from typing import Optional

from . import _records

_START = 0xCBF29CE484222325
_PRIME = 0x100000001B3
_BITS = 0xFFFFFFFFFFFFFFFF
_LARGEST = 29 + 2 * 65536  # bytes of a pattern file

# They are clocked by themselves; of the Larch only with some sensors.
_WITHOUT_FILE = (1, 29, 48, 70, 71, 300, 400, 450)
_LARCH, _LARCH_BARE = 30, range(500, 507)


def fnv1a(data: bytes, start: int = _START) -> int:
    """FNV-1a of 64 bits."""
    number = start
    for byte in data:
        number = (number ^ byte) * _PRIME & _BITS
    return number


def pattern_hash(folder: Path, platform: int, sensor: int) -> Optional[int]:
    """Of the wave.bin that a camera has just loaded; None without one."""
    if platform in _WITHOUT_FILE or (platform == _LARCH and sensor in _LARCH_BARE):
        return None
    try:
        with open(folder / "wave.bin", "rb") as file:
            data = file.read(_LARGEST + 1)
    except OSError:
        return None
    return fnv1a(data) if len(data) <= _LARGEST else None


def definition_hash(
    sensor: _records.CcdDefinition, platform: _records.PlatformDefinition
) -> int:
    """Of the fields in their order, without the gap between words and doubles."""
    kind = _records.PlatformDefinition
    words = kind.AntiBloomingTimer.offset + kind.AntiBloomingTimer.size
    data = ctypes.string_at(ctypes.byref(platform), ctypes.sizeof(platform))
    number = fnv1a(ctypes.string_at(ctypes.byref(sensor), ctypes.sizeof(sensor)))
    number = fnv1a(data[kind.ADbit.offset : words], number)
    return fnv1a(data[kind.TimeBase.offset :], number)
