"""The cooler of one camera: its set point on the way to the target, its readings."""
from __future__ import annotations

import math
import threading
from dataclasses import dataclass
from typing import Optional

TURN = 0.5  #: seconds from one reading to the next
SETTLE = 30.0  #: seconds at the target until the sensor counts as cold; a mere passing is shorter
LONGEST_STEP = 1.0  #: seconds that a ramp moves on at once
_ALMOST = 1e-6  # of a tenth of a degree
FAILURES = 6  #: readings that fail in a row, until a wait gives up


@dataclass(frozen=True)
class CoolingState:
    """The cooler as it is. Temperatures are degrees Celsius, rates degrees a minute."""

    state: str  #: "off", "ramping", "regulating", "at target", "no readings" or "by hand"
    temperature: Optional[float]  #: the last reading, degrees Celsius; None: it failed
    target: Optional[float]  #: where it shall go, degrees Celsius
    set_point: Optional[float]  #: where it is held now on the way there, degrees Celsius
    ramp: Optional[float]  #: of the set point, degrees a minute
    power: float  #: drive, percent; not a number for an array, which does not tell


class Cooler:
    """Readings come from the camera's thread, questions from any."""

    def __init__(self) -> None:
        self.changed = threading.Condition()
        self.target: Optional[float] = None
        self.set_point: Optional[float] = None
        self.ramp: Optional[float] = None
        self.by_hand: Optional[float] = None  # percent of drive, without a regulator
        self.readings = 0  # since the target was set
        self.inside = 0  # of them, in a row, at the target
        self.failures = 0  # in a row
        self.tolerance = 0.2
        self._exact = 0.0  # the set point before it is cut to tenths
        self._looked = 0.0  # when the ramp was moved on

    def start(self, target: float, ramp: Optional[float], begin: float, now: float) -> float:
        """The first set point. Targets have tenths: others would never be reached."""
        with self.changed:
            self.by_hand = None
            self.target = round(target, 1)
            self.ramp = ramp
            self._exact = self.target if ramp is None else begin
            self.set_point = round(self._exact, 1)
            self.readings = self.inside = self.failures = 0
            self._looked = now
            return self.set_point

    def is_on(self) -> bool:
        return self.target is not None or self.by_hand is not None

    def drive(self, percent: float) -> None:
        with self.changed:
            self.stop()
            self.by_hand = percent

    def stop(self) -> None:
        with self.changed:
            self.target = self.set_point = self.ramp = self.by_hand = None
            self.readings = self.inside = self.failures = 0
            self.changed.notify_all()

    def next_set_point(self, now: float) -> Optional[float]:
        """Where the ramp stands now, None if that is where it stood.

        Time in which nobody looked, as in an exposure, does not count: the sensor shall not be
        pulled faster afterwards.
        """
        if self.ramp is None or self.target is None:
            return None
        step = self.ramp / 60.0 * min(now - self._looked, LONGEST_STEP)
        self._looked = now
        left = self.target - self._exact
        self._exact += math.copysign(min(step, abs(left)), left)
        tenths = self._exact * 10.0
        whole = math.floor(tenths + _ALMOST) if left > 0.0 else math.ceil(tenths - _ALMOST)
        with self.changed:
            before, self.set_point = self.set_point, whole / 10.0
            return None if self.set_point == before else self.set_point

    def note(self, celsius: Optional[float]) -> None:
        """A reading; None: it failed."""
        with self.changed:
            if celsius is None:
                self.failures += 1
                self.inside = 0
            else:
                self.failures = 0
                self.readings += 1
                at_target = (
                    self.target is not None
                    and self.set_point == self.target
                    and abs(celsius - self.target) <= self.tolerance + 1e-9
                )
                self.inside = self.inside + 1 if at_target else 0
            self.changed.notify_all()

    def state(self, celsius: Optional[float], power: float) -> CoolingState:
        with self.changed:
            if self.by_hand is not None:
                name = "by hand"
            elif self.target is None:
                name, power = "off", 0.0  # the camera keeps the number of the drive alone
            elif self.failures > 0:
                name, celsius = "no readings", None
            elif self.set_point != self.target:
                name = "ramping"
            else:
                name = "at target" if self.inside * TURN >= SETTLE else "regulating"
            return CoolingState(name, celsius, self.target, self.set_point, self.ramp, power)
