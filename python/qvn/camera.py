"""Cameras: frames, settings, cooling."""
from __future__ import annotations

import math
import operator
import weakref
from types import TracebackType
from typing import Callable, Optional, Type, TypeVar, Union

from ._cooler import FAILURES, SETTLE, TURN, CoolingState
from ._driver import Driver, Request
from .catalogue import DEMO, Entry
from .errors import CameraClosed, CameraTimeout, QvnError
from .exposures import Exposure, Series
from .frames import Binning, Frame, Window
from .wheel import FilterWheel

_Result = TypeVar("_Result")

WindowLike = Union[Window, tuple[int, int, int, int]]

_UNOD = (70, 71)
_WARM = 2.0  # degrees below the end of a warm-up, and
_IDLE = 5.0  # percent of drive: the cooler may go off
_LONGEST_EXPOSURE = 2147483.0  # seconds; the library counts milliseconds in 31 bits
_OPEN_LIMIT = 120.0  # seconds


class _BinningSetting:
    """Read as a Binning, set by a pair or by a number for both directions."""

    def __get__(self, camera: Camera, kind: object = None) -> Binning:
        return camera._driver.binning

    def __set__(self, camera: Camera, value: Union[int, tuple[int, int]]) -> None:
        across, down = (value, value) if isinstance(value, int) else value
        camera._set_binning(across, down)


class Camera:
    """An open camera. `qvn.open` makes it.

    All methods may be called from any thread: a thread of the camera makes the calls one after
    the other. Temperatures are degrees Celsius, times seconds, positions binned pixels.
    """

    def __init__(self, driver: Driver) -> None:
        self._driver = driver
        self._library = driver.library
        #: Window of frames that tell none: (x, y, width, height) in binned pixels; None: all.
        self.window: Optional[WindowLike] = None
        try:
            driver.worker.call("opening", driver.open, _OPEN_LIMIT)
        except BaseException:
            driver.end()  # also if the open is still to succeed
            raise
        kind = driver.plan.config.FilterWheel
        #: The filter wheel; None without one (see `wheel` of `qvn.open`).
        self.wheel: Optional[FilterWheel] = FilterWheel(driver, kind) if kind != 0 else None
        # Of one that nobody closes. It may run in any thread, so it does not wait.
        self._finalizer = weakref.finalize(self, driver.end)
        self._finalizer.atexit = False

    def __repr__(self) -> str:
        return f"<qvn.Camera {self._driver.name()}{', closed' if self._driver.closed else ''}>"

    # --- what it is ---

    @property
    def number(self) -> int:
        """The camera's number, 0 to 7."""
        return self._driver.number

    @property
    def platform(self) -> Entry:
        """The electronics."""
        return self._driver.plan.platform

    @property
    def sensor(self) -> Entry:
        """The sensor."""
        return self._driver.plan.sensor

    @property
    def serial_number(self) -> Optional[int]:
        """None if the camera has none stored."""
        return self._driver.serial_number

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns of the whole image, in binned pixels."""
        return self._driver.shape()

    @property
    def pixel_size(self) -> tuple[float, float]:
        """Width and height of a pixel of the sensor, micrometres."""
        return self._driver.ccd.XpixDim, self._driver.ccd.YpixDim

    @property
    def saturation(self) -> int:
        """The largest pixel value."""
        return self._driver.saturation

    # --- settings ---

    #: Pixels of the sensor that make one of the frame; a number sets both directions.
    binning = _BinningSetting()

    def _set_binning(self, across: int, down: int) -> None:
        binning = Binning(operator.index(across), operator.index(down))
        ccd = self._driver.ccd
        if not (1 <= binning.horizontal <= ccd.Xpix // 2 and 1 <= binning.vertical <= ccd.Ypix):
            raise ValueError(
                f"binning {across} x {down}: the sensor has {ccd.Xpix} x {ccd.Ypix} pixels"
            )
        self._call("setting the binning", lambda: self._driver.set_binning(binning))

    @property
    def gain(self) -> int:
        """The gain setting, an index: 0 to 3, on the simulated camera to 4."""
        return int(self._library.dll.QV_GetGain(self.number))

    @gain.setter
    def gain(self, index: int) -> None:
        highest = 4 if self.platform.code == DEMO else 3
        if not 0 <= operator.index(index) <= highest:
            raise ValueError(f"gain {index} is not 0 to {highest}")
        self._call("setting the gain", lambda: self._driver.set_gain(index))

    # --- frames ---

    def expose(
        self,
        seconds: float,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        timeout: Optional[float] = None,
    ) -> Frame:
        """Takes a frame and returns it: (rows, columns) of unsigned 16-bit pixels.

        seconds: of exposure. 0 and more.
        dark: the shutter stays closed.
        window: (x, y, width, height) in binned pixels. Widths are even: an odd one loses a pixel.
            Without it the camera's `window`.
        timeout: seconds until CameraTimeout is raised; without it the exposure and a generous
            time for the readout.
        """
        return self.start(seconds, dark=dark, window=window, timeout=timeout).result()

    def start(
        self,
        seconds: float,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        timeout: Optional[float] = None,
    ) -> Exposure:
        """Begins what `expose` does and returns at once; `await` it or ask for its `result`.

        Exposures begun while another is running wait for their turn.
        """
        return self._start(seconds, dark, window, timeout, 1, None)

    def frames(
        self,
        seconds: float,
        count: Optional[int] = None,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        timeout: Optional[float] = None,
    ) -> Series:
        """Frames one after the other, `count` of them or without end, for `for` and `async for`."""
        return Series(
            lambda number: self._start(seconds, dark, window, timeout, number, None), count
        )

    def kinetics(
        self,
        seconds: float,
        count: int,
        *,
        window: WindowLike,
        dark: bool = False,
        timeout: Optional[float] = None,
    ) -> Frame:
        """A series as fast as the camera can, as a cube of (count, rows, columns).

        The rows are the first that leave the sensor, so `window` is (x, 0, width, height): on
        most cameras they begin with the dark rows at the sensor's edge, and the y of the
        metadata's window is below 0. Platforms 1, 70 and 71 read any window.
        Broken off, the exposures left are cut short, those above 0.5 seconds after 0.3.
        """
        if operator.index(count) < 1:
            raise ValueError(f"count {count} is not above 0")
        y = Window(*window).y
        if y != 0 and self.platform.code not in (DEMO, *_UNOD):
            raise ValueError(f"y {y}: a series of platform {self.platform} begins at row 0")
        return self._start(seconds, dark, window, timeout, 1, count).result()

    def _start(
        self,
        seconds: float,
        dark: bool,
        window: Optional[WindowLike],
        timeout: Optional[float],
        number: int,
        frames: Optional[int],
    ) -> Exposure:
        seconds = float(seconds)
        if not 0.0 <= seconds <= _LONGEST_EXPOSURE:
            raise ValueError(f"exposure {seconds} s is not 0 to {_LONGEST_EXPOSURE:.0f} s")
        chosen = self._check_window(self.window if window is None else window)
        request = Request(seconds, not dark, chosen, number, frames)
        return Exposure(self._driver, request, timeout)

    def _check_window(self, window: Optional[WindowLike]) -> Optional[Window]:
        if window is None:
            return None
        wanted = Window(*(operator.index(value) for value in window))
        self._driver.check_window(wanted)
        return wanted

    def abort(self) -> None:
        """Breaks off the exposure that runs, from any thread; who waits for it gets Aborted.

        What waits for its turn is not touched; `Exposure.abort` breaks off a certain one.
        """
        self._driver.abort()

    def clear(self) -> None:
        """Flushes the charge from the sensor."""
        self._call("clearing the sensor", self._driver.clear)

    # --- cooling ---

    @property
    def temperature(self) -> Optional[float]:
        """Of the sensor, degrees Celsius; None if it cannot be read.

        Measured within the last half second; while a frame is taken or the camera is otherwise
        busy it is the last reading.
        """
        driver = self._driver
        self._need_open("reading the temperature")
        if driver.cooler.failures > 0:
            return None
        if driver.cooler.target is not None or driver.worker.busy():
            return driver.last_reading()

        def read() -> Optional[float]:
            with self._library.calling():
                return driver.recent()

        return self._call("reading the temperature", read)

    @property
    def cooling(self) -> CoolingState:
        """The cooler as it is: state, temperature, target, set point, drive."""
        self._need_open("asking the cooler")
        return self._driver.cooler.state(self._driver.last_reading(), self._driver.power())

    def cool(self, celsius: float, ramp: Optional[float] = None) -> None:
        """Cools towards a temperature and holds it there; returns at once.

        celsius: degrees Celsius, taken to tenths.
        ramp: degrees a minute by which the set point moves, 0.1 to 60; without it at once. The
            cooler's drive moves slowly anyway, by 12 percent a minute at most.
        """
        if not math.isfinite(celsius) or not -150.0 <= celsius <= 50.0:
            raise ValueError(f"target {celsius} is not -150 to 50 degrees Celsius")
        if ramp is not None and not 0.1 <= ramp <= 60.0:
            raise ValueError(f"ramp {ramp} is not 0.1 to 60 degrees a minute")
        self._call("switching the cooler on", lambda: self._driver.cool(float(celsius), ramp))

    def wait_until_cold(
        self, timeout: float = 3600.0, tolerance: float = 0.2, settle: float = SETTLE
    ) -> None:
        """Waits until the sensor stays at the target.

        timeout: seconds until CameraTimeout is raised.
        tolerance: degrees above or below the target.
        settle: seconds for which all readings have to be there. The regulator is slow and at first
            runs past its target; in less than half a minute that looks like an arrival.
        """
        cooler = self._driver.cooler
        if cooler.target is None:
            raise QvnError("waiting for the cold", "the cooler is off", "cool(...) first")
        with cooler.changed:
            cooler.tolerance, cooler.inside = tolerance, 0
        self._watch(
            f"waiting for {cooler.target:+.1f} C",
            timeout,
            lambda: cooler.inside * TURN >= settle,
            "a warmer target, a larger tolerance, or a longer timeout",
        )

    def warm_up(self, to: float = 15.0, ramp: float = 5.0, timeout: float = 3600.0) -> None:
        """Warms the sensor up slowly, waits for that, and switches the cooler off.

        to: degrees Celsius; the cooler goes off two degrees below, or when it idles.
        ramp: degrees a minute.
        timeout: seconds until CameraTimeout is raised; the cooler stays on then.
        """
        if self._driver.cooler.target is None:
            return
        self.cool(to, ramp)
        cooler = self._driver.cooler

        def warm() -> bool:
            if cooler.set_point != cooler.target:
                return False
            celsius, power = self._driver.last_reading(), self._driver.power()
            return celsius >= to - _WARM or power <= _IDLE

        self._watch("warming up", timeout, warm, "a longer timeout, or cooler_off()")
        self.cooler_off()

    def cooler_off(self) -> None:
        """Switches the cooler off at once; `warm_up` is kinder to the sensor."""
        self._call("switching the cooler off", self._driver.cooler_off)

    def _watch(self, doing: str, timeout: float, over: Callable[[], bool], hint: str) -> None:
        cooler, library = self._driver.cooler, self._library
        end = library.seconds() + timeout
        while not over():
            self._need_open(doing)
            if cooler.target is None:
                raise QvnError(doing, "the cooler was switched off")
            if cooler.failures >= FAILURES:
                raise library.error(2, f"{doing} ({self._driver.name()})")
            if library.seconds() >= end:
                state = self.cooling
                where = f"{state.temperature:+.1f} C" if state.temperature is not None else "?"
                raise CameraTimeout(
                    doing,
                    f"the sensor is at {where} after {timeout:.0f} s, "
                    f"cooler at {state.power:.1f} %",
                    hint,
                )
            if library.virtual_time:
                library.pause(0.5)
            else:
                with cooler.changed:
                    cooler.changed.wait(0.1)

    # --- end ---

    def reopen(self) -> None:
        """Opens the link anew, behind a failure or a plug that was pulled.

        Binning, gain and the cooler's target are kept, other cameras are not touched. What waits
        is done behind it.
        """
        self._need_open("opening again")
        self._driver.worker.call("opening again", self._driver.reopen, _OPEN_LIMIT)

    def close(self, keep_cooling: bool = False) -> None:
        """Closes the camera; what runs is broken off, what waits is dropped.

        keep_cooling: the cooler keeps its drive, with nobody to regulate it; else it goes off.
        """
        self._finalizer.detach()
        self._driver.shutdown(keep_cooling)

    def __enter__(self) -> Camera:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            self.close()
        except CameraTimeout:
            if error is None:
                raise

    @property
    def closed(self) -> bool:
        return self._driver.closed

    def _need_open(self, doing: str) -> None:
        if self._driver.closed:
            raise CameraClosed(f"{doing} ({self._driver.name()})", "the camera is closed")

    def _call(self, doing: str, run: Callable[[], _Result]) -> _Result:
        self._need_open(doing)
        return self._driver.worker.call(doing, run)
