"""The metadata of a frame, as they are ahead of its exposure."""
from __future__ import annotations

from typing import TYPE_CHECKING, Optional

from ._request import Request
from .frames import Metadata, Window

if TYPE_CHECKING:
    from ._driver import Driver

#: Samples of a pixel by the mode of the noise reduction.
SAMPLES = (0, 3, 5, 7, 9)


def describe(driver: Driver, request: Request, window: Window) -> Metadata:
    """What is known ahead of the exposure; times and what depends on its end come later."""
    dll, plan, number = driver.library.dll, driver.plan, driver.number
    cooling, binning, now = driver.cooler.is_on(), driver.binning, driver.library.utc()
    gain = dll.QV_GetGain(number)
    return Metadata(
        start=now,
        end=now,
        exposure=request.seconds,
        requested=request.asked(),
        aborted=False,
        light=request.light,
        temperature=driver.recent(),
        set_point=driver.cooler.set_point,
        cooler_power=driver.power() if cooling else 0.0,
        gain=gain,
        binning=binning,
        window=window,
        full_frame=request.window is None,
        platform=plan.platform.code,
        platform_name=plan.platform.name,
        sensor=plan.sensor.code,
        sensor_name=plan.sensor.name,
        serial_number=driver.serial_number,
        pixel_size=(
            driver.ccd.XpixDim * binning.horizontal,
            driver.ccd.YpixDim * binning.vertical,
        ),
        saturation=driver.saturation,
        filter=driver.filter,
        camera=number,
        options=driver.options(),
        virtual=plan.virtual,
        number=request.number,
        frames=request.frames or 1,
        gain_factor=_factor(driver, gain),
        output=plan.config.CcdOutput,
        triggered=request.trigger,
        noise_reduction=SAMPLES[dll.QV_GetDNR(number) % len(SAMPLES)],
        pattern_hash=driver.pattern_hash,
        definition_hash=driver.definition_hash,
    )


def _factor(driver: Driver, gain: int) -> Optional[float]:
    factors = driver.electronics.Gain
    factor = factors[gain] if 0 <= gain < len(factors) else 0.0
    return factor if factor > 0.0 else None
