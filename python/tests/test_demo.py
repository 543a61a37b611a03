"""The simulated camera, by libqvn and without a virtual world."""
from __future__ import annotations

from pathlib import Path
from typing import Iterator

import numpy as np
import pytest
from numpy.typing import ArrayLike

import qvn


@pytest.fixture
def demo(folder: Path) -> Iterator[qvn.Camera]:
    """1536 x 1024 pixels that see one bright block: columns 400 to 499, rows 300 to 379."""
    sky = np.zeros((2048, 3072), "<u2")
    top, left = (2048 - 1024) // 2, (3072 - 1536) // 2  # the sensor sees the middle
    sky[top + 300 : top + 380, left + 400 : left + 500] = 50000
    sky.tofile(folder / "starfield.raw")
    with qvn.open("DEMO", "kaf1600", folder=folder) as camera:
        yield camera


def is_lit(pixels: ArrayLike) -> bool:
    return bool(np.mean(np.asarray(pixels, float)) > 10000.0)


def test_a_frame_shows_the_sky(demo: qvn.Camera) -> None:
    frame = demo.expose(0.6)
    assert frame.shape == demo.shape == (1024, 1536)
    assert is_lit(frame[300:380, 400:500])
    assert not is_lit(frame[:290]) and not is_lit(frame[:, 510:])
    assert not is_lit(demo.expose(0.6, dark=True))
    assert not frame.metadata.virtual
    assert frame.metadata.platform_name == "DEMO"


def test_a_window_is_where_it_was_asked_for(demo: qvn.Camera) -> None:
    inside = demo.expose(0.6, window=(400, 300, 100, 80))
    assert inside.metadata.window == (400, 300, 100, 80)
    assert is_lit(inside[:, :5]) and is_lit(inside[:, -5:]) and is_lit(inside[-5:])
    assert not is_lit(demo.expose(0.6, window=(300, 300, 98, 80)))


def test_a_binned_window_is_counted_in_binned_pixels(demo: qvn.Camera) -> None:
    demo.binning = (1, 4)
    inside = demo.expose(0.6, window=(400, 75, 100, 20))
    assert inside.shape == (20, 100)
    assert is_lit(inside[:2]) and is_lit(inside[-2:])
    assert not is_lit(demo.expose(0.6, window=(400, 60, 100, 14)))


def test_the_simulated_camera_has_five_gains(demo: qvn.Camera) -> None:
    demo.gain = 4
    assert demo.gain == 4
    with pytest.raises(ValueError, match="0 to 4"):
        demo.gain = 5


def test_real_and_virtual_cameras_live_side_by_side(demo: qvn.Camera, folder: Path) -> None:
    text = "time=virtual;platform=44,sensor=kaf400e,scene=flat"
    with qvn.virtual(text, folder=folder), qvn.open() as other:
        assert other.number == demo.number == 0
        assert (other.expose(60.0) == 20000).all()
        assert is_lit(demo.expose(0.6)[300:380, 400:500])
