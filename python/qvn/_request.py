"""A frame that was asked for, and what has become of it so far."""
from __future__ import annotations

import threading
from dataclasses import dataclass, field
from typing import NamedTuple, Optional

from .frames import Window

LONGEST_SHORT = 0.5  # seconds; shorter exposures cannot be broken off


class Shifts(NamedTuple):
    """A series inside of the sensor: the charge moves on between the exposures."""

    times: int
    lines: int


@dataclass
class Request:
    seconds: float  #: of exposure; of a series inside of the sensor between two shifts
    light: bool
    window: Optional[Window] = None
    number: int = 1
    frames: Optional[int] = None  #: of a series in one call
    period: Optional[float] = None  #: seconds from the start of the exposure on
    timed: bool = False  #: reads timed by the processor
    shifts: Optional[Shifts] = None
    heads: Optional[dict[int, float]] = None  #: seconds of the heads of an array
    trigger: bool = False
    limit: Optional[float] = None  #: seconds that the host grants
    phase: str = "waiting"  #: then "trigger", "exposing", "reading", "done"
    percent: int = 0  #: of the readout
    begun: float = 0.0  #: seconds of the library's clock
    abort_asked: bool = False
    broken_at: Optional[float] = None
    pattern_code: int = 0
    lock: threading.Lock = field(default_factory=threading.Lock)

    def can_be_broken(self) -> bool:
        return self.shifts is None

    def _is_long(self) -> bool:
        return int(self.seconds * 1000.0) > LONGEST_SHORT * 1000.0

    def was_broken(self) -> bool:
        """Whether an exposure was cut short."""
        if self.broken_at is None or not self._is_long() or not self.can_be_broken():
            return False
        return self.frames is not None or self.broken_at - self.begun < self.seconds

    def exposed(self) -> float:
        """Seconds; of a series those of its frames that were not broken off."""
        if self.frames is not None or not self.was_broken() or self.broken_at is None:
            return self.asked()
        return max(0.0, min(self.seconds, self.broken_at - self.begun))

    def asked(self) -> float:
        """Seconds of exposure."""
        return self.seconds if self.shifts is None else self.seconds * self.shifts.times

    def takes(self) -> float:
        """Seconds from its start to its readout."""
        return max(self.asked(), self.period or 0.0)
