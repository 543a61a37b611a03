"""Exposures that run, and series of them."""
from __future__ import annotations

import asyncio
from typing import AsyncIterator, Callable, Generator, Iterator, Optional

from ._driver import Driver, Request
from ._worker import Job
from .errors import Aborted, CameraTimeout, QvnError
from .frames import Frame


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
