"""Cameras: frames and what shapes them."""
from __future__ import annotations

from typing import Optional, Union, overload

from ._checks import MOST_INT32, real, time_limit, whole
from ._driver import UNOD
from ._metadata import SAMPLES
from ._request import Request, Shifts
from .armed import Armed
from .catalogue import DEMO
from .exposures import Exposure, Series
from .frames import Binning, Frame, Window
from .instrument import Instrument

WindowLike = Union[Window, tuple[int, int, int, int]]

_LONGEST_EXPOSURE = 2147483.0  # seconds; the library counts milliseconds in 31 bits
_MOST_FRAMES = 1_000_000
_REDUCED = (25, 47)
_DECIMATED = (25, 28, 47, 61, 200, 205, 300, 450)
_SHIFTED = (40, 41, 42, 44, 47)


class _BinningSetting:
    """Read as a Binning, set by a pair or by a number for both directions."""

    @overload
    def __get__(self, camera: None, kind: object) -> _BinningSetting:
        ...

    @overload
    def __get__(self, camera: Camera, kind: object) -> Binning:
        ...

    def __get__(self, camera: Optional[Camera], kind: object) -> Union[Binning, _BinningSetting]:
        return self if camera is None else camera._driver.binning

    def __set__(self, camera: Camera, value: Union[int, tuple[int, int]]) -> None:
        across, down = value if isinstance(value, tuple) else (value, value)
        camera._set_binning(across, down)


def as_window(window: WindowLike) -> Window:
    """Four whole numbers, as a Window."""
    if len(window) != 4:
        raise ValueError(f"window {window!r} is not x, y, width and height")
    x, y, width, height = (
        whole(name, value, -MOST_INT32, MOST_INT32)
        for name, value in zip(("x", "y", "width", "height"), window)
    )
    return Window(x, y, width, height)


class Camera(Instrument):
    """An open camera. `qvn.open` makes it.

    All methods may be called from any thread: a thread of the camera makes the calls one after
    the other. Temperatures are degrees Celsius, times seconds, positions binned pixels.
    """

    #: Window of frames that tell none: (x, y, width, height) in binned pixels; None: all.
    window: Optional[WindowLike] = None

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns of the whole image, in binned pixels."""
        return self._driver.shape()

    #: Pixels of the sensor that make one of the frame; a number sets both directions.
    binning = _BinningSetting()

    def _set_binning(self, across: int, down: int) -> None:
        ccd = self._driver.ccd
        try:
            binning = Binning(
                whole("binning", across, 1, max(1, ccd.Xpix // 2)),
                whole("binning", down, 1, ccd.Ypix),
            )
        except ValueError:
            raise ValueError(
                f"binning {across} x {down}: the sensor has {ccd.Xpix} x {ccd.Ypix} pixels"
            ) from None
        self._call("setting the binning", lambda: self._driver.set_binning(binning))

    @property
    def noise_reduction(self) -> int:
        """Samples of each pixel on platforms 25 and 47: 3, 5, 7 or 9; 0: no noise reduction."""
        return SAMPLES[self._library.dll.QV_GetDNR(self.number) % len(SAMPLES)]

    @noise_reduction.setter
    def noise_reduction(self, samples: int) -> None:
        doing = "setting the noise reduction"
        self._need_platform(doing, _REDUCED)
        if samples not in SAMPLES:
            raise ValueError(f"{samples} samples are none of {SAMPLES}")
        mode = SAMPLES.index(samples)
        self._call(doing, lambda: self._driver.set_noise_reduction(mode))

    def drive_cooler(self, percent: float) -> None:
        """Switches the cooler on with a drive that nothing regulates.

        percent: of its full drive, 0 to 100.
        """
        drive = real("percent", percent, 0.0, 100.0)
        self._call("driving the cooler", lambda: self._driver.drive_cooler(drive))

    def decimate_bits(self, mode: int) -> None:
        """Lets the camera send fewer bits of a pixel; it ends a noise reduction.

        mode: 0, all bits, to 4. Platforms 25, 28, 47, 61, 200, 205, 300 and 450.
        """
        doing = "setting the bits of a pixel"
        self._need_platform(doing, _DECIMATED)
        chosen = whole("mode", mode, 0, 4)
        self._call(doing, lambda: self._driver.decimate_bits(chosen))

    # --- frames ---

    def expose(
        self,
        seconds: float,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        period: Optional[float] = None,
        trigger: Optional[bool] = None,
        timed: bool = False,
        timeout: Optional[float] = None,
    ) -> Frame:
        """Takes a frame and returns it: (rows, columns) of unsigned 16-bit pixels.

        seconds: of exposure. 0 and more.
        dark: the shutter stays closed.
        window: (x, y, width, height) in binned pixels. Widths are even: an odd one loses a pixel.
            Without it the camera's `window`.
        period: seconds from the start of the exposure until the readout begins: what the exposure
            leaves of them is waited.
        trigger: the exposure begins with the external trigger. Without it as `options` of
            `qvn.open` says.
        timed: whole frames with reads timed by the processor, on the platforms that have them.
        timeout: seconds until CameraTimeout is raised; without it the exposure and a generous
            time for the readout, and any time for the trigger.
        """
        return self.start(
            seconds,
            dark=dark,
            window=window,
            period=period,
            trigger=trigger,
            timed=timed,
            timeout=timeout,
        ).result()

    def start(
        self,
        seconds: float,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        period: Optional[float] = None,
        trigger: Optional[bool] = None,
        timed: bool = False,
        timeout: Optional[float] = None,
    ) -> Exposure:
        """Begins what `expose` does and returns at once; `await` it or ask for its `result`.

        Exposures begun while another is running wait for their turn. Seconds, dark, window,
        period, trigger, timed and timeout are those of `expose`.
        """
        request = self._request(seconds, dark, window, trigger, timeout)
        if period is not None:
            request.period = real("period", period, 0.0, _LONGEST_EXPOSURE)
        request.timed = bool(timed)
        if timed and (request.window is not None or period is not None):
            raise ValueError("timed=True is for whole frames without a period")
        return self._begin(request)

    def frames(
        self,
        seconds: float,
        count: Optional[int] = None,
        *,
        dark: bool = False,
        window: Optional[WindowLike] = None,
        trigger: Optional[bool] = None,
        timeout: Optional[float] = None,
    ) -> Series:
        """Frames one after the other, for `for` and `async for`.

        count: of frames; None: without end.
        Seconds, dark, window, trigger and timeout are those of `expose`, for each frame.
        """
        most = None if count is None else whole("count", count, 0, MOST_INT32)

        def begin(number: int) -> Exposure:
            request = self._request(seconds, dark, window, trigger, timeout)
            request.number = number
            return self._begin(request)

        return Series(begin, most)

    def kinetics(
        self,
        seconds: float,
        count: int,
        *,
        window: WindowLike,
        dark: bool = False,
        trigger: Optional[bool] = None,
        timeout: Optional[float] = None,
    ) -> Frame:
        """A series as fast as the camera can, as a cube of (count, rows, columns).

        seconds: of each exposure. 0 and more.
        count: of frames, 1 to 1000000.
        window: (x, 0, width, height) in binned pixels: the rows are the first that leave the
            sensor. On most cameras they begin with the dark rows at the sensor's edge, and the y
            of the metadata's window is below 0. Platforms 1, 70 and 71 read any window.
        dark: the shutter stays closed.
        trigger: the series begins with the external trigger.
        timeout: seconds until CameraTimeout is raised, for the whole series.

        Broken off, the exposures left are cut short, those above 0.5 seconds after 0.3.
        """
        frames = whole("count", count, 1, _MOST_FRAMES)
        y = as_window(window).y
        if y != 0 and self.platform.code not in (DEMO, *UNOD):
            raise ValueError(f"y {y}: a series of platform {self.platform} begins at row 0")
        request = self._request(seconds, dark, window, trigger, timeout)
        request.frames = frames
        return self._begin(request).result()

    def kinetics_in_sensor(
        self, interval: float, shifts: int, lines: int, *, dark: bool = False
    ) -> Frame:
        """A series inside of the sensor: its exposures lie side by side in one frame.

        With the shutter open the charge moves by some lines at each interval, towards row 0; then
        the frame is read. So light falls onto a slit far from row 0, and the last exposure lies
        next to it. Platforms 40, 41, 42, 44 and 47; the shutter is opened on 44 and 47, on the
        others it has to stand open. Nothing can break it off; Ctrl-C leaves it to itself.

        interval: seconds from one shift to the next; they are taken to milliseconds.
        shifts: how many.
        lines: of the sensor, for each shift; the sensor must hold all of them.
        dark: the shutter stays as it is.
        """
        self._need_platform("a series inside of the sensor", _SHIFTED)
        pause = real("interval", interval, 0.0, _LONGEST_EXPOSURE)
        count, step = whole("shifts", shifts, 1, MOST_INT32), whole("lines", lines, 0, MOST_INT32)
        rows = self._driver.ccd.Ypix
        if count * step > rows:
            raise ValueError(f"{count} x {step} lines, the sensor has {rows}")
        request = Request(pause, not dark, shifts=Shifts(count, step))
        return self._begin(request).result()

    def arm(self, seconds: float) -> Armed:
        """Readies a frame that is taken in steps: `start` it, and `fetch` it later.

        Platforms 24, 30, 42, 44 and 47, whole unbinned frames by DMA. Until the frame is fetched
        or given up the camera does nothing else.

        seconds: of exposure. 0 and more.
        """
        return Armed(self, self._driver, real("exposure", seconds, 0.0, _LONGEST_EXPOSURE))

    def _request(
        self,
        seconds: float,
        dark: bool,
        window: Optional[WindowLike],
        trigger: Optional[bool],
        timeout: Optional[float],
    ) -> Request:
        exposure = float(seconds)
        if not 0.0 <= exposure <= _LONGEST_EXPOSURE:
            raise ValueError(f"exposure {exposure} s is not 0 to {_LONGEST_EXPOSURE:.0f} s")
        if trigger:
            self._need_trigger("waiting for the trigger")
        waits = self._driver.triggered and self._driver.can_look_at_trigger()
        return Request(
            exposure,
            not dark,
            self._check_window(self.window if window is None else window),
            trigger=waits if trigger is None else bool(trigger),
            limit=time_limit("timeout", timeout),
        )

    def _begin(self, request: Request) -> Exposure:
        return Exposure(self, self._driver, request, self._driver.take)

    def _check_window(self, window: Optional[WindowLike]) -> Optional[Window]:
        if window is None:
            return None
        wanted = as_window(window)
        self._driver.check_window(wanted)
        return wanted
