"""The filter wheel at a camera."""
from __future__ import annotations

import operator
from typing import Callable, Optional, Sequence, Union

from ._driver import Driver
from .errors import CameraClosed

#: Kinds of wheels: CameraConfig.FilterWheel of qvn.h.
KINDS = {"none": 0, "stepper-8": 1, "stepper-6": 2, "controller-nibble": 3, "controller-byte": 4}

_POSITIONS = {1: 8, 2: 6}
_MOST_POSITIONS = 15
_LIMIT = 120.0  # seconds for a search of the zero position


def wheel_kind(kind: Union[int, str]) -> int:
    """The code of a kind of wheel."""
    code = KINDS.get(kind) if isinstance(kind, str) else kind
    if code is None or code not in KINDS.values():
        raise ValueError(f"wheel {kind!r} is none of {', '.join(KINDS)}")
    return code


class FilterWheel:
    """A filter wheel. Positions count from 1."""

    def __init__(self, driver: Driver, kind: int) -> None:
        self._driver = driver
        self.kind = kind  #: code of KINDS
        self.names: Sequence[str] = ()  #: of the filters, from position 1 on; may be set
        self._position: Optional[int] = None

    @property
    def positions(self) -> Optional[int]:
        """How many there are; None if the wheel's own controller knows alone."""
        return _POSITIONS.get(self.kind)

    @property
    def position(self) -> Optional[int]:
        """Where it was sent, from 1; None ahead of the first move. No wheel can be asked."""
        return self._position

    def move(self, filter: Union[int, str]) -> None:
        """Moves to a position, or to the filter of a name of `names`, and waits for the end."""
        if isinstance(filter, str):
            if filter not in self.names:
                raise ValueError(f"filter {filter!r} is none of names: {', '.join(self.names)}")
            filter = list(self.names).index(filter) + 1
        position = operator.index(filter)
        most = self.positions or _MOST_POSITIONS
        if not 1 <= position <= most:
            raise ValueError(f"position {position} is not 1 to {most}")
        dll, number = self._driver.library.dll, self._driver.number
        self._call(
            f"moving the filter wheel to {position}", lambda: dll.QV_SetFilter(position, number)
        )
        self._note(position)

    def calibrate(self) -> None:
        """Finds the zero position, behind which the wheel stands at position 1."""
        dll, number = self._driver.library.dll, self._driver.number
        self._call("calibrating the filter wheel", lambda: dll.QV_CalibFW(number))
        self._note(1)

    def set_up(self, setting: int, hold: int, zero_offset: int) -> None:
        """Hands the wheel its values and finds the zero position.

        setting: for the wheel's controller.
        hold: 0 takes the current from a stepper after each move.
        zero_offset: steps from the zero sensor to position 1.
        """
        dll, number = self._driver.library.dll, self._driver.number
        self._call(
            "setting up the filter wheel",
            lambda: dll.QV_OpenFW(setting, hold, zero_offset, number),
        )
        self._note(1)

    def _note(self, position: int) -> None:
        self._position = position
        known = position <= len(self.names)
        self._driver.filter = self.names[position - 1] if known else str(position)

    def _call(self, doing: str, run: Callable[[], object]) -> None:
        driver = self._driver
        self._position = driver.filter = None  # until it is known to have arrived
        if driver.closed:
            raise CameraClosed(doing, "the camera is closed")

        def move() -> None:
            driver.fresh_status()
            with driver.library.calling():
                run()
                driver.check(doing)

        driver.worker.call(doing, move, _LIMIT)
