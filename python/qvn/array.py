"""Arrays: several heads behind one interface card, exposed together."""
from __future__ import annotations

from typing import Mapping, Optional, Union

from ._checks import real, time_limit
from ._request import Request
from .exposures import ArrayExposure
from .frames import Frame
from .instrument import Instrument

_LONGEST_EXPOSURE = 2147483.0  # seconds

Seconds = Union[float, Mapping[int, float]]


class Array(Instrument):
    """An open array of heads. `qvn.open_array` makes it.

    Frames come from all heads; everything else is about the head whose number is the array's:
    the library speaks to no other. Methods may be called from any thread. Temperatures are degrees
    Celsius, times seconds.
    """

    @property
    def heads(self) -> tuple[int, ...]:
        """The numbers of the heads, 0 to 7."""
        return self._driver.plan.heads

    @property
    def shape(self) -> tuple[int, int]:
        """Rows and columns of each head's image, in pixels."""
        return self._driver.ccd.Ypix, self._driver.ccd.Xpix

    def expose(
        self,
        seconds: Seconds,
        *,
        dark: bool = False,
        trigger: Optional[bool] = None,
        timeout: Optional[float] = None,
    ) -> dict[int, Frame]:
        """Exposes all heads together and returns their frames by head.

        seconds: of exposure, of all heads or by head. 0 and more.
        dark: the shutters stay closed.
        trigger: the exposure begins with the external trigger.
        timeout: seconds until CameraTimeout is raised; without it the longest exposure and a
            generous time for the readout, and any time for the trigger.

        Where frames of some heads do not arrive, HeadFailure has the others'.
        """
        return self.start(seconds, dark=dark, trigger=trigger, timeout=timeout).result()

    def start(
        self,
        seconds: Seconds,
        *,
        dark: bool = False,
        trigger: Optional[bool] = None,
        timeout: Optional[float] = None,
    ) -> ArrayExposure:
        """Begins what `expose` does and returns at once; `await` it or ask for its `result`.

        Seconds, dark, trigger and timeout are those of `expose`.
        """
        if trigger:
            self._need_trigger("waiting for the trigger")
        exposures = self._by_head(seconds)
        request = Request(
            max(exposures.values()),
            not dark,
            heads=exposures,
            trigger=self._driver.triggered if trigger is None else bool(trigger),
            limit=time_limit("timeout", timeout),
        )
        return ArrayExposure(self, self._driver, request, self._driver.take_heads)

    def _by_head(self, seconds: Seconds) -> dict[int, float]:
        told = seconds if isinstance(seconds, Mapping) else dict.fromkeys(self.heads, seconds)
        if set(told) != set(self.heads):
            raise ValueError(f"exposures of heads {sorted(told)}, the array has {self.heads}")
        return {
            head: real("exposure", told[head], 0.0, _LONGEST_EXPOSURE) for head in self.heads
        }
