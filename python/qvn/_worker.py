"""The thread of a camera: calls one after the other, and a turn of work twice a second."""
from __future__ import annotations

import queue
import sys
import threading
import time
from concurrent.futures import CancelledError, Future, TimeoutError as FutureTimeout
from dataclasses import dataclass, field
from typing import Any, Callable, Generic, Optional, TypeVar

from .errors import Aborted, CameraClosed, CameraTimeout

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
        """Submits a job and waits for it. Who stops waiting takes it back if it has not begun."""
        job = self.submit(doing, run, limit)
        try:
            return self.wait(job)
        except BaseException:
            job.future.cancel()
            raise

    def busy(self) -> bool:
        return self._current is not None or not self._jobs.empty()

    def wait(self, job: Job[Result]) -> Result:
        """The job's result. No wait lasts longer than the time limits of the jobs ahead."""
        while not job.future.done():
            try:
                # What is raised here came to who waits, as Ctrl-C does, and not to the job.
                job.future.exception(_LOOK)
            except FutureTimeout:
                self.look(job)
            except CancelledError:
                break
        try:
            return job.future.result()
        except CancelledError:
            raise Aborted(job.doing) from None

    def look(self, job: Job[Any]) -> None:
        """Raises if the job will not come: it, or the one that it waits for, takes too long."""
        current = self._current
        if current is not None and current.overdue():
            raise CameraTimeout(
                job.doing,
                f"{current.doing} has not come back for {current.limit:.0f} s",
                "check cable and power; a USB plug that is pulled ends most waits; "
                "else this camera needs a new process",
            )
        if not self._thread.is_alive() and not job.future.done():
            raise CameraClosed(job.doing, "the camera was closed meanwhile, or in another process")

    def allow(self, seconds: float) -> None:
        """Gives the job that runs so much more time, from now on."""
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
                self._turn()
                continue
            if job is None:
                self.cancel_waiting()  # what came behind the close
                return
            self._turn()
            if job.future.set_running_or_notify_cancel():
                self._run(job)
            del job  # and with it a frame that nobody else keeps

    def _turn(self) -> None:
        # Nobody waits for a turn, and the jobs behind it must not be lost with it.
        _tell(self._turn_if_due)

    def _run(self, job: Job[Any]) -> None:
        job.started = time.monotonic()
        self._current = job
        try:
            result = job.run()
        except BaseException as error:
            self._current = None
            failure = error
            _tell(lambda: job.future.set_exception(failure))
        else:
            self._current = None
            _tell(lambda: job.future.set_result(result))


def _tell(run: Callable[[], None]) -> None:
    """Runs what may raise anything, such as callbacks of a host, and goes on behind it."""
    try:
        run()
    except BaseException:
        kind, error, trace = sys.exc_info()
        assert kind is not None
        threading.excepthook(
            threading.ExceptHookArgs((kind, error, trace, threading.current_thread()))
        )
