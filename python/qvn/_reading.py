"""The calls that take frames, one for each way."""
from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from . import _records
from ._request import Request, Shifts
from .errors import UnsupportedPlatform
from .frames import Window

if TYPE_CHECKING:
    from ._driver import Driver

Pixels = np.ndarray[Any, np.dtype[np.uint16]]

HEADS = 8
#: What no frame is likely to hold: pixels that were left alone are known by it.
UNTOUCHED = (0xA53C, 0x5AC3)


def pointer(pixels: Pixels) -> Any:
    return pixels.ctypes.data_as(_records.PIXELS)


def mark(pixels: Pixels) -> None:
    """Fills the last axis, so that what does not arrive shows."""
    pixels[..., 0::2], pixels[..., 1::2] = UNTOUCHED


def clear_marks(pixels: Pixels) -> None:
    """Pixels that stay behind at the end of a frame are 0, as they are in others."""
    flat = pixels.reshape(-1)
    wanted = np.resize(np.array(UNTOUCHED, np.uint16), pixels.shape[-1])
    same = flat == np.resize(wanted, flat.shape)
    came = np.flatnonzero(~same)
    flat[came[-1] + 1 if len(came) else 0 :] = 0


def is_marked(pixels: Pixels) -> bool:
    """Whether nothing has arrived here."""
    return bool((pixels[..., 0::2] == UNTOUCHED[0]).all()) and bool(
        (pixels[..., 1::2] == UNTOUCHED[1]).all()
    )


def take(driver: Driver, request: Request, pixels: Pixels) -> None:
    """One frame in each row of `pixels`, the way that the request tells."""
    if request.shifts is not None:
        _in_the_sensor(driver, request, request.shifts, pixels)
    elif request.window is None:
        _whole(driver, request, pixels)
    elif request.frames is None:
        _window(driver, request, driver.window_arguments(request.window), pixels)
    else:
        _series(driver, request, driver.window_arguments(request.window), pixels)


def _whole(driver: Driver, request: Request, pixels: Pixels) -> None:
    dll, shutter, number = driver.library.dll, int(request.light), driver.number
    if request.period is not None:
        milliseconds = request.seconds * 1000.0
        dll.QV_GetCCDPulsed(shutter, 1, milliseconds, request.period, pointer(pixels), number)
    elif request.timed:
        mark(pixels)
        dll.QV_TGetCCD(shutter, request.seconds, pointer(pixels), number)
        _give_back_the_hold(driver)
        if is_marked(pixels):
            raise UnsupportedPlatform(
                f"taking a frame ({driver.name()})",
                "its reads cannot be timed by the processor",
                "without timed=True",
            )
        clear_marks(pixels)
    else:
        dll.QV_FGetCCD(shutter, request.seconds, pointer(pixels), number)


def _window(
    driver: Driver, request: Request, place: tuple[int, int, int, int], pixels: Pixels
) -> None:
    dll, shutter, number = driver.library.dll, int(request.light), driver.number
    if request.period is None:
        dll.QV_FGetWinCCD(shutter, request.seconds, *place, pointer(pixels), number)
        return
    milliseconds = request.seconds * 1000.0
    dll.QV_GetWinCCDPulsed(
        shutter, 1, milliseconds, request.period, *place, pointer(pixels), number
    )


def _series(
    driver: Driver, request: Request, place: tuple[int, int, int, int], pixels: Pixels
) -> None:
    first, step = pixels.ctypes.data, pixels.strides[0]
    rows = np.arange(len(pixels), dtype=np.uintp) * np.uintp(step) + np.uintp(first)
    driver.library.dll.QV_Kinetics(
        int(request.light),
        request.seconds,
        len(pixels),
        *place,
        rows.ctypes.data_as(_records.ROWS),
        driver.number,
    )
    _give_back_the_hold(driver)


def _in_the_sensor(driver: Driver, request: Request, shifts: Shifts, pixels: Pixels) -> None:
    dll, number = driver.library.dll, driver.number
    if request.light:
        dll.QV_ShutterControl(1, number)
    # The call closes the shutter ahead of its read, which exposes nothing more.
    dll.QV_KineticsCCD(0, request.seconds, *shifts, pointer(pixels), number)
    _give_back_the_hold(driver)


def _give_back_the_hold(driver: Driver) -> None:
    """A read that fails in a call that holds does not do so, and the camera keeps one only."""
    if driver.library.dll.QV_Status(driver.number) != 0:
        driver.library.dll.QV_StartNow(driver.number)


def take_heads(driver: Driver, request: Request, pixels: dict[int, Pixels]) -> None:
    """A frame of each head of an array, all exposed together."""
    exposures = np.zeros(HEADS, np.float64)
    buffers = (_records.PIXELS * HEADS)()
    for head, seconds in (request.heads or {}).items():
        mark(pixels[head])
        exposures[head] = seconds
        buffers[head] = pointer(pixels[head])
    driver.library.dll.QV_AGetCCD(
        int(request.light), exposures.ctypes.data_as(_records.DOUBLES), buffers, driver.number
    )


def delivered(driver: Driver, request: Request) -> Window:
    """Where the frame lies, and its size."""
    rows, columns = driver.shape()
    if request.window is None:
        return Window(0, 0, columns, rows)
    x, y, width, height = request.window
    if request.frames is not None and driver.begins_at_the_edge():
        # A series begins with the sensor's first row. Half of the dark ones lie ahead of the
        # image.
        vertical = driver.binning.vertical
        y = -(driver.ccd.Dummy[vertical - 1] // 2) if vertical <= 4 else 0
    return Window(x, y, width & ~1, height)
