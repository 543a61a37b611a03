"""The thread of a camera: calls one after the other, and a turn of work twice a second."""
from __future__ import annotations

import queue
import threading
import time
from concurrent.futures import Future, TimeoutError as FutureTimeout
from dataclasses import dataclass, field
from typing import Any, Callable, Generic, Optional, TypeVar

from .errors import CameraTimeout

Result = TypeVar("Result")

_LOOK = 0.25  # seconds between two looks at the time limits


@dataclass
class Job(Generic[Result]):
    """A call of the library, and what comes of it."""

    doing: str
    run: Callable[[], Result]
    limit: float  #: seconds that it may take
    future: Future[Result] = field(default_factory=Future)
    started: Optional[float] = None  #: time.monotonic

    def overdue(self) -> bool:
        return (
            self.started is not None
            and not self.future.done()
            and time.monotonic() - self.started > self.limit
        )


class Worker:
    """Runs jobs in their order in a thread of its own; that thread alone calls the camera."""

    def __init__(self, name: str, turn_if_due: Callable[[], None], until_turn: Callable[[], float]):
        self._jobs: queue.Queue[Optional[Job[Any]]] = queue.Queue()
        self._current: Optional[Job[Any]] = None
        self._turn_if_due = turn_if_due
        self._until_turn = until_turn
        # The process must be able to end while a call never does.
        self._thread = threading.Thread(target=self._work, name=name, daemon=True)
        self._thread.start()

    def submit(self, doing: str, run: Callable[[], Result], limit: float) -> Job[Result]:
        job = Job(doing, run, limit)
        self._jobs.put(job)
        return job

    def call(self, doing: str, run: Callable[[], Result], limit: float = 60.0) -> Result:
        return self.wait(self.submit(doing, run, limit))

    def busy(self) -> bool:
        return self._current is not None or not self._jobs.empty()

    def wait(self, job: Job[Result]) -> Result:
        """The job's result. No wait lasts longer than the time limits of the jobs ahead."""
        while True:
            try:
                return job.future.result(_LOOK)
            except FutureTimeout:
                if job.future.done():
                    return job.future.result()
                self.look(job)

    def look(self, job: Job[Any]) -> None:
        """Raises CameraTimeout if the job, or the one that it waits for, takes too long."""
        current = self._current
        if current is None or not current.overdue():
            return
        raise CameraTimeout(
            job.doing,
            f"{current.doing} has not come back for {current.limit:.0f} s",
            "check cable and power; a USB plug that is pulled ends most waits; "
            "else this camera needs a new process",
        )

    def allow(self, seconds: float) -> None:
        """Gives the job that runs so much more time, from now on: it was told to end."""
        current = self._current
        if current is not None and current.started is not None:
            current.limit = time.monotonic() - current.started + seconds

    def stop(self) -> None:
        """The thread ends when all that was submitted is done."""
        self._jobs.put(None)

    def cancel_waiting(self) -> None:
        """Drops what has not begun."""
        while True:
            try:
                job = self._jobs.get_nowait()
            except queue.Empty:
                return
            if job is not None:
                job.future.cancel()

    def _work(self) -> None:
        while True:
            try:
                job = self._jobs.get(timeout=self._until_turn())
            except queue.Empty:
                self._turn_if_due()
                continue
            if job is None:
                return
            self._turn_if_due()
            if job.future.set_running_or_notify_cancel():
                self._run(job)
            del job  # and with it a frame that nobody else keeps

    def _run(self, job: Job[Any]) -> None:
        job.started = time.monotonic()
        self._current = job
        try:
            result = job.run()
        except BaseException as error:
            self._current = None
            job.future.set_exception(error)
        else:
            self._current = None
            job.future.set_result(result)
