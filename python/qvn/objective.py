"""The objective at a camera, with its three motors."""
from __future__ import annotations

from typing import TYPE_CHECKING

from ._checks import whole

if TYPE_CHECKING:
    from .instrument import Instrument

OBJECTIVES = (44, 47)  # platforms that drive one

_TO_END = {1: 0, 2: 1, 0: 2}
_FORTH = {1: 3, 2: 5, 0: 7}
_LONGEST = 65535  # milliseconds


class Objective:
    """An objective with motors 0, 1 and 2; `camera.objective` makes it."""

    def __init__(self, camera: Instrument) -> None:
        self._camera = camera

    def run_to_end(self, motor: int) -> None:
        """Runs a motor to its end, for three seconds, and waits for that.

        motor: 0, 1 or 2.
        """
        self._run(_TO_END[whole("motor", motor, 0, 2)], 0)

    def run(self, motor: int, milliseconds: int, back: bool = False) -> None:
        """Runs a motor for a time, brakes it, and waits for that.

        motor: 0, 1 or 2.
        milliseconds: 0 to 65535.
        back: the other way.
        """
        length = whole("milliseconds", milliseconds, 0, _LONGEST)
        self._run(_FORTH[whole("motor", motor, 0, 2)] + int(bool(back)), length)

    def _run(self, operation: int, milliseconds: int) -> None:
        limit = 60.0 + milliseconds / 1000.0
        self._camera._do(
            "running a motor of the objective",
            "QV_ObjectiveControl",
            operation,
            milliseconds,
            limit=limit,
        )
