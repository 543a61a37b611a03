"""Frames: arrays of pixels that know how they were taken."""
from __future__ import annotations

from dataclasses import dataclass
from datetime import datetime
from typing import Any, NamedTuple, Optional, Union

import numpy as np
from numpy.typing import NDArray

Pixels = NDArray[np.uint16]

#: Where 16 unsigned bits would wrap round without a word.
_WRAPPING = (np.add, np.subtract, np.multiply, np.negative, np.square, np.power)


class Window(NamedTuple):
    """A part of the image, in binned pixels counted from the first image pixel."""

    x: int
    y: int
    width: int
    height: int


class Binning(NamedTuple):
    """Pixels of the sensor that make one of the frame."""

    horizontal: int
    vertical: int


@dataclass(frozen=True)
class Metadata:
    """How a frame was taken. Values are those at the start of its exposure."""

    start: datetime  #: UTC, as the library was called
    end: datetime  #: UTC, as the frame was in memory
    exposure: float  #: seconds exposed
    requested: float  #: seconds asked for; differs from `exposure` if it was broken off
    aborted: bool  #: the exposure was broken off
    light: bool  #: False: a dark frame, the shutter stayed closed
    temperature: Optional[float]  #: of the sensor, degrees Celsius; None: it could not be read
    set_point: Optional[float]  #: of the cooler, degrees Celsius; None: it is not regulated
    cooler_power: float  #: drive, percent
    gain: int  #: gain setting, an index
    binning: Binning
    window: Window  #: as delivered, so its width is even
    full_frame: bool  #: the whole image was read
    platform: int  #: code of the electronics
    platform_name: str
    sensor: int  #: code of the sensor
    sensor_name: str
    serial_number: Optional[int]
    pixel_size: tuple[float, float]  #: of a binned pixel, width and height, micrometres
    saturation: int  #: largest pixel value
    filter: Optional[str]  #: name or number of the wheel's position, where it is known
    camera: int  #: number of the camera, 0 to 7
    options: int  #: the option word, QV_OPTION_...
    virtual: bool  #: of a virtual camera
    number: int = 1  #: place in its series, from 1
    frames: int = 1  #: frames in the array; more than 1: a cube

    @property
    def kind(self) -> str:
        """"Light Frame", "Dark Frame", or "Bias Frame" for a dark frame of 0 seconds."""
        if self.light:
            return "Light Frame"
        return "Bias Frame" if self.requested <= 0.0 else "Dark Frame"

    def header(self) -> dict[str, tuple[Union[str, int, float, bool], str]]:
        """FITS keywords with their values and comments, as the program `qvn` writes them."""
        cards: dict[str, tuple[Union[str, int, float, bool], str]] = {
            "DATE-OBS": (_iso(self.start), "start of the exposure"),
            "DATE-END": (_iso(self.end), "frame in memory"),
            "TIMESYS": ("UTC", "time system"),
            "EXPTIME": (self.exposure, "[s] exposed"),
            "IMAGETYP": (self.kind, "kind of frame"),
            "GAIN": (self.gain, "gain setting, an index"),
            "INSTRUME": (f"{self.platform_name} {self.sensor_name}", "camera"),
            "DETECTOR": (self.sensor_name, "sensor"),
            "XBINNING": (self.binning.horizontal, "columns in a pixel"),
            "YBINNING": (self.binning.vertical, "rows in a pixel"),
            "XORGSUBF": (self.window.x, "first column, binned pixels"),
            "YORGSUBF": (self.window.y, "first row, binned pixels"),
            "DATAMAX": (self.saturation, "largest pixel value of the camera"),
            "ROWORDER": ("TOP-DOWN", "first row is the upper one"),
            "SWCREATE": ("qvn (Python)", "program"),
        }
        if self.aborted:
            cards["EXPREQ"] = (self.requested, "[s] requested; broken off")
        if self.temperature is not None:
            cards["CCD-TEMP"] = (self.temperature, "[degC] sensor")
        if self.set_point is not None:
            cards["SET-TEMP"] = (self.set_point, "[degC] target")
        if self.filter is not None:
            cards["FILTER"] = (self.filter, "filter wheel")
        if self.serial_number is not None:
            cards["CAMSERNO"] = (str(self.serial_number), "serial number")
        for key, size in zip(("XPIXSZ", "YPIXSZ"), self.pixel_size):
            if size > 0.0:
                cards[key] = (size, "[um] binned pixel")
        return cards


def _iso(time: datetime) -> str:
    return time.replace(tzinfo=None).isoformat(timespec="milliseconds")


class Frame(np.ndarray[Any, np.dtype[np.uint16]]):
    """A frame: an array of (rows, columns) unsigned 16-bit pixels, or of (frames, rows, columns).

    Arithmetic is done in floating point, since pixels of 16 bits would wrap round: the difference
    of two frames is an ordinary array of float64. Parts of a frame are as careful, but have no
    metadata: those are true of the whole frame alone.
    """

    _metadata: Optional[Metadata]

    def __new__(cls, pixels: Pixels, metadata: Metadata) -> Frame:
        frame = pixels.view(cls)
        frame._metadata = metadata
        return frame

    def __array_finalize__(self, parent: Any) -> None:
        self._metadata = None  # of what is made from a frame

    @property
    def metadata(self) -> Metadata:
        """How the frame was taken."""
        if self._metadata is None:
            raise AttributeError("a part of a frame has no metadata; ask the frame itself")
        return self._metadata

    def copy(self, order: Any = "C") -> Frame:
        """Another frame with the same pixels and metadata."""
        return _restore(self.view(np.ndarray).copy(order), self._metadata)

    def __copy__(self) -> Frame:
        return self.copy()

    def __deepcopy__(self, memo: Any) -> Frame:
        return self.copy()

    def __array_ufunc__(
        self, ufunc: np.ufunc, method: str, *inputs: Any, out: Any = None, **kwargs: Any
    ) -> Any:
        plain = [_plain(value) for value in inputs]
        if ufunc in _WRAPPING and method == "__call__":
            plain = [
                value.astype(np.float64) if isinstance(given, Frame) else value
                for given, value in zip(inputs, plain)
            ]
        if out is not None:
            kwargs["out"] = tuple(_plain(value) for value in out)
        return getattr(ufunc, method)(*plain, **kwargs)

    def __reduce__(self) -> Any:
        return _restore, (self.view(np.ndarray), self._metadata)


def _plain(value: Any) -> Any:
    return value.view(np.ndarray) if isinstance(value, Frame) else value


def _restore(pixels: Pixels, metadata: Optional[Metadata]) -> Frame:
    frame = pixels.view(Frame)
    frame._metadata = metadata
    return frame
