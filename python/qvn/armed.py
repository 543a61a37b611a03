"""Frames in steps: armed, started, fetched when they have arrived."""
from __future__ import annotations

from contextlib import suppress
from dataclasses import replace
from datetime import datetime
from typing import TYPE_CHECKING, Callable, Optional, TypeVar

import numpy as np

from . import _reading
from ._checks import time_limit
from ._driver import OPTION_KEEP_CLEAN, Driver
from ._metadata import describe
from ._request import Request
from .errors import CameraTimeout, QvnError, UnsupportedPlatform
from .frames import Binning, Frame, Metadata, Window

if TYPE_CHECKING:
    from .camera import Camera

_PLATFORMS = (24, 30, 42, 44, 47)
_TIMES_ITSELF = 47  # its start returns at once, and its own timer ends the exposure
_TELLS_TRANSFER = (44, 47)
_CARD_DMA = 0x2000
_AT_ONCE, _BY_INPUT = 1, 0
_TRANSFER = 2
_LONGEST_PIXEL = 64  # words, where the pattern cannot be looked at
_SLACK = 0.5  # seconds
_STEP = 0.01  # seconds between two looks for the frame
_LOOK = 0.001  # and for the trigger
_LINE_LENGTH = slice(19, 21)  # words of a line but one, in wave.bin

_Result = TypeVar("_Result")


class Armed:
    """A frame that is taken in steps; `camera.arm` makes it."""

    def __init__(self, camera: Camera, driver: Driver, seconds: float) -> None:
        self._camera = camera
        self._driver = driver
        self._request = Request(seconds, True)
        self._metadata: Optional[Metadata] = None
        self._begun: datetime = driver.library.utc()
        self._readout = 0.0  # seconds
        self._due: Optional[float] = None  # when the frame is there, by the library's clock
        self._check()
        camera._call("arming a frame", self._arm)

    def start(self, trigger: bool = False, timeout: Optional[float] = None) -> None:
        """Starts the exposure. Returns behind the exposure, on platform 47 at once.

        trigger: by the camera's external input. On platform 47 the camera waits for it by itself,
            on the others this call does; Ctrl-C ends its wait.
        timeout: seconds that this call waits for the trigger; None: without end.
        """
        limit = time_limit("timeout", timeout)
        self._need("starting an armed frame", started=False)
        self._request.trigger = bool(trigger)
        if trigger and not self._times_itself():
            self._await_trigger(limit)
        mode = _BY_INPUT if trigger and self._times_itself() else _AT_ONCE
        try:
            self._run("starting an armed frame", lambda: self._start(mode), self._request.seconds)
        except BaseException:  # Ctrl-C among them
            self._driver.library.dll.QV_BrkFlg(self._driver.number)
            raise

    @property
    def ready(self) -> bool:
        """Whether the frame should have arrived; a frame that waits for its trigger never has."""
        if self._due is None or self._driver.armed is not self:
            return False
        if self._driver.library.seconds() < self._due:
            return False
        if self._camera.platform.code not in _TELLS_TRANSFER:
            return True
        return self._run("asking for the transfer", self._ask) == 0

    def fetch(self, timeout: Optional[float] = None) -> Frame:
        """Waits for the frame and returns it: (rows, columns) of unsigned 16-bit pixels.

        timeout: seconds until CameraTimeout is raised, and the frame can still be fetched or given
            up; None: without end where the card tells of the transfer (44, 47).
        """
        limit = time_limit("timeout", timeout)
        self._need("fetching an armed frame", started=True)
        library = self._driver.library
        begin = library.seconds()
        while not self.ready:
            if limit is not None and library.seconds() - begin >= limit:
                raise CameraTimeout(
                    "fetching an armed frame",
                    f"it has not arrived for {limit:.1f} s",
                    "check the trigger, a longer timeout, or flush()",
                )
            library.pause(_STEP)
        return self._run("fetching an armed frame", self._fetch)

    def flush(self) -> None:
        """Gives the frame up; the camera is free for others again."""
        if self._driver.armed is self:
            self._run("giving an armed frame up", self._flush)

    def _check(self) -> None:
        camera, driver = self._camera, self._driver
        doing = f"arming a frame ({driver.name()})"
        camera._need_platform("arming a frame", _PLATFORMS)
        if not driver.library.dll.QV_GetMode(driver.number) & _CARD_DMA:
            raise UnsupportedPlatform(
                doing, "its interface card holds a line, not a frame", "expose()"
            )
        if driver.binning != (1, 1) or camera.window is not None:
            raise QvnError(
                doing, "what is fetched is the whole sensor, unbinned", "binning 1 and no window"
            )
        columns, rows = driver.ccd.Xpix, driver.ccd.Ypix
        # The start asks for as many lines as a line has pixels.
        if rows > columns and not self._times_itself():
            raise UnsupportedPlatform(
                doing, f"{columns} lines are sent, and the sensor has {rows} rows", "expose()"
            )

    def _times_itself(self) -> bool:
        return self._camera.platform.code == _TIMES_ITSELF

    def _need(self, doing: str, started: bool) -> None:
        self._camera._need_open(doing)
        if self._driver.armed is not self:
            raise QvnError(doing, "it has been fetched or given up", "arm() another one")
        if started != (self._due is not None):
            raise QvnError(doing, "it is not started" if started else "it is started already")

    def _run(self, doing: str, run: Callable[[], _Result], seconds: float = 0.0) -> _Result:
        driver = self._driver

        def run_alone() -> _Result:
            with driver.library.calling():
                return run()

        return driver.worker.call(doing, run_alone, seconds + driver.readout_limit())

    # --- in the camera's thread ---

    def _arm(self) -> None:
        driver, seconds = self._driver, self._request.seconds
        with driver.library.shared, driver.library.calling():
            # The lines and pixels to transfer are those of the last pattern.
            driver.set_binning(Binning(1, 1))
            self._readout = _readout_seconds(driver)
            columns, rows = driver.ccd.Xpix, driver.ccd.Ypix
            self._metadata = describe(driver, self._request, Window(0, 0, columns, rows))
            self._clear_if_wanted(self._times_itself())
            driver.library.dll.QV_ArmAcquisition(seconds, driver.number)
            driver.armed = self

    def _clear_if_wanted(self, now: bool) -> None:
        driver = self._driver
        if now and driver.options() & OPTION_KEEP_CLEAN:
            driver.clear()

    def _start(self, mode: int) -> None:
        driver = self._driver
        self._clear_if_wanted(not self._times_itself())
        self._begun = driver.library.utc()
        driver.library.dll.QV_StartAcquisition(mode, driver.number)
        wait = self._request.seconds if self._times_itself() else 0.0
        if self._camera.platform.code not in _TELLS_TRANSFER:
            wait += self._readout
        self._due = driver.library.seconds() + wait

    def _ask(self) -> int:
        return int(self._driver.library.dll.QV_QuerySts(_TRANSFER, self._driver.number))

    def _fetch(self) -> Frame:
        driver = self._driver
        assert self._metadata is not None
        columns, rows = driver.ccd.Xpix, driver.ccd.Ypix
        pixels = np.zeros((rows, columns), np.uint16)
        driver.library.dll.QV_GetImage(_reading.pointer(pixels), driver.number)
        driver.armed = None
        metadata = replace(
            self._metadata,
            start=self._begun,
            end=driver.library.utc(),
            triggered=self._request.trigger,
            temperature_end=driver.recent(),
        )
        return Frame(pixels, metadata)

    def _flush(self) -> None:
        driver = self._driver
        driver.library.dll.QV_FlushAcquisition(driver.number)
        driver.armed = None

    def _await_trigger(self, limit: Optional[float]) -> None:
        driver, library = self._driver, self._driver.library
        begin = library.seconds()
        while not driver.worker.call("looking at the trigger", driver.is_triggered):
            waited = library.seconds() - begin
            if limit is not None and waited >= limit:
                raise CameraTimeout(
                    "starting an armed frame",
                    f"its trigger has not come for {waited:.1f} s",
                    "check its cable, a longer timeout, or flush()",
                )
            library.pause(_LOOK)


def _readout_seconds(driver: Driver) -> float:
    """Nothing tells that the frame has arrived: twice the time that its pattern takes."""
    words = _LONGEST_PIXEL * int(driver.ccd.Xpix)
    if driver.library.folder is not None:
        with suppress(OSError), open(driver.library.folder / "wave.bin", "rb") as file:
            header = file.read(_LINE_LENGTH.stop)
            if len(header) == _LINE_LENGTH.stop:
                words = int.from_bytes(header[_LINE_LENGTH], "little") + 1
    lines = driver.ccd.Xpix + driver.ccd.Dummy[0]
    return float(_SLACK + 2.0 * lines * words * driver.electronics.SamplingClock[0] / 1e6)
