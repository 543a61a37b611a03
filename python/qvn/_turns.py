"""Cameras that share one binning in the library: 48, 300, 400 and 450."""
from __future__ import annotations

import threading
from contextlib import contextmanager
from typing import Callable, Iterator, Optional

from .errors import Aborted
from .frames import Binning

SHARING = (48, 300, 400, 450)  # platforms
_LOOK = 0.25  # seconds


class BinningTurns:
    """Those with one binning read at the same time, others one behind the other."""

    def __init__(self) -> None:
        self.last: Optional[Binning] = None  # that of the library
        self._changed = threading.Condition()
        self._holders: dict[object, Optional[Binning]] = {}

    @contextmanager
    def hold(
        self, who: object, binning: Optional[Binning], given_up: Callable[[], bool]
    ) -> Iterator[None]:
        """Keeps the binning as it is; None: nobody else reads meanwhile.

        Entered ahead of all other locks, since who waits here may wait for an exposure.
        """
        if who in self._holders:
            yield
            return
        with self._changed:
            while not self._suits(binning):
                if given_up():
                    raise Aborted("waiting for a camera with another binning")
                self._changed.wait(_LOOK)
            self._holders[who] = binning
        try:
            yield
        finally:
            with self._changed:
                del self._holders[who]
                self._changed.notify_all()

    def _suits(self, binning: Optional[Binning]) -> bool:
        return all(binning is not None and other == binning for other in self._holders.values())
