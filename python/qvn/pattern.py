"""Clock patterns as arrays: what the lines of a camera do, without a camera."""
from __future__ import annotations

import ctypes
import os
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Mapping, Optional, Union

import numpy as np
from numpy.typing import NDArray

from . import _library, _records
from ._checks import MOST_INT32, whole
from ._library import Library, PathLike
from .camera import WindowLike, as_window
from .catalogue import Entry, Key, find_platform, find_sensor
from .definitions import closed_number
from .errors import PatternError
from .opening import link_code

Words = NDArray[np.unsignedinteger[Any]]

_HEADER_BYTES = 29
_NAME_ROOM = 32


@dataclass(frozen=True)
class Pattern:
    """The words that a camera plays: one word is a tick, each of its bits a clock line.

    A section is played by itself, as often as the driver says: "line" is a whole line of the
    picture, "row" moves the image by one row, "pixel" moves the register by one cell, "idle" is
    rest; "extra-a" and "extra-b" are made for few sensors.
    """

    platform: Entry
    sensor: Entry
    builder: str  #: name of what computed it
    tick: float  #: microseconds of one word
    word_bits: int  #: 8 or 16
    word_limit: int  #: the most words that the camera takes
    words: Words  #: as they lie in the camera's memory, padding included
    width: int  #: of the picture, binned pixels
    height: int
    lines: tuple[str, ...]  #: what each line does, from the bit of value 1 on
    inverted: int  #: mask of the lines that act when they are low
    _sections: Mapping[str, tuple[int, int]]

    @property
    def sections(self) -> tuple[str, ...]:
        """The names of the sections."""
        return tuple(self._sections)

    def section(self, name: str = "line") -> Words:
        """The words of a section, by its name, in the order in which they are played."""
        if name not in self._sections:
            raise ValueError(f"section {name!r} is none of {', '.join(self._sections)}")
        start, length = self._sections[name]
        return self.words[start : start + length][::-1]

    def line(self, name: Union[str, int], section: str = "line") -> NDArray[np.bool_]:
        """The level of one line, tick by tick.

        name: what it does, one of `lines`, or the place of its bit, from 0.
        section: one of `sections`.
        """
        if isinstance(name, str) and name not in self.lines:
            raise ValueError(f"line {name!r} is none of {', '.join(self.lines)}")
        bit = self.lines.index(name) if isinstance(name, str) else name
        if not 0 <= bit < self.word_bits:
            raise ValueError(f"line {bit} is not 0 to {self.word_bits - 1}")
        level: NDArray[np.bool_] = (self.section(section) >> bit) & 1 == 1
        return level

    def active(self, name: Union[str, int], section: str = "line") -> NDArray[np.bool_]:
        """Where a line acts, whether it does so when it is high or when it is low.

        name, section: as for `line`.
        """
        bit = self.lines.index(name) if isinstance(name, str) and name in self.lines else name
        level = self.line(name, section)
        low = isinstance(bit, int) and self.inverted >> bit & 1 == 1
        return ~level if low else level

    def times(self, section: str = "line") -> NDArray[np.float64]:
        """The start of each tick of a section, microseconds."""
        return np.arange(len(self.section(section)), dtype=np.float64) * self.tick


def pattern(
    platform: Key,
    sensor: Optional[Key] = None,
    *,
    window: Optional[WindowLike] = None,
    binning: Union[int, tuple[int, int]] = 1,
    link: Union[int, str] = 0,
    folder: Optional[PathLike] = None,
) -> Pattern:
    """The clock pattern that a camera is given for a window and a binning.

    platform, sensor: codes or names.
    window: (x, y, width, height) in binned pixels; None: the whole image.
    binning: columns and rows of the sensor in a pixel; a number is both.
    link: matters on platform 28.
    folder: of qvn.cfg, as for `qvn.open`.
    """
    library = _library.bench()
    library.use_folder(folder)
    found = find_platform(library, platform)
    carried = find_sensor(library, found, sensor)
    request = _records.WaveRequest()
    library.dll.QVB_InitWaveRequest(request)
    request.Platform, request.Sensor = found.code, carried.code
    request.InterfaceType = link_code(link)
    if window is not None:
        request.X, request.Y, request.Width, request.Height = as_window(window)
    across, down = binning if isinstance(binning, tuple) else (binning, binning)
    request.HorBinning = whole("binning", across, 1, MOST_INT32)
    request.VerBinning = whole("binning", down, 1, MOST_INT32)
    with library.shared, library.calling():
        return _build(library, request, found, carried)


def _build(
    library: Library, request: _records.WaveRequest, platform: Entry, sensor: Entry
) -> Pattern:
    doing = f"building the pattern of {platform.name} with {sensor.name}"
    request.Camera = closed_number(library, doing)
    wave, lines = _records.Wave(), _records.WaveLines()
    with tempfile.TemporaryDirectory(prefix="qvn-") as scratch:
        path = Path(scratch) / "wave.bin"
        code = library.dll.QVB_BuildWave(request, os.fsencode(path), wave)
        if code != 0:
            raise library.error(code, doing)
        content = path.read_bytes()
    library.dll.QVB_WaveLines(
        request.Platform, request.Sensor, request.InterfaceType, request.CcdTechnology, lines
    )
    kind = np.dtype("<u2" if wave.WordBits == 16 else "u1")
    if len(content) != _HEADER_BYTES + wave.WordCount * kind.itemsize:
        raise PatternError(doing, "its file is not whole", "a disk with free space")
    sections = {
        name: (part.Start, part.Length)
        for name, part in zip(_records.SECTION_NAMES, wave.Sections)
        if part.Length != 0
    }
    return Pattern(
        platform,
        sensor,
        wave.Builder.decode("latin-1"),
        wave.TickMicroseconds,
        wave.WordBits,
        wave.WordLimit,
        np.frombuffer(content, kind, offset=_HEADER_BYTES),
        wave.Width,
        wave.Height,
        tuple(_line_name(library, request, line) for line in range(wave.WordBits)),
        lines.Inverted,
        sections,
    )


def _line_name(library: Library, request: _records.WaveRequest, line: int) -> str:
    buffer = ctypes.create_string_buffer(_NAME_ROOM)
    library.dll.QVB_LineName(
        request.Platform, request.Sensor, request.InterfaceType, line, buffer, _NAME_ROOM
    )
    return _library.buffer_text(buffer)
