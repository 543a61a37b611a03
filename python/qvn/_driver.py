"""One open camera, as its own thread sees it: every call of the library for it is made here."""
from __future__ import annotations

import ctypes
import threading
from contextlib import ExitStack
from dataclasses import dataclass, field, replace
from typing import Any, Optional

import numpy as np

from . import _records
from ._cooler import TURN, Cooler
from ._library import Library
from ._worker import Job, Worker
from .catalogue import DEMO, Entry
from .errors import Aborted, CameraClosed, QvnError
from .frames import Binning, Frame, Metadata, Window

CELSIUS = 1
OPTION_REGULATION = 0x0002
OPTION_KEEP_CLEAN = 0x0008

#: The library's own service, its buffers, and no reports: they would be in the way here.
OPTIONS_REFUSED = 0x0001 | OPTION_REGULATION | 0x0020 | 0x8000

_PIXELS_BEHIND = 3  # platforms 300 and 450 write so many behind a frame
_UNOD = (70, 71)
_NO_MEMORY = 70  # and its frames stay dark once it was asked for its memory
_LONGEST_SHORT = 0.5  # seconds; shorter exposures cannot be broken off
_SECONDS_A_PIXEL = 50e-6  # of the slowest readout
_SECONDS_BESIDES = 60.0
_CLOSE_LIMIT = 60.0  # seconds
_PATTERN_CODES = (8, 22, 23)
_READOUT = b"Image downloading"


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


@dataclass
class Request:
    """A frame that was asked for, and what has become of it so far."""

    seconds: float
    light: bool
    window: Optional[Window]
    number: int = 1
    frames: Optional[int] = None  #: of a series in one call
    phase: str = "waiting"  #: then "exposing", "reading", "done"
    percent: int = 0  #: of the readout
    begun: float = 0.0  #: seconds of the library's clock
    abort_asked: bool = False
    broken_at: Optional[float] = None
    pattern_code: int = 0
    lock: threading.Lock = field(default_factory=threading.Lock)

    def _is_long(self) -> bool:
        return int(self.seconds * 1000.0) > _LONGEST_SHORT * 1000.0

    def broken_in_series(self) -> bool:
        return self.frames is not None and self.broken_at is not None and self._is_long()

    def exposed(self) -> float:
        """Seconds; of a series those of its frames that were not broken off."""
        if self.broken_at is None or self.frames is not None or not self._is_long():
            return self.seconds
        return max(0.0, min(self.seconds, self.broken_at - self.begun))


class Driver:
    def __init__(self, library: Library, plan: Plan) -> None:
        self.library = library
        self.plan = plan
        self.number = plan.number
        self.ccd = _records.CcdDefinition()
        self.binning = Binning(1, 1)
        self.cooler = Cooler()
        self.filter: Optional[str] = None
        self.serial_number: Optional[int] = None
        self.saturation = 0
        self.closed = False
        self._opened = False
        self._dll = library.dll
        self._loaded: Optional[Window] = None  # window whose pattern the camera has
        self._pattern_lost = False  # it could not be built
        self._taking: Optional[Request] = None  # what abort breaks off
        self._request: Optional[Request] = None  # what the callbacks tell of
        self._turned = 0.0
        self._read_at: Optional[float] = None
        self._celsius: Optional[float] = None
        # The library keeps the two as long as the camera is open.
        self._on_exposure = _records.ExposureCallback(self._exposing)
        self._on_progress = _records.ProgressCallback(self._progressing)
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
            self._note_sensor()

    # --- open and close ---

    def open(self) -> None:
        plan, dll, library = self.plan, self._dll, self.library
        config = plan.config
        with library.shared, library.calling():
            dll.QV_InitOptions(config, self.number)
            dll.QV_Open(
                plan.platform.code,
                plan.sensor.code,
                config.InterfaceAddress,
                config.InterfaceType,
                int(plan.attach),
                self.number,
                config.Activity & 0xFFFFFFFF,
                self._on_exposure,
                self._on_progress,
            )
            if plan.from_file:
                dll.QV_InitOptions(config, self.number)  # the shutter's settling time
            try:
                self._note_opened()
            except QvnError:
                dll.QV_Close(self.number)
                raise
            self._opened = True
            library.cameras[self.number] = self

    def _note_opened(self) -> None:
        dll = self._dll
        code = dll.QV_Status(self.number)
        if code != 0 or not dll.QV_IsOn(self.number):
            raise self.library.error(code, f"opening {self.name()}", self._open_hint(code))
        self._note_sensor()
        # Held for as long as the camera is open: so the regulation of exposures can be switched
        # on without the library waiting for its timer, which does not run.
        dll.QV_StopNow(self.number)
        self.saturation = dll.QV_MaxNumbers(self.number)
        if self.plan.platform.code != _NO_MEMORY:
            serial = dll.QV_GetSerNum(self.number)
            self.serial_number = serial if serial >= 0 else None
        self._turned = self.library.seconds()

    def _note_sensor(self) -> None:
        self._dll.QV_GetCCDdata(self.ccd, self.number)
        for key in ("Xpix", "Ypix"):
            if getattr(self.ccd, key) < 2:
                raise self.library.error(
                    6,
                    f"reading {self.library.folder}/qvn.cfg",
                    f"ccd_definitions.{self.plan.sensor.name}.{key} is missing or too small; "
                    "`qvn init FOLDER` writes a complete qvn.cfg to compare with",
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
                self._set_regulation(False)
                if self.cooler.target is not None and not keep_cooling:
                    dll.QV_Cooler(0, self.number)
                dll.QV_StartNow(self.number)
                dll.QV_Close(self.number)
            library.cameras.pop(self.number, None)
            self._opened = False
            self.closed = True
        self.cooler.stop()
        library.give_back(self.number)

    def end(self, keep_cooling: bool = False) -> Job[None]:
        """Breaks off what runs, drops what waits, closes; the thread ends. Does not wait."""
        self.worker.cancel_waiting()
        self.abort()
        job = self.worker.submit("closing", lambda: self.close(keep_cooling), _CLOSE_LIMIT)
        self.worker.stop()
        return job

    def shutdown(self, keep_cooling: bool = False) -> None:
        """The same, and waits for it."""
        if not self.closed:
            self.worker.wait(self.end(keep_cooling))

    def reopen(self) -> None:
        """Closes the link and opens it again; settings and the cooler's target are kept.

        The cooler goes on with the drive that it had, so the sensor does not warm up meanwhile.
        """
        dll, number, cooler = self._dll, self.number, self.cooler
        gain, power, binning = dll.QV_GetGain(number), self.power(), self.binning
        with self.library.shared, self.library.calling():
            if self._opened:
                self._set_regulation(False)
                dll.QV_StartNow(number)
                dll.QV_Close(number)
                self._opened = False
            self.binning, self._loaded, self._pattern_lost = Binning(1, 1), None, False
            self.open()
            if binning != self.binning:
                self.set_binning(binning)
            self.set_gain(gain)
            if cooler.set_point is not None:
                dll.QV_SetPower(power, number)
                dll.QV_SetTemp(cooler.set_point, CELSIUS, number)
                self._set_regulation(True)

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

    def _exposing(self, text: Optional[bytes], camera: int) -> None:
        request = self._request
        if request is None:
            return
        with request.lock:
            request.phase = "exposing"  # in a series behind a readout
        # The start of an exposure forgets a break that came too early.
        if request.abort_asked:
            self._break(request)

    def _progressing(self, text: Optional[bytes], percent: int, camera: int) -> None:
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
        if self.cooler.target is None or not self._opened:
            return
        now = self.library.seconds()
        if now - self._turned < TURN - 1e-3:
            return
        self._turned = now
        with self.library.calling():
            set_point = self.cooler.next_set_point(now)
            if set_point is not None:
                self._dll.QV_SetTemp(set_point, CELSIUS, self.number)
            self.cooler.note(self.read())

    def read(self) -> Optional[float]:
        """Degrees Celsius, measured now; None if that failed."""
        failed = self._dll.QV_TemperatureHandle(self.number) != 0
        self._read_at = self.library.seconds()
        self._celsius = None if failed else self.last_reading()
        return self._celsius

    def last_reading(self) -> float:
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

    def cooler_off(self) -> None:
        with self.library.calling():
            self._set_regulation(False)
            self._dll.QV_Cooler(0, self.number)
        self.cooler.stop()

    def _set_regulation(self, on: bool) -> None:
        """Whether exposures regulate."""
        self._dll.QV_SetMode(OPTION_REGULATION, int(on), self.number)

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

    def set_binning(self, binning: Binning) -> None:
        with self.library.shared, self.library.calling():
            self.fresh_status()
            self._dll.QV_SetBinning(binning.horizontal, binning.vertical, self.number)
            horizontal, vertical = ctypes.c_int32(), ctypes.c_int32()
            self._dll.QV_GetBinning(horizontal, vertical, self.number)
            self.binning = Binning(horizontal.value, vertical.value)
            self.check(f"setting binning {binning.horizontal} x {binning.vertical}")
            self._loaded = None
            self._pattern_lost = False

    def set_gain(self, gain: int) -> None:
        with self.library.shared, self.library.calling():
            self.fresh_status()
            self._dll.QV_SetGain(gain, self.number)
            self.check(f"setting gain {gain}")

    # --- frames ---

    def limit(self, request: Request) -> float:
        frames = request.frames or 1
        return frames * (request.seconds + self.readout_limit())

    def readout_limit(self) -> float:
        return float(self.ccd.Xpix * self.ccd.Ypix * _SECONDS_A_PIXEL + _SECONDS_BESIDES)

    def submit(self, request: Request, limit: Optional[float]) -> Job[Frame]:
        if self.closed:
            raise CameraClosed(f"taking a frame ({self.name()})", "the camera is closed")
        seconds = self.limit(request) if limit is None else limit
        return self.worker.submit("taking a frame", lambda: self.take(request), seconds)

    def take(self, request: Request) -> Frame:
        frame = None
        if not self._opened:
            raise CameraClosed(
                f"taking a frame ({self.name()})", "it could not be opened again", "reopen()"
            )
        self._taking = request
        try:
            with ExitStack() as held:
                if self._builds(request) or self._dll.QV_Status(self.number) != 0:
                    self._load_pattern(request, held)
                held.enter_context(self.library.calling())
                if not request.abort_asked:
                    self.check_window(request.window)  # the binning may be another by now
                    frame = self._read(request)
        finally:
            self._taking = None
        if frame is None or request.abort_asked:
            raise Aborted(f"taking a frame ({self.name()})", frame)
        return frame

    def _builds(self, request: Request) -> bool:
        return self._pattern_lost or request.window != self._loaded

    def _load_pattern(self, request: Request, held: ExitStack) -> None:
        """Cameras share the file of the pattern, so one of them builds at a time.

        With others beside it a long exposure does not keep them from building: the pattern is
        loaded by a read without an exposure ahead of it.
        """
        held.enter_context(self.library.shared)
        with self.library.calling():
            self.fresh_status()
            if self._pattern_lost:
                # The library takes the window for loaded; with the binning it forgets that.
                self.set_binning(self.binning)
            alone = len(self.library.cameras) < 2 or self.library.virtual_time
            if alone or not self._builds(request) or request.seconds <= _LONGEST_SHORT:
                return
            self._read(replace(request, seconds=-1.0, light=False, frames=None, phase="waiting"))
        held.pop_all().close()

    def _window_arguments(self, window: Window) -> tuple[int, int, int, int]:
        """As the library takes them: the simulated camera counts unbinned pixels."""
        if self.plan.platform.code != DEMO:
            return window
        across, down = self.binning
        return window.x * across, window.y * down, window.width, window.height

    def _delivered(self, request: Request) -> Window:
        rows, columns = self.shape()
        if request.window is None:
            return Window(0, 0, columns, rows)
        x, y, width, height = request.window
        if request.frames is not None and self.plan.platform.code not in (DEMO, *_UNOD):
            # A series begins with the sensor's first row. Half of the dark ones lie ahead of the
            # image.
            vertical = self.binning.vertical
            y = -(self.ccd.Dummy[vertical - 1] // 2) if vertical <= 4 else 0
        return Window(x, y, width & ~1, height)

    def _read(self, request: Request) -> Frame:
        window = self._delivered(request)
        count = window.width * window.height
        frames = request.frames or 1
        try:
            pixels = np.zeros((frames, count + _PIXELS_BEHIND), np.uint16)
        except MemoryError:
            raise self.library.error(16, f"taking {frames} frames of {count} pixels") from None
        metadata = self._metadata(request, window)
        start = self.library.utc()
        request.begun = self.library.seconds()
        self._request = request
        request.phase = "exposing"
        try:
            self._call(request, pixels)
        finally:
            self._request = None
            request.phase = "done"
        self._judge(request)
        image = pixels[:, :count].reshape(frames, window.height, window.width)
        exposed = request.exposed()
        metadata = replace(
            metadata,
            start=start,
            end=self.library.utc(),
            exposure=exposed,
            aborted=exposed < request.seconds or request.broken_in_series(),
        )
        return Frame(image if request.frames is not None else image[0], metadata)

    def _call(self, request: Request, pixels: np.ndarray[Any, np.dtype[np.uint16]]) -> None:
        shutter = int(request.light)
        rows = [row.ctypes.data_as(_records.PIXELS) for row in pixels]
        if request.window is None:
            self._dll.QV_FGetCCD(shutter, request.seconds, rows[0], self.number)
            return
        place = self._window_arguments(request.window)
        if request.frames is None:
            self._dll.QV_FGetWinCCD(shutter, request.seconds, *place, rows[0], self.number)
            return
        self._dll.QV_Kinetics(
            shutter,
            request.seconds,
            request.frames,
            *place,
            (_records.PIXELS * len(rows))(*rows),
            self.number,
        )
        # A series that failed has not given back its hold, and the camera keeps one only.
        if self._dll.QV_Status(self.number) != 0:
            self._dll.QV_StartNow(self.number)

    def _judge(self, request: Request) -> None:
        """The status tells of the read alone; a pattern that was not built shows otherwise."""
        self._loaded = request.window
        doing = f"taking a frame ({self.name()})"
        if request.pattern_code in _PATTERN_CODES:
            self._pattern_lost = True
            raise self.library.error(request.pattern_code, doing)
        self.check(doing)

    def _metadata(self, request: Request, window: Window) -> Metadata:
        cooling = self.cooler.target is not None
        binning = self.binning
        now = self.library.utc()
        return Metadata(
            start=now,
            end=now,
            exposure=request.seconds,
            requested=request.seconds,
            aborted=False,
            light=request.light,
            temperature=self.recent(),
            set_point=self.cooler.set_point,
            cooler_power=self.power() if cooling else 0.0,
            gain=self._dll.QV_GetGain(self.number),
            binning=binning,
            window=window,
            full_frame=request.window is None,
            platform=self.plan.platform.code,
            platform_name=self.plan.platform.name,
            sensor=self.plan.sensor.code,
            sensor_name=self.plan.sensor.name,
            serial_number=self.serial_number,
            pixel_size=(
                self.ccd.XpixDim * binning.horizontal,
                self.ccd.YpixDim * binning.vertical,
            ),
            saturation=self.saturation,
            filter=self.filter,
            camera=self.number,
            options=self._dll.QV_GetMode(self.number) & ~OPTION_REGULATION,
            virtual=self.plan.virtual,
            number=request.number,
            frames=request.frames or 1,
        )

    def power(self) -> float:
        return float(self._dll.QV_GetPower(self.number))

    def clear(self) -> None:
        with self.library.calling():
            self._dll.QV_ClearCCD(self.number)
