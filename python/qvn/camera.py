"""Cameras: opening, frames, cooling, filter wheel."""
from __future__ import annotations

import asyncio
import ctypes
import math
import operator
import os
import weakref
from types import TracebackType
from typing import (
    AsyncIterator,
    Callable,
    Generator,
    Iterator,
    Optional,
    Type,
    TypeVar,
    Union,
)

from . import _records
from ._cooler import FAILURES, READINGS_AT_TARGET, CoolingState
from ._driver import OPTIONS_REFUSED, Driver, Plan, Request
from ._library import CAMERAS, Library, PathLike, current, is_virtual
from ._worker import Job
from .catalogue import DEMO, Entry, Key, find_platform, find_sensor
from .errors import Aborted, CameraClosed, CameraTimeout, DefinitionError, QvnError
from .frames import Binning, Frame, Window
from .wheel import FilterWheel, wheel_kind

_Result = TypeVar("_Result")

WindowLike = Union[Window, tuple[int, int, int, int]]

LINKS = {"printer-port": 0, "port-card": 1, "pci": 2, "pci-4": 4, "usb": 6, "pci-70": 70}

_USB_PLATFORMS = (29, 48, 61, 200, 205, 300, 400, 450)
_WARM = 2.0  # degrees below the end of a warm-up, and
_IDLE = 5.0  # percent of drive: the cooler may go off
_LONGEST_EXPOSURE = 2147483.0  # seconds; the library counts milliseconds in 31 bits
_OPEN_LIMIT = 120.0  # seconds


def open(
    platform: Optional[Key] = None,
    sensor: Optional[Key] = None,
    *,
    camera: Optional[int] = None,
    config: Optional[PathLike] = None,
    folder: Optional[PathLike] = None,
    link: Optional[Union[int, str]] = None,
    address: Optional[int] = None,
    decoder: Optional[int] = None,
    wheel: Union[int, str, None] = None,
    attach: bool = False,
    options: int = 0,
) -> Camera:
    """Opens a camera; use it as a context, which closes it.

    platform: code or name of the electronics; without it the first camera of the virtual world,
        or the simulated camera. `platforms` lists them.
    sensor: code or name; without it the platform's usual one. `sensors` lists them.
    camera: number, 0 to 7: also the index of the interface card or of the USB device. Without it
        the lowest that is free.
    config: a camera.cfg that tells all of this; what is given besides goes ahead of it.
    folder: of qvn.cfg. Without it the variable QVN_FOLDER, then ./qvn, then the current folder,
        then a copy of the installed samples.
    link: a name or code of LINKS; without it the platform's usual one.
    address: base port of the port interfaces.
    decoder: serial decoder on the cable: 0 none, 1 or 3.
    wheel: filter wheel: a name of `qvn.wheel.KINDS` or 0 to 4.
    attach: keep what a running camera does, so its cooler; else it is reset.
    options: QV_OPTION_... bits of qvn.h. Regulation and reports are this package's.
    """
    library = current()
    library.use_folder(folder)
    instrument = _instrument_of(library, camera, platform)
    if instrument is None and platform is None and is_virtual():
        raise QvnError("choosing the camera", "the virtual world has none left", "close one")
    record, number = _camera_config(library, config, camera, instrument)
    found = _choose(library, platform, sensor, config, record, instrument)
    record.Platform, record.CCD = found[0].code, found[1].code
    _set_link(record, found[0], link, address, decoder, instrument, config is not None)
    if wheel is not None:
        record.FilterWheel = wheel_kind(wheel)
    if options & OPTIONS_REFUSED:
        raise ValueError(f"options {options & OPTIONS_REFUSED:#06x} are not for this package")
    record.Activity = (record.Activity & ~OPTIONS_REFUSED) | options
    if number is None:
        number = _free_number(library)
    record.PciIndex = number
    plan = Plan(number, *found, record, config is not None, attach, instrument is not None)
    return Camera(Driver(library, plan))


def _instrument_of(
    library: Library, camera: Optional[int], platform: Optional[Key]
) -> Optional[_records.Instrument]:
    """The camera of the virtual world that is meant."""
    if not hasattr(library.dll, "QVB_Instrument"):
        return None
    wanted = None if platform is None else find_platform(library, platform).code
    for index in range(library.dll.QVB_InstrumentCount()):
        instrument = _records.Instrument()
        library.dll.QVB_Instrument(index, ctypes.byref(instrument))
        free = instrument.Camera not in library.cameras
        suits = camera is None and free and wanted in (None, instrument.Platform)
        if suits or camera == instrument.Camera:
            return instrument
    return None


def _camera_config(
    library: Library,
    file: Optional[PathLike],
    camera: Optional[int],
    instrument: Optional[_records.Instrument],
) -> tuple[_records.CameraConfig, Optional[int]]:
    if camera is not None and not 0 <= camera < CAMERAS:
        raise ValueError(f"camera {camera} is not 0 to {CAMERAS - 1}")
    record = _records.CameraConfig()
    library.dll.QV_InitCfg(record)
    if file is None:
        number = instrument.Camera if camera is None and instrument is not None else camera
        return record, number
    with library.shared:
        state = library.dll.QV_LoadCameraConfig(os.fsencode(file), record)
    if state != 0:
        raise DefinitionError(
            f"reading {os.fspath(file)}",
            "it cannot be read" if state == 1 else "it does not parse",
            f"a plain name is sought in {library.folder}; `qvn init FOLDER` writes a sample",
        )
    number = record.PciIndex if camera is None else camera
    if not 0 <= number < CAMERAS:
        raise DefinitionError(
            f"reading {os.fspath(file)}",
            f"CameraConfig.PciIndex is {number}",
            f"0 to {CAMERAS - 1}; it is the camera's number",
        )
    return record, number


def _choose(
    library: Library,
    platform: Optional[Key],
    sensor: Optional[Key],
    file: Optional[PathLike],
    record: _records.CameraConfig,
    instrument: Optional[_records.Instrument],
) -> tuple[Entry, Entry]:
    if platform is None and file is not None:
        platform = record.Platform
        sensor = record.CCD if sensor is None else sensor
    elif platform is None:
        platform = DEMO if instrument is None else instrument.Platform
    found = find_platform(library, platform)
    if sensor is None and instrument is not None and instrument.Platform == found.code:
        sensor = instrument.Sensor
    return found, find_sensor(library, found, sensor)


def _set_link(
    record: _records.CameraConfig,
    platform: Entry,
    link: Union[int, str, None],
    address: Optional[int],
    decoder: Optional[int],
    instrument: Optional[_records.Instrument],
    from_file: bool,
) -> None:
    if isinstance(link, str):
        if link not in LINKS:
            raise ValueError(f"link {link!r} is none of {', '.join(LINKS)}")
        link = LINKS[link]
    if link is not None:
        record.InterfaceType = link
    elif instrument is not None and instrument.Platform == platform.code:
        record.InterfaceType = instrument.InterfaceType
        record.InterfaceAddress = instrument.InterfaceAddress
        record.InterfaceLink = instrument.InterfaceLink
        if instrument.FilterWheel:
            record.FilterWheel = instrument.FilterWheel
    elif not from_file:
        usb = platform.code in _USB_PLATFORMS
        record.InterfaceType = LINKS["usb" if usb else "pci"]
        if platform.code == DEMO:
            record.InterfaceType = LINKS["printer-port"]
    if address is not None:
        record.InterfaceAddress = address
    if decoder is not None:
        record.InterfaceLink = decoder


def _free_number(library: Library) -> int:
    for number in range(CAMERAS):
        if number not in library.cameras:
            return number
    raise QvnError("choosing the camera's number", f"{CAMERAS} cameras are open", "close one")


class Exposure:
    """A frame that is being taken. It can be waited for, awaited, and broken off."""

    def __init__(self, driver: Driver, request: Request, limit: Optional[float]) -> None:
        self._driver = driver
        self._request = request
        self._job: Job[Frame] = driver.submit(request, limit)

    @property
    def state(self) -> str:
        """"waiting" for the camera, "exposing", "reading" or "done"."""
        return "done" if self.done() else self._request.phase

    @property
    def time_left(self) -> float:
        """Of the exposure, seconds; the readout comes behind it."""
        if self._request.phase == "waiting":
            return self._request.seconds
        if self._request.phase != "exposing":
            return 0.0
        gone = self._driver.library.seconds() - self._request.begun
        return max(0.0, self._request.seconds - gone)

    @property
    def percent(self) -> int:
        """Of the readout; 0 ahead of it."""
        return 100 if self.done() else self._request.percent

    def done(self) -> bool:
        return self._job.future.done()

    def abort(self) -> None:
        """Breaks the exposure off, from any thread. `result` then raises Aborted.

        Exposures up to 0.5 seconds and readouts run to their end, since nothing can stop them.
        """
        if not self._job.future.cancel():
            self._driver.abort_request(self._request)

    def add_done_callback(self, call: Callable[[Exposure], object]) -> None:
        """Calls it when the frame is there or has failed, in the camera's thread."""
        self._job.future.add_done_callback(lambda _: call(self))

    def result(self) -> Frame:
        """Waits for the frame. On Ctrl-C the exposure is broken off."""
        try:
            return self._settled()
        except KeyboardInterrupt:
            self.abort()
            try:
                self._settled()
            except QvnError:
                pass
            raise

    def _settled(self) -> Frame:
        if self._job.future.cancelled():
            raise Aborted(f"taking a frame ({self._driver.name()})")
        try:
            return self._driver.worker.wait(self._job)
        except CameraTimeout:
            self.abort()
            raise

    async def _wait(self) -> Frame:
        future = asyncio.wrap_future(self._job.future)
        try:
            while not (await asyncio.wait([future], timeout=0.25))[0]:
                self._driver.worker.look(self._job)
        except BaseException:
            self.abort()
            raise
        if future.cancelled():
            raise Aborted(f"taking a frame ({self._driver.name()})")
        return future.result()

    def __await__(self) -> Generator[object, None, Frame]:
        return self._wait().__await__()


class Series:
    """Frames one after the other, for `for` and for `async for`."""

    def __init__(self, start: Callable[[int], Exposure], count: Optional[int]) -> None:
        self._start = start
        self._count = count

    def _numbers(self) -> Iterator[int]:
        number = 1
        while self._count is None or number <= self._count:
            yield number
            number += 1

    def __iter__(self) -> Iterator[Frame]:
        for number in self._numbers():
            yield self._start(number).result()

    async def __aiter__(self) -> AsyncIterator[Frame]:
        for number in self._numbers():
            yield await self._start(number)


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
            driver.closed = True
            driver.worker.stop()
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
        The series cannot be broken off between its exposures.
        """
        if operator.index(count) < 1:
            raise ValueError(f"count {count} is not above 0")
        y = Window(*window).y
        if y != 0 and self.platform.code not in (DEMO, 70, 71):
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
        rows, columns = self.shape
        inside = (
            wanted.x >= 0
            and wanted.y >= 0
            and wanted.width >= 2
            and wanted.height >= 1
            and wanted.x + wanted.width <= columns
            and wanted.y + wanted.height <= rows
        )
        if not inside:
            raise ValueError(
                f"window {tuple(wanted)} is not inside the image of {columns} x {rows} binned "
                "pixels; x, y, width and height, with a width of at least 2"
            )
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

    def wait_until_cold(self, timeout: float = 3600.0, tolerance: float = 0.2) -> None:
        """Waits until six readings in a row, three seconds, are at the target.

        timeout: seconds until CameraTimeout is raised.
        tolerance: degrees above or below the target.
        """
        cooler = self._driver.cooler
        if cooler.target is None:
            raise QvnError("waiting for the cold", "the cooler is off", "cool(...) first")
        with cooler.changed:
            cooler.tolerance, cooler.inside = tolerance, 0
        self._watch(
            f"waiting for {cooler.target:+.1f} C",
            timeout,
            lambda: cooler.inside >= READINGS_AT_TARGET,
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
