"""Virtual cameras: whole instruments without hardware, from libqvn_bench."""
from __future__ import annotations

import ctypes
import os
import weakref
from typing import Optional

import numpy as np
from numpy.typing import ArrayLike

from . import _library, _records
from ._checks import real, text, whole
from ._closing import Closing
from ._library import CAMERAS, Library, PathLike
from .camera import Camera
from ._reading import HEADS
from .errors import QvnError, SpecificationError
from .opening import open as open_camera

_ERROR_ROOM = 2048
_FILE_ROOM = 1024
_LONGEST_SLEEP = 1e9  # seconds
_LONGEST_SIDE = 65535
_EVENTS = ("trigger", "trigger-end", "off", "on", "silent", "answering")  # QVB_EVENT_...


def virtual(spec: str, *, folder: Optional[PathLike] = None) -> World:
    """Virtual cameras in place of the computer's, until the world is closed.

    spec: which, as KEY=VALUE with commas between: "platform=42,sensor=255,scene=stars"; more of
        them with a semicolon. "time=virtual;..." lets hours pass in milliseconds. See
        docs/virtual-cameras.md for all keys.
    folder: of qvn.cfg, as for `qvn.open`.

    There is one world at a time. `qvn.open` then opens its cameras.
    """
    return World(spec, folder)


class World(Closing):
    """Virtual cameras. As a context it closes them at its end."""

    def __init__(self, spec: str, folder: Optional[PathLike]) -> None:
        library = _library.bench()
        library.need_own("making virtual cameras")
        told = text("spec", spec)
        with library.shared:
            if _library.is_virtual():
                raise QvnError("making virtual cameras", "there is a virtual world", "close it")
            library.use_folder(folder)
            _reset_setups(library)
            error = ctypes.create_string_buffer(_ERROR_ROOM)
            code = library.dll.QVB_Install(told, error, _ERROR_ROOM)
            if code != 0:
                failure = library.error(code, "making virtual cameras")
                raise type(failure)(failure.doing, _library.buffer_text(error), failure.hint, code)
            self._library = library
            self._finalizer = weakref.finalize(self, _leave, library)
            library.set_virtual_time(library.dll.QVB_TimeIsVirtual() != 0)
            _library.enter_world(library)
        try:
            self._load_scenes()
        except BaseException:
            self.close()
            raise

    @property
    def cameras(self) -> list[int]:
        """The numbers by which the cameras are opened."""
        return [instrument.Camera for instrument in self._instruments()]

    @property
    def seconds(self) -> float:
        """The world's clock, seconds."""
        return self._library.seconds()

    def sleep(self, seconds: float) -> None:
        """Lets so many seconds pass; the coolers go on being regulated."""
        seconds = real("seconds", seconds, 0.0, _LONGEST_SLEEP)
        self._library.pause(seconds)

    def open(self, camera: Optional[int] = None) -> Camera:
        """Opens a camera by its number, 0 to 7; without it the first that is not open."""
        return open_camera(camera=camera)

    def set_scene(self, camera: int, pixels: ArrayLike, head: Optional[int] = None) -> None:
        """What the sensor of a camera sees from here on: an image, stretched over the sensor.

        camera: its number.
        pixels: rows and columns of light, 0 to 65535.
        head: of an array, 0 to 7.

        The light does not depend on the exposure: a light frame is the scene itself.
        """
        image = np.asarray(pixels)
        if image.ndim != 2 or not (1 <= min(image.shape) and max(image.shape) <= _LONGEST_SIDE):
            raise ValueError(f"a scene has rows and columns, up to {_LONGEST_SIDE}")
        if not np.isfinite(image).all():
            raise ValueError("a scene has pixels that are no numbers")
        light = np.ascontiguousarray(np.clip(np.rint(image), 0, 65535).astype(np.uint16))
        rows, columns = light.shape
        scene = _records.Scene(light.ctypes.data_as(_records.PIXELS), columns, rows)
        number = whole("camera", camera, 0, CAMERAS - 1)
        dll = self._library.dll
        with self._library.calling():
            if head is None:
                code = dll.QVB_SetScene(number, scene)
            else:
                code = dll.QVB_SetHeadScene(number, whole("head", head, 0, HEADS - 1), scene)
        if code != 0:
            hint = f"one of {self.cameras}"
            raise self._library.error(code, f"showing camera {camera} a scene", hint)

    def schedule(self, camera: int, event: str, seconds: float = 0.0) -> None:
        """Lets something happen to a camera, so many seconds from now.

        camera: its number.
        event: "trigger" and "trigger-end": the external trigger input becomes active and inactive;
            "off" and "on": the power, on USB the plug; "silent" and "answering": on USB no byte
            comes, elsewhere no pixel.
        seconds: 0 to 10000000, of the world's clock.
        """
        number = whole("camera", camera, 0, CAMERAS - 1)
        if event not in _EVENTS:
            raise ValueError(f"{event!r} is none of {', '.join(_EVENTS)}")
        with self._library.calling():
            code = self._library.dll.QVB_Schedule(number, _EVENTS.index(event), seconds)
        if code != 0:
            hint = f"one of {self.cameras}, 0 to 10000000 seconds, 64 events at a time"
            raise self._library.error(code, f"scheduling {event} of camera {camera}", hint)

    def trace(self, path: Optional[PathLike]) -> None:
        """Writes all traffic with the cameras to a new file, as text; path None: no more."""
        with self._library.calling():
            code = self._library.dll.QVB_Trace(None if path is None else text("path", path))
        if code != 0:
            raise self._library.error(code, f"writing the trace {path}")

    def close(self) -> None:
        """Closes the cameras and gives the computer's back."""
        self._finalizer()

    def _instruments(self) -> list[_records.Instrument]:
        instruments = []
        for index in range(self._library.dll.QVB_InstrumentCount()):
            instrument = _records.Instrument()
            self._library.dll.QVB_Instrument(index, instrument)
            instruments.append(instrument)
        return instruments

    def _load_scenes(self) -> None:
        for index, instrument in enumerate(self._instruments()):
            for head in range(max(1, instrument.Heads)):
                file = ctypes.create_string_buffer(_FILE_ROOM)
                self._library.dll.QVB_HeadSceneFile(index, head, file, _FILE_ROOM)
                if file.value:
                    scene = _read_scene(os.fsdecode(file.value))
                    self.set_scene(instrument.Camera, scene, head if instrument.Heads else None)


def _read_scene(path: str) -> ArrayLike:
    try:
        if path.endswith(".npy"):
            pixels: ArrayLike = np.load(path)
            return pixels
        if path.endswith((".fits", ".fit", ".fts")):
            from .fits import read_fits

            return read_fits(path)
    except OSError as error:
        raise SpecificationError("reading a scene", str(error), "another file") from error
    raise SpecificationError(
        "reading a scene", f"{path} is no .npy and no .fits", "World.set_scene takes any array"
    )


def _reset_setups(library: Library) -> None:
    """A camera of the world is set up as the library's defaults are, the open tells the rest."""
    record = _records.CameraConfig()
    library.dll.QV_InitCfg(record)
    for number in range(CAMERAS):
        library.dll.QV_InitOptions(record, number)


def _leave(library: Library) -> None:
    if library.left:
        return
    try:
        for driver in list(library.cameras.values()):
            driver.shutdown()
    finally:
        with library.shared, library.calling():
            library.dll.QVB_Uninstall()
            library.set_virtual_time(False)
        _library.leave_world()
