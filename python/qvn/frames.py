"""Frames: arrays of pixels that know how they were taken."""
from __future__ import annotations

import operator
from dataclasses import dataclass, replace
from datetime import datetime
from typing import Any, NamedTuple, Optional, Union

import numpy as np
from numpy.typing import NDArray

Pixels = NDArray[np.uint16]

#: Results that are frames again, and how they are told.
_KEEPING = {
    np.add: "plus",
    np.subtract: "minus",
    np.multiply: "times",
    np.true_divide: "divided by",
}
#: Where 16 unsigned bits would wrap round without a word, and 32 bits of fractions not do.
_WRAPPING = (*_KEEPING, np.negative, np.square, np.power, np.floor_divide)


class Window(NamedTuple):
    """A part of the image, in binned pixels counted from the first image pixel."""

    x: int  #: first column
    y: int  #: first row
    width: int  #: columns
    height: int  #: rows


class Binning(NamedTuple):
    """Pixels of the sensor that make one of the frame."""

    horizontal: int  #: columns
    vertical: int  #: rows


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
    cooler_power: float  #: drive, percent; not a number for an array, which does not tell
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
    temperature_end: Optional[float] = None  #: as the frame was in memory, degrees Celsius
    gain_factor: Optional[float] = None  #: of the gain setting, by qvn.cfg; None: not told there
    output: int = 0  #: output amplifier, 0 to 3
    triggered: bool = False  #: the external trigger began the exposure
    noise_reduction: int = 0  #: samples of each pixel; 0: no noise reduction
    head: Optional[int] = None  #: of an array, 0 to 7
    pattern_hash: Optional[int] = None  #: FNV-1a, 64 bits, of the clock pattern; None: without one
    definition_hash: int = 0  #: FNV-1a, 64 bits, of the definitions of sensor and platform
    history: tuple[str, ...] = ()  #: what was done to the pixels since

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
        if self.head is not None:
            cards["HEAD"] = (self.head, "of the array")
        for key, size in zip(("XPIXSZ", "YPIXSZ"), self.pixel_size):
            if size > 0.0:
                cards[key] = (size, "[um] binned pixel")
        return cards


def _iso(time: datetime) -> str:
    return time.replace(tzinfo=None).isoformat(timespec="milliseconds")


class Frame(np.ndarray[Any, np.dtype[np.uint16]]):
    """A frame: an array of (rows, columns) unsigned 16-bit pixels, or of (frames, rows, columns).

    Arithmetic is done in floating point, since pixels of 16 bits would wrap round. Sums,
    differences, products and quotients of the frame's own shape are frames of float64 with the
    metadata of the frame that stands first, and `metadata.history` tells what was done; all other
    results are ordinary arrays.

    A part cut out by plain slices, `frame[10:20, 4:8]`, is a frame whose metadata tell its window,
    and `cube[3]` one of a series. Other parts have no metadata: they are no image of the sensor.
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
            raise AttributeError("this part of a frame has no metadata; ask the frame itself")
        return self._metadata

    def __getitem__(self, key: Any) -> Any:
        part = super().__getitem__(key)
        if isinstance(part, Frame) and self._metadata is not None:
            part._metadata = _of_part(self._metadata, self.shape, key)
        return part

    def copy(self, order: Any = "C") -> Frame:
        """Another frame with the same pixels and metadata."""
        return _restore(self.view(np.ndarray).copy(order), self._metadata)

    def astype(self, *arguments: Any, **keywords: Any) -> Any:
        """The frame with pixels of another type, and its metadata."""
        return _restore(self.view(np.ndarray).astype(*arguments, **keywords), self._metadata)

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
                value.astype(np.float64, copy=False) if isinstance(given, Frame) else value
                for given, value in zip(inputs, plain)
            ]
        if out is not None:
            kwargs["out"] = tuple(_plain(value) for value in out)
        result = getattr(ufunc, method)(*plain, **kwargs)
        if out is not None:
            result = out[0] if len(out) == 1 else out
        if method == "__call__" and ufunc in _KEEPING:
            return _with_history(ufunc, inputs, result)
        return result

    def __reduce__(self) -> Any:
        return _restore, (self.view(np.ndarray), self._metadata)


def _plain(value: Any) -> Any:
    return value.view(np.ndarray) if isinstance(value, Frame) else value


def _restore(pixels: Pixels, metadata: Optional[Metadata]) -> Frame:
    frame = pixels.view(Frame)
    frame._metadata = metadata
    return frame


def _with_history(ufunc: np.ufunc, inputs: tuple[Any, ...], result: Any) -> Any:
    """The result as a frame, with the metadata of the first frame among what it comes from."""
    place = next((at for at, value in enumerate(inputs) if isinstance(value, Frame)), None)
    if place is None:
        return result  # frames are in the output alone
    first: Frame = inputs[place]
    kept = first._metadata
    if kept is None or not isinstance(result, np.ndarray) or result.shape != first.shape:
        return result
    other = _told(inputs[1 - place])
    done = f"{_KEEPING[ufunc]} {other}" if place == 0 else f"{other} {_KEEPING[ufunc]} the frame"
    return _restore(result, replace(kept, history=(*kept.history, done)))


def _told(value: Any) -> str:
    if isinstance(value, Frame) and value._metadata is not None:
        data = value._metadata
        done = "".join(f", {step}" for step in data.history)
        return f"{data.kind} of {data.exposure:g} s, {_iso(data.start)}{done}"
    is_number = isinstance(value, (int, float, np.integer, np.floating))
    return f"{value:g}" if is_number else "an array"


def _of_part(metadata: Metadata, shape: tuple[int, ...], key: Any) -> Optional[Metadata]:
    """Of what plain slices cut out of a frame, or of a frame of a cube."""
    keys = key if isinstance(key, tuple) else (key,)
    if not all(isinstance(one, slice) or one is Ellipsis or _is_index(one) for one in keys):
        return None
    if Ellipsis in keys:
        at = keys.index(Ellipsis)
        keys = (*keys[:at], *[slice(None)] * (len(shape) - len(keys) + 1), *keys[at + 1 :])
    keys = (*keys, *[slice(None)] * (len(shape) - len(keys)))
    spans = [_span(one, length) for one, length in zip(keys, shape)]
    rows, columns = spans[-2], spans[-1]
    if rows is None or columns is None or _is_index(keys[-1]) or _is_index(keys[-2]):
        return None
    if len(shape) == 3:
        if spans[0] is None:
            return None
        metadata = replace(
            metadata,
            number=metadata.number + spans[0].start,
            frames=1 if _is_index(keys[0]) else len(spans[0]),
        )
    x, y, _, _ = metadata.window
    window = Window(x + columns.start, y + rows.start, len(columns), len(rows))
    whole = metadata.full_frame and window == metadata.window
    return replace(metadata, window=window, full_frame=whole)


def _is_index(key: Any) -> bool:
    return hasattr(key, "__index__") and not isinstance(key, (bool, np.bool_, np.ndarray))


def _span(key: Any, length: int) -> Optional[range]:
    """The places that are cut out; None: none, or not all between the first and the last."""
    if not isinstance(key, slice):
        at = operator.index(key) % length
        return range(at, at + 1)
    span = range(*key.indices(length))
    return span if span.step == 1 and len(span) > 0 else None
