"""The filter wheel at a camera."""
from __future__ import annotations

import operator
from typing import TYPE_CHECKING, Callable, Optional, Sequence, Union

from ._checks import whole
from ._driver import Driver

if TYPE_CHECKING:
    from .instrument import Instrument

#: Kinds of wheels: CameraConfig.FilterWheel of qvn.h.
KINDS = {"none": 0, "stepper-8": 1, "stepper-6": 2, "controller-nibble": 3, "controller-byte": 4}

_POSITIONS = {1: 8, 2: 6}
_MOST_POSITIONS = 15
_MOST_STEPS = 32767
_LIMIT = 120.0  # seconds for a search of the zero position


def wheel_kind(kind: Union[int, str]) -> int:
    """The code of a kind of wheel."""
    code = KINDS.get(kind) if isinstance(kind, str) else kind
    if code is None or code not in KINDS.values():
        raise ValueError(f"wheel {kind!r} is none of {', '.join(KINDS)}")
    return code


class WheelState:
    """What is known of a wheel."""

    def __init__(self, kind: int) -> None:
        self.kind = kind
        self.names: Sequence[str] = ()
        self.position: Optional[int] = None


class FilterWheel:
    """A filter wheel; `camera.wheel` makes it. Positions count from 1."""

    def __init__(self, camera: Instrument, driver: Driver, state: WheelState) -> None:
        self._camera = camera
        self._driver = driver
        self._state = state

    @property
    def kind(self) -> int:
        """Its code, of KINDS."""
        return self._state.kind

    @property
    def names(self) -> Sequence[str]:
        """Of the filters, from position 1 on; may be set."""
        return self._state.names

    @names.setter
    def names(self, names: Sequence[str]) -> None:
        self._state.names = tuple(names)

    @property
    def positions(self) -> Optional[int]:
        """How many there are; None if the wheel's own controller knows alone."""
        return _POSITIONS.get(self.kind)

    @property
    def position(self) -> Optional[int]:
        """Where it was sent, from 1; None ahead of the first move. No wheel can be asked."""
        return self._state.position

    def move(self, filter: Union[int, str]) -> None:
        """Moves to a position, or to a filter, and waits for the end.

        filter: a position from 1 on, or a name of `names`.
        """
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
        values = _values(setting, hold, zero_offset)
        dll, number = self._driver.library.dll, self._driver.number
        self._call("setting up the filter wheel", lambda: dll.QV_OpenFW(*values, number))
        self._note(1)

    def store(self, setting: int, hold: int, zero_offset: int) -> None:
        """Hands the wheel its values as `set_up` does, without a search of the zero position.

        A controller goes to zero first on platforms 22 to 47, a stepper has the values with its
        next move.
        setting, hold, zero_offset: as for `set_up`, in steps.
        """
        values = _values(setting, hold, zero_offset)
        dll, number = self._driver.library.dll, self._driver.number
        self._call("storing the wheel's values", lambda: dll.QV_SetFW(*values, number))

    def _note(self, position: int) -> None:
        self._state.position = position
        known = position <= len(self.names)
        self._driver.filter = self.names[position - 1] if known else str(position)

    def _call(self, doing: str, run: Callable[[], object]) -> None:
        driver = self._driver
        self._camera._need_open(doing)
        self._state.position = driver.filter = None  # until it is known to have arrived

        def move() -> None:
            driver.fresh_status()
            with driver.library.calling():
                run()
                driver.check(doing)

        self._camera._call(doing, move, _LIMIT)


def _values(setting: int, hold: int, zero_offset: int) -> tuple[int, int, int]:
    return (
        whole("setting", setting, -_MOST_STEPS, _MOST_STEPS),
        whole("hold", hold, -_MOST_STEPS, _MOST_STEPS),
        whole("zero_offset", zero_offset, -_MOST_STEPS, _MOST_STEPS),
    )
