"""What cameras and arrays have in common: what they are, settings, cooling, the end."""
from __future__ import annotations

import ctypes
import operator
import weakref
from typing import Any, Callable, Collection, Optional, SupportsIndex, TypeVar

from . import _records
from ._checks import real, text, time_limit, whole
from ._closing import Closing
from ._cooler import FAILURES, SETTLE, TURN, CoolingState
from ._driver import ARMED, Driver
from ._library import PathLike
from .catalogue import DEMO, Entry
from .definitions import PlatformDefinition, SensorDefinition, platform_of, sensor_of
from .errors import CameraClosed, CameraTimeout, DefinitionError, QvnError, UnsupportedPlatform
from .objective import OBJECTIVES, Objective
from .service import Service
from .wheel import FilterWheel, WheelState

_Result = TypeVar("_Result")

_WARM = 2.0  # degrees below the end of a warm-up, and
_IDLE = 5.0  # percent of drive: the cooler may go off
_OPEN_LIMIT = 120.0  # seconds
_LONGEST_PULSE = 21474.0  # seconds; counters of 10 microseconds and 31 bits
_LONGEST_WAIT = 1e9  # seconds
_FAMILY, _NAME_ROOM = 3, 256
_FANS = (28, 29, 48, 61, 200, 205, 300, 450)
_HELD_SHUTTERS = (25, 44, 47)
_PLUGS = {29: 2, 300: 4, 450: 4}
#: Bits that act on an open camera and are not this package's.
_OPTIONS = 0x0004 | 0x0008 | 0x0010 | 0x0040 | 0x0080 | 0x0100 | 0x0200 | 0x0400 | 0x1000


class Instrument(Closing):
    """An open camera or array.

    All methods may be called from any thread: a thread of the camera makes the calls one after
    the other. Temperatures are degrees Celsius, times seconds, positions binned pixels.
    """

    def __init__(self, driver: Driver) -> None:
        self._driver = driver
        self._library = driver.library
        try:
            driver.worker.call("opening", driver.open, _OPEN_LIMIT)
        except BaseException:
            driver.end()  # also if the open is still to succeed
            raise
        kind = driver.plan.config.FilterWheel
        self._wheel = WheelState(kind) if kind != 0 else None
        # Of one that nobody closes. It may run in any thread, so it does not wait.
        self._finalizer = weakref.finalize(self, driver.end)
        self._finalizer.atexit = False

    def __repr__(self) -> str:
        name = f"qvn.{type(self).__name__} {self._driver.name()}"
        return f"<{name}{', closed' if self._driver.closed else ''}>"

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
    def maker(self) -> str:
        """The maker of the sensor's family."""
        return self._call("asking for the sensor's maker", self._read_maker)

    def _read_maker(self) -> str:
        family = ctypes.c_int32()
        buffer = ctypes.create_string_buffer(_NAME_ROOM)
        dll = self._library.dll
        with self._library.shared, self._library.calling():
            dll.QV_CCDtoNameVB(self.sensor.code, buffer, self.number)  # stores the family
            dll.QV_RWData(_FAMILY, 1, ctypes.byref(family), self.number)
            dll.QV_FamtoNameVB(family.value, buffer)
        return buffer.value.decode("latin-1")

    @property
    def serial_number(self) -> Optional[int]:
        """None if the camera has none stored."""
        return self._driver.serial_number

    @property
    def pixel_size(self) -> tuple[float, float]:
        """Width and height of a pixel of the sensor, micrometres."""
        return self._driver.ccd.XpixDim, self._driver.ccd.YpixDim

    @property
    def saturation(self) -> int:
        """The largest pixel value."""
        return self._driver.saturation

    @property
    def sensor_definition(self) -> SensorDefinition:
        """The sensor as qvn.cfg describes it."""
        return sensor_of(self._driver.ccd)

    @property
    def platform_definition(self) -> PlatformDefinition:
        """The electronics with this sensor as qvn.cfg describes them."""
        return platform_of(self._driver.electronics)

    # --- settings ---

    @property
    def gain(self) -> int:
        """The gain setting, an index: 0 to 3; 4 is that of `set_user_gain`, or of DEMO a fifth."""
        return int(self._library.dll.QV_GetGain(self.number))

    @gain.setter
    def gain(self, index: SupportsIndex) -> None:
        chosen = whole("gain", index, 0, 4 if self.platform.code == DEMO else 3)
        self._call("setting the gain", lambda: self._driver.set_gain(chosen))

    def set_user_gain(self, gain: int, offset: int, high: bool = False) -> None:
        """Sets gain and offset of the front end by hand; `gain` then is 4.

        gain: of the front end, 0 to 255.
        offset: of the front end, 0 to 511.
        high: the high range.
        """
        chosen, zero = whole("gain", gain, 0, 255), whole("offset", offset, 0, 511)
        self._call(
            "setting the user's gain",
            lambda: self._driver.set_user_gain(chosen, bool(high), zero),
        )

    def set_fan(self, percent: float) -> None:
        """Sets the fan of a camera on USB, or of platform 28.

        percent: of its full speed, 0 to 100.
        """
        self._need_platform("setting the fan", _FANS)
        speed = real("percent", percent, 0.0, 100.0)
        self._call("setting the fan", lambda: self._driver.set_fan(speed))

    @property
    def options(self) -> int:
        """The option word, QV_OPTION_... bits of qvn.h."""
        self._need_open("asking for the options")
        return self._driver.options()

    def set_options(self, bits: int, on: bool = True) -> None:
        """Sets or clears option bits that act on an open camera.

        bits: QV_OPTION_... of qvn.h: 0x4, 0x8, 0x10, 0x40, 0x80, 0x100, 0x200, 0x400, 0x1000.
        on: sets them, else clears them.
        """
        chosen = operator.index(bits)
        if chosen & ~_OPTIONS:
            raise ValueError(f"options {chosen & ~_OPTIONS:#x} do not act on an open camera")
        self._call("setting options", lambda: self._driver.set_options(chosen, bool(on)))

    def save_config(self, path: PathLike) -> None:
        """Saves how the camera is opened into a camera.cfg that is there and has all keys.

        path: of the file; a plain name is sought in the folder of qvn.cfg.
        """
        name = text("path", path)
        record = _records.CameraConfig.from_buffer_copy(self._driver.plan.config)
        with self._library.shared:
            state = self._library.dll.QV_SaveCameraConfig(name, record)
        if state != 0:
            raise DefinitionError(
                f"saving {path!s}",
                "it cannot be read" if state == 1 else "it does not have all keys",
                "`qvn init FOLDER` writes a sample to start from",
            )

    # --- parts round it ---

    @property
    def wheel(self) -> Optional[FilterWheel]:
        """The filter wheel; None without one (see `wheel` of `qvn.open`)."""
        return None if self._wheel is None else FilterWheel(self, self._driver, self._wheel)

    @property
    def objective(self) -> Optional[Objective]:
        """The objective with its three motors; None on platforms that drive none."""
        return Objective(self) if self.platform.code in OBJECTIVES else None

    @property
    def service(self) -> Service:
        """Registers and memories, for service."""
        return Service(self, self._driver)

    def plug(self, *values: int) -> None:
        """Hands numbers to the plug-in device of platforms 29, 300 and 450.

        values: four of them, of the last one 16 bits; on 29 two. There the device has to answer:
            one that is not there keeps the camera busy for good.
        """
        doing = "handing numbers to the plug-in device"
        self._need_platform(doing, _PLUGS)
        wanted = _PLUGS[self.platform.code]
        if len(values) != wanted:
            raise ValueError(f"{len(values)} values, platform {self.platform} takes {wanted}")
        words = [whole("value", value, 0, 0xFFFFFFFF) for value in values]
        numbers = (ctypes.c_uint32 * 4)(*words)
        self._do(doing, "QV_Plug", 0, numbers, checked=True)

    # --- shutter and trigger ---

    def open_shutter(self, seconds: float) -> None:
        """Opens the shutter for a time, by the camera's own counter; returns at once.

        seconds: 0 and more.
        """
        chosen = real("seconds", seconds, 0.0, _LONGEST_PULSE)
        self._do("opening the shutter", "QV_Shutter", chosen)

    def hold_shutter(self, on: bool = True) -> None:
        """Holds the shutter open until it is released; platforms 25, 44 and 47.

        on: holds it, else releases it.
        """
        self._need_platform("holding the shutter", _HELD_SHUTTERS)
        self._do("holding the shutter", "QV_ShutterControl", int(bool(on)))

    @property
    def triggered(self) -> bool:
        """Whether the external trigger is there now."""
        self._need_trigger("looking at the trigger")
        return self._call("looking at the trigger", self._driver.is_triggered)

    def wait_for_trigger(self, timeout: Optional[float] = None) -> None:
        """Waits for the external trigger, looking at it once a millisecond.

        timeout: seconds until CameraTimeout is raised; None: without end.
        """
        limit = time_limit("timeout", timeout)
        begin = self._library.seconds()
        while not self.triggered:
            waited = self._library.seconds() - begin
            if limit is not None and waited >= limit:
                raise CameraTimeout(
                    f"waiting for the trigger ({self._driver.name()})",
                    f"it has not come for {waited:.1f} s",
                    "check its cable, or a longer timeout",
                )
            self._library.pause(0.001)

    def _need_trigger(self, doing: str) -> None:
        if not self._driver.can_look_at_trigger():
            raise UnsupportedPlatform(
                doing,
                f"platform {self.platform} does not show its trigger input",
                "options=0x4 where the camera waits by itself: platforms 29 and 400",
            )

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
        if driver.cooler.target is not None or driver.worker.busy() or driver.armed is not None:
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
        target = real("target", celsius, -150.0, 50.0)
        rate = None if ramp is None else real("ramp", ramp, 0.1, 60.0)
        self._call("switching the cooler on", lambda: self._driver.cool(target, rate))

    def wait_until_cold(
        self, timeout: float = 3600.0, tolerance: float = 0.2, settle: float = SETTLE
    ) -> None:
        """Waits until the sensor stays at the target.

        timeout: seconds until CameraTimeout is raised.
        tolerance: degrees above or below the target.
        settle: seconds for which all readings have to be there. The regulator is slow and at first
            runs past its target; in less than half a minute that looks like an arrival.
        """
        limit = real("timeout", timeout, 0.0, _LONGEST_WAIT)
        near = real("tolerance", tolerance, 0.0, 100.0)
        stays = real("settle", settle, 0.0, _LONGEST_WAIT)
        cooler = self._driver.cooler
        if cooler.target is None:
            raise QvnError("waiting for the cold", "the cooler is off", "cool(...) first")
        with cooler.changed:
            cooler.tolerance, cooler.inside = near, 0
        self._watch(
            f"waiting for {cooler.target:+.1f} C",
            limit,
            lambda: cooler.inside * TURN >= stays,
            "a warmer target, a larger tolerance, or a longer timeout",
        )

    def warm_up(self, to: float = 15.0, ramp: float = 5.0, timeout: float = 3600.0) -> None:
        """Warms the sensor up slowly, waits for that, and switches the cooler off.

        to: degrees Celsius; the cooler goes off two degrees below, or when it idles.
        ramp: degrees a minute, 0.1 to 60.
        timeout: seconds until CameraTimeout is raised; the cooler stays on then.
        """
        limit = real("timeout", timeout, 0.0, _LONGEST_WAIT)
        if self._driver.cooler.target is None:
            return
        self.cool(to, ramp)
        cooler = self._driver.cooler

        def warm() -> bool:
            if cooler.set_point != cooler.target:
                return False
            celsius, power = self._driver.last_reading(), self._driver.power()
            return celsius >= to - _WARM or power <= _IDLE

        self._watch("warming up", limit, warm, "a longer timeout, or cooler_off()")
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

    # --- frames ---

    def abort(self) -> None:
        """Breaks off the exposure that runs, from any thread; who waits for it gets Aborted.

        What waits for its turn is not touched; `Exposure.abort` breaks off a certain one.
        """
        self._driver.abort()

    def clear(self) -> None:
        """Flushes the charge from the sensor."""
        self._call("clearing the sensor", self._driver.clear)

    # --- end ---

    def reopen(self) -> None:
        """Opens the link anew, behind a failure or a plug that was pulled.

        Binning, gain, fan and the cooler's target are kept, other cameras are not touched. What
        waits is done behind it.
        """
        self._need_open("opening again")
        self._driver.worker.call("opening again", self._driver.reopen, _OPEN_LIMIT)

    def close(self, keep_cooling: bool = False) -> None:
        """Closes the camera; what runs is broken off, what waits is dropped.

        keep_cooling: the cooler keeps its drive, with nobody to regulate it; else it goes off.
        """
        self._finalizer.detach()
        self._driver.shutdown(keep_cooling)

    @property
    def closed(self) -> bool:
        """Whether it has been closed; in a forked process all are."""
        return self._driver.closed

    def _need_open(self, doing: str) -> None:
        if self._driver.closed:
            raise CameraClosed(f"{doing} ({self._driver.name()})", "the camera is closed")

    def _need_platform(self, doing: str, platforms: Collection[int]) -> None:
        if self.platform.code not in platforms:
            listed = ", ".join(str(code) for code in platforms)
            raise UnsupportedPlatform(
                f"{doing} ({self._driver.name()})",
                f"platform {self.platform} has no such thing",
                f"platforms {listed}",
            )

    def _call(self, doing: str, run: Callable[[], _Result], limit: float = 60.0) -> _Result:
        self._need_open(doing)
        driver = self._driver

        def run_if_free() -> _Result:
            if driver.armed is not None:
                raise QvnError(f"{doing} ({driver.name()})", *ARMED)
            return run()

        return driver.worker.call(doing, run_if_free, limit)

    def _do(
        self, doing: str, function: str, *arguments: Any, checked: bool = False, limit: float = 60.0
    ) -> Any:
        """Calls a function of qvn.h for this camera; `checked` where it leaves a status."""
        driver = self._driver
        entry = getattr(self._library.dll, function)

        def run() -> Any:
            if checked:
                driver.fresh_status()
            with self._library.calling():
                result = entry(*arguments, driver.number)
                if checked:
                    driver.check(doing)
                return result

        return self._call(doing, run, limit)
