"""One open camera, as its own thread sees it: every call of the library for it is made here."""
from __future__ import annotations

import ctypes
import math
from contextlib import ExitStack, nullcontext, suppress
from dataclasses import dataclass, replace
from typing import Callable, ContextManager, Optional

import numpy as np

from . import _hashes, _reading, _records
from ._cooler import TURN, Cooler
from ._library import Library
from ._metadata import describe
from ._request import LONGEST_SHORT, Request
from ._turns import SHARING
from ._worker import Job, Result, Worker
from .catalogue import DEMO, Entry
from .errors import Aborted, CameraClosed, CameraTimeout, HeadFailure, QvnError
from .frames import Binning, Frame, Metadata, Window

CELSIUS = 1
OPTION_REGULATION = 0x0002
OPTION_EXTERNAL_TRIGGER = 0x0004
OPTION_KEEP_CLEAN = 0x0008

#: The library's own service, its buffers, and no reports: they would be in the way here.
OPTIONS_REFUSED = 0x0001 | OPTION_REGULATION | 0x0020 | 0x8000

_PIXELS_BEHIND = 3  # platforms 300 and 450 write so many behind a frame
UNOD = (70, 71)
_NO_MEMORY = 70  # and its frames stay dark once it was asked for its memory
_SECONDS_A_PIXEL = 50e-6  # of the slowest readout
_SECONDS_BESIDES = 60.0
_CLOSE_LIMIT = 60.0  # seconds
_PATTERN_CODES = (8, 22, 23)
_READOUT = b"Image downloading"
_LOOK_AT_TRIGGER = 0.001  # seconds
#: Whose trigger input can be looked at. 28 can on the card alone.
_TRIGGERED = (22, 23, 24, 25, 28, 30, 40, 41, 42, 44, 47, 60, 70, 71, 80, 300, 450)
_TARN5, _USB = 28, 6
_FOREVER = float("inf")
ARMED = ("an armed exposure is under way", "fetch() or flush() it first")


@dataclass(frozen=True)
class Plan:
    """Which camera, and how it is opened."""

    number: int
    platform: Entry
    sensor: Entry
    config: _records.CameraConfig
    from_file: bool
    attach: bool
    virtual: bool
    heads: tuple[int, ...] = ()  #: of an array


class Driver:
    def __init__(self, library: Library, plan: Plan) -> None:
        self.library = library
        self.plan = plan
        self.number = plan.number
        self.ccd = _records.CcdDefinition()
        self.electronics = _records.PlatformDefinition()
        self.binning = Binning(1, 1)
        self.cooler = Cooler()
        self.filter: Optional[str] = None
        self.serial_number: Optional[int] = None
        self.saturation = 0
        self.pattern_hash: Optional[int] = None
        self.definition_hash = 0
        #: The trigger begins frames that do not tell.
        self.triggered = bool(plan.config.Activity & OPTION_EXTERNAL_TRIGGER)
        #: What a camera that is opened again has to be told again.
        self.settings: dict[str, Callable[[], None]] = {}
        self.closed = False
        self.armed: Optional[object] = None  #: the frame in steps that is under way
        self._opened = False
        self._dll = library.dll
        self._loaded: Optional[Window] = None  # window whose pattern the camera has
        self._pattern_lost = False  # it could not be built
        self._taking: Optional[Request] = None  # what abort breaks off
        self._request: Optional[Request] = None  # what the callbacks tell of
        self._turned = 0.0
        self._read_at: Optional[float] = None
        self._celsius: Optional[float] = None
        self.worker = Worker(f"qvn camera {plan.number}", self.turn_if_due, self._until_turn)

    def name(self) -> str:
        return f"camera {self.number}, {self.plan.platform.name} with {self.plan.sensor.name}"

    # --- errors ---

    def check(self, doing: str) -> None:
        code = self._dll.QV_Status(self.number)
        if code != 0:
            raise self.library.error(code, f"{doing} ({self.name()})")

    def fresh_status(self) -> None:
        """Forgets a status that is left over: with one, no pattern would be loaded."""
        if self._dll.QV_Status(self.number) == 0:
            return
        plan = self.plan
        with self.library.shared, self.library.calling():
            # Loads the definitions once more, so frames may have another size from here on.
            if self._dll.QV_OpenPar(plan.platform.code, plan.sensor.code, self.number) != 0:
                code = self._dll.QV_Status(self.number)
                raise self.library.error(
                    code, f"reading the definitions ({self.name()})", self._open_hint(code)
                )
            self.note_sensor()

    # --- open and close ---

    def open(self) -> None:
        plan, dll, library = self.plan, self._dll, self.library
        config = plan.config
        with self.hold_binning(), library.shared, library.calling():
            dll.QV_InitOptions(config, self.number)
            self._call_open()
            if plan.from_file:
                dll.QV_InitOptions(config, self.number)  # the shutter's settling time
            try:
                self._note_opened()
            except QvnError:
                dll.QV_Close(self.number)
                raise
            self._opened = True
            self._note_binning()
            library.cameras[self.number] = self

    def _call_open(self) -> None:
        plan, config = self.plan, self.plan.config
        options = config.Activity & 0xFFFFFFFF
        if self.can_look_at_trigger():
            options &= ~OPTION_EXTERNAL_TRIGGER  # nothing could break the library's wait off
        if plan.heads:
            words = (ctypes.c_uint16 * 4)(0, sum(1 << head for head in plan.heads), 0, 0)
            self._dll.QV_OpenArray(
                ctypes.byref(words),
                plan.platform.code,
                plan.sensor.code,
                0,
                options,
                self.number,
                *self.library.callbacks,
            )
            return
        self._dll.QV_Open(
            plan.platform.code,
            plan.sensor.code,
            config.InterfaceAddress,
            config.InterfaceType,
            int(plan.attach),
            self.number,
            options,
            *self.library.callbacks,
        )

    def _note_opened(self) -> None:
        dll = self._dll
        code = dll.QV_Status(self.number)
        if code != 0 or not dll.QV_IsOn(self.number):
            raise self.library.error(code, f"opening {self.name()}", self._open_hint(code))
        self.note_sensor()
        self.note_pattern()
        # Held for as long as the camera is open: so the regulation of exposures can be switched
        # on without the library waiting for its timer, which does not run.
        dll.QV_StopNow(self.number)
        self.saturation = dll.QV_MaxNumbers(self.number)
        self.note_serial_number()
        self._turned = self.library.seconds()

    def note_serial_number(self) -> None:
        if self.plan.platform.code != _NO_MEMORY:
            serial = self._dll.QV_GetSerNum(self.number)
            self.serial_number = serial if serial >= 0 else None

    def note_sensor(self) -> None:
        self._dll.QV_GetCCDdata(self.ccd, self.number)
        self._dll.QV_GetHPdata(self.electronics, self.number)
        self.definition_hash = _hashes.definition_hash(self.ccd, self.electronics)
        for key in ("Xpix", "Ypix"):
            if getattr(self.ccd, key) < 2:
                raise self.library.error(
                    6,
                    f"reading {self.library.folder}/qvn.cfg",
                    f"ccd_definitions.{self.plan.sensor.name}.{key} is missing or too small; "
                    "`qvn init FOLDER` writes a complete qvn.cfg to compare with",
                )

    def note_pattern(self) -> None:
        """The pattern that has just been loaded, while no other camera can build one."""
        if self.library.folder is not None:
            plan = self.plan
            self.pattern_hash = _hashes.pattern_hash(
                self.library.folder, plan.platform.code, plan.sensor.code
            )

    def _open_hint(self, code: int) -> str:
        file = f"{self.library.folder}/qvn.cfg"
        if code in (5, 6):
            state = self._dll.QV_LoadPlatform(
                self.plan.platform.code, self.plan.sensor.code, self.number
            )
            wrong = "does not parse" if state == 2 else "cannot be read"
            return f"{file} {wrong}; `qvn init FOLDER` makes one, folder= tells where it is"
        if code == 1 and self.plan.platform.code == DEMO:
            return (
                f"the simulated camera needs the raw image that {file} names in DEMO.File; "
                "`qvn init FOLDER` makes it, folder=FOLDER takes it"
            )
        return ""

    def close(self, keep_cooling: bool = False) -> None:
        dll, library = self._dll, self.library
        with library.shared, library.calling():
            if self._opened:
                if self.armed is not None:
                    dll.QV_FlushAcquisition(self.number)
                self._set_regulation(False)
                if self.cooler.is_on() and not keep_cooling:
                    dll.QV_Cooler(0, self.number)
                dll.QV_StartNow(self.number)
                dll.QV_Close(self.number)
            library.cameras.pop(self.number, None)
            self._opened = False
            self.closed = True
        self.cooler.stop()
        library.give_back(self.number)

    def end(self, keep_cooling: bool = False) -> Optional[Job[None]]:
        """Breaks off what runs, drops what waits, closes; the thread ends. Does not wait."""
        if self.closed:
            return None
        self.worker.cancel_waiting()
        self.abort()
        job = self.worker.submit("closing", lambda: self.close(keep_cooling), _CLOSE_LIMIT)
        self.worker.stop()
        return job

    def shutdown(self, keep_cooling: bool = False) -> None:
        """The same, and waits for it."""
        job = self.end(keep_cooling)
        if job is not None:
            with suppress(Aborted, CameraClosed):  # another thread was faster
                self.worker.wait(job)

    def reopen(self) -> None:
        """Closes the link and opens it again; settings and the cooler's target are kept.

        The cooler goes on with the drive that it had, so the sensor does not warm up meanwhile.
        """
        dll, number, cooler = self._dll, self.number, self.cooler
        power, binning = self.power(), self.binning
        with self.hold_binning(), self.library.shared, self.library.calling():
            if self._opened:
                self._set_regulation(False)
                dll.QV_StartNow(number)
                dll.QV_Close(number)
                self._opened = False
            self.binning, self._loaded, self._pattern_lost = Binning(1, 1), None, False
            self.open()
            if binning != self.binning:
                self.set_binning(binning)
            for set_again in list(self.settings.values()):
                set_again()
            if cooler.set_point is not None:
                if not self.plan.heads:
                    dll.QV_SetPower(power, number)
                dll.QV_SetTemp(cooler.set_point, CELSIUS, number)
                self._set_regulation(True)
            elif cooler.by_hand is not None:
                self.drive_cooler(cooler.by_hand)

    # --- breaking off ---

    def abort(self) -> None:
        request = self._taking
        if request is not None:
            self.abort_request(request)

    def abort_request(self, request: Request) -> None:
        if request is self._taking and not request.abort_asked:
            self.worker.allow(self.readout_limit())
        request.abort_asked = True
        self._break(request)

    def _break(self, request: Request) -> None:
        with request.lock:
            if request.phase == "exposing":
                request.broken_at = self.library.seconds()
                self._dll.QV_BrkFlg(self.number)

    def exposing(self) -> None:
        """The library tells that an exposure runs."""
        request = self._request
        if request is None:
            return
        with request.lock:
            request.phase = "exposing"  # in a series behind a readout
        # The start of an exposure forgets a break that came too early.
        if request.abort_asked:
            self._break(request)

    def progressing(self, text: Optional[bytes], percent: int) -> None:
        """The library tells how far it has come with a readout or a pattern."""
        request = self._request
        if request is None:
            return
        if text == _READOUT:
            # The status of a pattern that could not be built shows here and never again.
            request.pattern_code = self._dll.QV_Status(self.number)
            with request.lock:
                request.phase = "reading"
        if request.phase == "reading":
            request.percent = percent

    # --- temperature ---

    def _until_turn(self) -> float:
        if self.library.virtual_time or self.cooler.target is None or not self._opened:
            return TURN
        return max(0.0, self._turned + TURN - self.library.seconds())

    def turn_if_due(self) -> None:
        """A reading and a step of the regulator, twice a second."""
        if self.cooler.target is None or not self._opened or self.armed is not None:
            return
        now = self.library.seconds()
        if now - self._turned < TURN - 1e-3:
            return
        self._turned = now
        with self.library.calling():
            self.select()
            set_point = self.cooler.next_set_point(now)
            if set_point is not None:
                self._dll.QV_SetTemp(set_point, CELSIUS, self.number)
            self.cooler.note(self.read())

    def read(self) -> Optional[float]:
        """Degrees Celsius, measured now; None if that failed."""
        self.select()
        failed = self._dll.QV_TemperatureHandle(self.number) != 0
        self._read_at = self.library.seconds()
        if failed:
            self._celsius = None
        elif self.plan.heads:
            # The reading that an array keeps is that of the library's own service.
            self._celsius = float(self._dll.QV_ReadTemp(CELSIUS, self.number))
        else:
            self._celsius = self.last_reading()
        return self._celsius

    def last_reading(self) -> float:
        if self.plan.heads and self._celsius is not None:
            return self._celsius
        return float(self._dll.QV_GetTemp(None, CELSIUS, self.number))

    def recent(self) -> Optional[float]:
        """The temperature as of the last half second."""
        age = TURN if self._read_at is None else self.library.seconds() - self._read_at
        return self.read() if age >= TURN else self._celsius

    def cool(self, target: float, ramp: Optional[float]) -> None:
        with self.library.calling():
            celsius = self.read()
            if celsius is None:
                raise self.library.error(2, f"reading the temperature ({self.name()})")
            now = self.library.seconds()
            first = self.cooler.start(target, ramp, celsius, now)
            self._dll.QV_SetTemp(first, CELSIUS, self.number)
            self._set_regulation(True)
            self._turned = now

    def drive_cooler(self, percent: float) -> None:
        with self.library.calling():
            self._set_regulation(False)
            self._dll.QV_Cooler(1, self.number)
            self._dll.QV_SetPower(percent, self.number)
        self.cooler.drive(percent)

    def cooler_off(self) -> None:
        with self.library.calling():
            self._set_regulation(False)
            self._dll.QV_Cooler(0, self.number)
        self.cooler.stop()

    def _set_regulation(self, on: bool) -> None:
        """Whether exposures regulate."""
        self._dll.QV_SetMode(OPTION_REGULATION, int(on), self.number)

    def select(self) -> None:
        """An array's head of the array's own number, which all but its frames are about."""
        if self.plan.heads:
            self._dll.QV_Select(self.number)

    # --- geometry ---

    def shape(self) -> tuple[int, int]:
        """Rows and columns of the whole image."""
        columns = (self.ccd.Xpix // self.binning.horizontal) & ~1
        return self.ccd.Ypix // self.binning.vertical, columns

    def check_window(self, window: Optional[Window]) -> None:
        if window is None:
            return
        rows, columns = self.shape()
        inside = (
            window.x >= 0
            and window.y >= 0
            and window.width >= 2
            and window.height >= 1
            and window.x + window.width <= columns
            and window.y + window.height <= rows
        )
        if not inside:
            raise ValueError(
                f"window {tuple(window)} is not inside the image of {columns} x {rows} binned "
                "pixels; x, y, width and height, with a width of at least 2"
            )

    def hold_binning(
        self, binning: Optional[Binning] = None, given_up: Callable[[], bool] = lambda: False
    ) -> ContextManager[None]:
        """Held round calls in which the library's binning must stay; None: or is changed."""
        if self.plan.platform.code not in SHARING:
            return nullcontext()
        return self.library.turns.hold(self, binning, given_up)

    def _note_binning(self) -> None:
        if self.plan.platform.code in SHARING:
            self.library.turns.last = self.binning

    def _take_binning_back(self) -> None:
        """Another camera may have changed the one that this camera shares with it."""
        if self.plan.platform.code in SHARING and self.library.turns.last != self.binning:
            self.set_binning(self.binning)

    def set_binning(self, binning: Binning) -> None:
        with self.hold_binning(), self.library.shared, self.library.calling():
            self.fresh_status()
            self._dll.QV_SetBinning(binning.horizontal, binning.vertical, self.number)
            horizontal, vertical = ctypes.c_int32(), ctypes.c_int32()
            self._dll.QV_GetBinning(horizontal, vertical, self.number)
            self.binning = Binning(horizontal.value, vertical.value)
            self._note_binning()
            self.check(f"setting binning {binning.horizontal} x {binning.vertical}")
            self._loaded = None
            self._pattern_lost = False
            self.note_pattern()

    def set_gain(self, gain: int) -> None:
        self._set_checked(f"setting gain {gain}", lambda: self._dll.QV_SetGain(gain, self.number))
        self.settings["gain"] = lambda: self.set_gain(gain)

    def set_user_gain(self, gain: int, high: bool, offset: int) -> None:
        self._set_checked(
            "setting the user's gain",
            lambda: self._dll.QV_SetUsrGain(gain, int(high), offset, self.number),
        )
        self.settings["gain"] = lambda: self.set_user_gain(gain, high, offset)

    def set_noise_reduction(self, mode: int) -> None:
        with self.library.shared, self.library.calling():
            self._dll.QV_SetDNR(mode, self.number)
            if mode != self._dll.QV_GetDNR(self.number):
                raise self.library.error(25, f"setting the noise reduction ({self.name()})")
            self.set_binning(self.binning)  # the pattern leaves room for the samples
        self.settings["bits"] = lambda: self.set_noise_reduction(mode)

    def decimate_bits(self, mode: int) -> None:
        self._set_checked(
            "setting the bits of a pixel",
            lambda: self._dll.QV_SetBitDecimation(mode, self.number),
        )
        self.set_binning(self.binning)  # it has ended a noise reduction
        self.settings["bits"] = lambda: self.decimate_bits(mode)

    def set_fan(self, percent: float) -> None:
        with self.library.calling():
            self._dll.QV_SetFanSpeed(percent, self.number)
        self.settings["fan"] = lambda: self.set_fan(percent)

    def set_options(self, bits: int, on: bool) -> None:
        if bits & OPTION_EXTERNAL_TRIGGER and self.can_look_at_trigger():
            self.triggered = on
            bits &= ~OPTION_EXTERNAL_TRIGGER
        with self.library.calling():
            self._dll.QV_SetMode(bits, int(on), self.number)
        before = self.plan.config.Activity
        self.plan.config.Activity = before | bits if on else before & ~bits

    def options(self) -> int:
        """The option word as the host means it."""
        options = self._dll.QV_GetMode(self.number) & ~OPTION_REGULATION
        return int(options | (OPTION_EXTERNAL_TRIGGER if self.triggered else 0))

    def _set_checked(self, doing: str, run: Callable[[], object]) -> None:
        with self.library.shared, self.library.calling():
            self.fresh_status()
            run()
            self.check(doing)

    # --- the external trigger ---

    def can_look_at_trigger(self) -> bool:
        plan = self.plan
        if plan.platform.code == _TARN5 and plan.config.InterfaceType == _USB:
            return False
        return plan.platform.code in _TRIGGERED

    def is_triggered(self) -> bool:
        with self.library.calling():
            return bool(self._dll.QV_Trigger(0, self.number) == 1)

    def _await_trigger(self, request: Request) -> None:
        """Looks at the input, since the library's own wait cannot be broken off."""
        request.phase = "trigger"
        if self._dll.QV_GetMode(self.number) & OPTION_KEEP_CLEAN:
            self.clear()  # ahead of the wait: the frame begins with the trigger
        begin = self.library.seconds()
        while not request.abort_asked and not self.is_triggered():
            waited = self.library.seconds() - begin
            if request.limit is not None and waited >= request.limit:
                raise CameraTimeout(
                    f"waiting for the trigger ({self.name()})",
                    f"it has not come for {waited:.0f} s",
                    "check its cable, or a longer timeout",
                )
            self.turn_if_due()
            self.library.pause(_LOOK_AT_TRIGGER)
        self.worker.allow(self.limit(request))

    # --- frames ---

    def limit(self, request: Request) -> float:
        frames = request.frames or 1
        return frames * (request.takes() + self.readout_limit())

    def readout_limit(self) -> float:
        frames = max(1, len(self.plan.heads))
        pixels = self.ccd.Xpix * self.ccd.Ypix * frames
        return float(pixels * _SECONDS_A_PIXEL + _SECONDS_BESIDES)

    def submit(self, request: Request, run: Callable[[Request], Result]) -> Job[Result]:
        if self.closed:
            raise CameraClosed(f"taking a frame ({self.name()})", "the camera is closed")
        seconds = self.limit(request) if request.limit is None else request.limit
        if request.trigger:
            # The wait for the trigger has an end of its own.
            seconds = _FOREVER if request.limit is None else request.limit + self.limit(request)
        return self.worker.submit("taking a frame", lambda: run(request), seconds)

    def take(self, request: Request) -> Frame:
        """A frame, or a series, in the camera's thread."""
        frame = None
        self._begin(request)
        try:
            with self.hold_binning(self.binning, lambda: request.abort_asked), ExitStack() as held:
                self._take_binning_back()
                if self._builds(request) or self._dll.QV_Status(self.number) != 0:
                    self._load_pattern(request, held)
                if request.trigger:
                    held.pop_all().close()
                    self._await_trigger(request)
                held.enter_context(self.library.calling())
                if not request.abort_asked:
                    self.check_window(request.window)  # the binning may be another by now
                    frame = self._read(request)
        finally:
            self._taking = None
        if frame is None or request.abort_asked:
            raise Aborted(f"taking a frame ({self.name()})", frame)
        return frame

    def take_heads(self, request: Request) -> dict[int, Frame]:
        """A frame of each head of an array, in the camera's thread."""
        self._begin(request)
        try:
            if request.trigger:
                self._await_trigger(request)
            with self.library.calling():
                if request.abort_asked:
                    raise Aborted(f"taking the frames ({self.name()})")
                frames = self._read_heads(request)
        finally:
            self._taking = None
        if request.abort_asked:
            raise Aborted(f"taking the frames ({self.name()})")
        return frames

    def _begin(self, request: Request) -> None:
        if not self._opened:
            raise CameraClosed(
                f"taking a frame ({self.name()})", "it could not be opened again", "reopen()"
            )
        if self.armed is not None:
            raise QvnError(f"taking a frame ({self.name()})", *ARMED)
        self._taking = request

    def _builds(self, request: Request) -> bool:
        return self._pattern_lost or request.window != self._loaded

    def _load_pattern(self, request: Request, held: ExitStack) -> None:
        """Cameras share the file of the pattern, so one of them builds at a time.

        With others beside it a long exposure does not keep them from building, and a trigger does
        not wait for the pattern: it is loaded by a read without an exposure ahead of it.
        """
        held.enter_context(self.library.shared)
        with self.library.calling():
            self.fresh_status()
            if self._pattern_lost or self._would_shear(request):
                # The library takes the window for loaded; with the binning it forgets that.
                self.set_binning(self.binning)
            alone = len(self.library.cameras) < 2 or self.library.virtual_time
            short = request.takes() <= LONGEST_SHORT or alone
            if not self._builds(request) or (short and not request.trigger):
                return
            self._read(Request(-1.0, False, request.window))
        held.pop_all().close()

    def _would_shear(self, request: Request) -> bool:
        """A full frame behind a binned window is built for the sensor's unbinned lines."""
        return self._loaded is not None and request.window is None and self.binning != (1, 1)

    def window_arguments(self, window: Window) -> tuple[int, int, int, int]:
        """As the library takes them: the simulated camera counts unbinned pixels."""
        if self.plan.platform.code != DEMO:
            return window
        across, down = self.binning
        return window.x * across, window.y * down, window.width, window.height

    def begins_at_the_edge(self) -> bool:
        """Whether series begin with the row that leaves the sensor first."""
        return self.plan.platform.code not in (DEMO, *UNOD)

    def _read(self, request: Request) -> Frame:
        window = _reading.delivered(self, request)
        count = window.width * window.height
        frames = request.frames or 1
        try:
            pixels = np.zeros((frames, count + _PIXELS_BEHIND), np.uint16)
        except (MemoryError, ValueError):
            raise self.library.error(16, f"taking {frames} frames of {count} pixels") from None
        metadata = describe(self, request, window)
        builds = self._builds(request)
        metadata = self._timed(request, metadata, lambda: _reading.take(self, request, pixels))
        if builds:
            self.note_pattern()
        self._judge(request)
        metadata = replace(
            metadata, pattern_hash=self.pattern_hash, temperature_end=self._after(request)
        )
        image = pixels[:, :count].reshape(frames, window.height, window.width)
        return Frame(image if request.frames is not None else image[0], metadata)

    def _read_heads(self, request: Request) -> dict[int, Frame]:
        columns, rows = self.ccd.Xpix, self.ccd.Ypix
        heads = request.heads or {}
        try:
            pixels = {head: np.zeros((rows, columns), np.uint16) for head in heads}
        except MemoryError:
            raise self.library.error(
                16, f"taking {len(heads)} frames of {rows * columns} pixels"
            ) from None
        metadata = describe(self, request, Window(0, 0, columns, rows))

        def read() -> None:
            _reading.take_heads(self, request, pixels)

        metadata = self._timed(request, metadata, read)
        metadata = replace(metadata, temperature_end=self._after(request))
        silent = [head for head, image in pixels.items() if _reading.is_marked(image[-1:])]
        frames = {}
        for head, seconds in heads.items():
            _reading.clear_marks(pixels[head])
            exposed = min(seconds, metadata.exposure)
            told = replace(
                metadata,
                head=head,
                requested=seconds,
                exposure=exposed,
                aborted=exposed < seconds,
                temperature=metadata.temperature if head == self.number else None,
                temperature_end=metadata.temperature_end if head == self.number else None,
            )
            if head not in silent:
                frames[head] = Frame(pixels[head], told)
        if silent:
            raise HeadFailure(f"taking the frames ({self.name()})", silent, frames)
        return frames

    def _timed(self, request: Request, metadata: Metadata, read: Callable[[], None]) -> Metadata:
        """Reads, and tells what the metadata are behind it."""
        start = self.library.utc()
        request.begun = self.library.seconds()
        self._request = request
        request.phase = "exposing"
        keeps_clean = self._dll.QV_GetMode(self.number) & OPTION_KEEP_CLEAN
        if request.trigger:  # it was cleared ahead of the wait
            self._dll.QV_SetMode(OPTION_KEEP_CLEAN, 0, self.number)
        try:
            read()
        finally:
            self._request = None
            request.phase = "done"
            self._dll.QV_SetMode(keeps_clean, 1, self.number)
        return replace(
            metadata,
            start=start,
            end=self.library.utc(),
            exposure=request.exposed(),
            aborted=request.was_broken(),
        )

    def _after(self, request: Request) -> Optional[float]:
        """The temperature behind a frame."""
        return None if request.seconds < 0.0 else self.recent()

    def _judge(self, request: Request) -> None:
        """The status tells of the read alone; a pattern that was not built shows otherwise."""
        self._loaded = request.window
        doing = f"taking a frame ({self.name()})"
        if request.pattern_code in _PATTERN_CODES:
            self._pattern_lost = True
            raise self.library.error(request.pattern_code, doing)
        self.check(doing)

    def power(self) -> float:
        """Percent; not a number for an array, which keeps that of the library's own service."""
        if self.plan.heads:
            return math.nan
        return float(self._dll.QV_GetPower(self.number))

    def clear(self) -> None:
        with self.library.calling():
            self._dll.QV_ClearCCD(self.number)
