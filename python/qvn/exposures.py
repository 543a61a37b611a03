"""Exposures that run, and series of them."""
from __future__ import annotations

import asyncio
from typing import Any, AsyncIterator, Callable, Generator, Generic, Iterator, Optional, TypeVar

from ._driver import Driver
from ._request import Request
from ._worker import Job
from .errors import Aborted, CameraTimeout, QvnError
from .frames import Frame

Result = TypeVar("Result")


class Running(Generic[Result]):
    """Something that is being taken. It can be waited for, awaited, and broken off."""

    def __init__(
        self,
        owner: object,
        driver: Driver,
        request: Request,
        run: Callable[[Request], Result],
    ) -> None:
        self._owner = owner  # a camera that nobody holds is closed
        self._driver = driver
        self._request = request
        self._job: Job[Result] = driver.submit(request, run)

    @property
    def state(self) -> str:
        """"waiting" for the camera, "trigger", "exposing", "reading" or "done"."""
        return "done" if self.done() else self._request.phase

    @property
    def time_left(self) -> float:
        """Of the exposure, seconds; the readout comes behind it."""
        phase = self._request.phase
        if phase in ("waiting", "trigger"):
            return self._request.asked()
        if phase != "exposing":
            return 0.0
        gone = self._driver.library.seconds() - self._request.begun
        return max(0.0, self._request.asked() - gone)

    @property
    def percent(self) -> int:
        """Of the readout, percent; 0 ahead of it."""
        return 100 if self.done() else self._request.percent

    def done(self) -> bool:
        """Whether the frame is there, or has failed."""
        return self._job.future.done()

    def abort(self) -> None:
        """Breaks the exposure off, from any thread. `result` then raises Aborted.

        Exposures up to 0.5 seconds and readouts run to their end, since nothing can stop them.
        """
        if not self._job.future.cancel():
            self._driver.abort_request(self._request)

    def add_done_callback(self, call: Callable[[Any], object]) -> None:
        """Calls it when the frame is there or has failed, in the camera's thread.

        call: a function of the exposure. What it raises is reported and changes nothing.
        """
        self._job.future.add_done_callback(lambda _: call(self))

    def result(self) -> Result:
        """Waits for the frame. On Ctrl-C the exposure is broken off, and read if it can be."""
        try:
            return self._settled()
        except KeyboardInterrupt:
            self.abort()
            if self._request.can_be_broken():
                try:
                    self._settled()
                except QvnError:
                    pass
            raise

    def _settled(self) -> Result:
        try:
            return self._driver.worker.wait(self._job)
        except CameraTimeout:
            self.abort()
            raise

    async def _wait(self) -> Result:
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

    def __await__(self) -> Generator[object, None, Result]:
        return self._wait().__await__()


class Exposure(Running[Frame]):
    """A frame that is being taken. It can be waited for, awaited, and broken off."""


class ArrayExposure(Running[dict[int, Frame]]):
    """The frames of an array's heads that are being taken, by head."""


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
