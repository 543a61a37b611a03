"""The filter wheel."""
from __future__ import annotations

import pytest

import qvn
from conftest import MakeWorld


def test_a_controller_goes_where_it_is_sent(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=61,sensor=kaf400e,scene=dark,wheel=nibble")
    with qvn.open() as camera:
        wheel = camera.wheel
        assert wheel is not None
        assert wheel.position is None and wheel.positions is None
        assert camera.expose(0.0).metadata.filter is None
        wheel.names = ["L", "R", "G", "B"]
        wheel.calibrate()
        assert wheel.position == 1
        wheel.move("G")
        assert wheel.position == 3
        assert camera.expose(0.0).metadata.filter == "G"
        wheel.move(5)
        assert camera.expose(0.0).metadata.header()["FILTER"] == ("5", "filter wheel")


@pytest.mark.parametrize("positions", [6, 8])
def test_a_stepper_finds_its_zero(make_world: MakeWorld, positions: int) -> None:
    make_world(f"time=virtual;platform=44,sensor=kaf400e,wheel={positions}")
    with qvn.open() as camera:
        wheel = camera.wheel
        assert wheel is not None and wheel.positions == positions
        wheel.set_up(setting=0, hold=0, zero_offset=0)
        assert wheel.position == 1
        wheel.move(4)
        assert wheel.position == 4


def test_a_wheel_without_its_zero_is_told(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")  # the camera, but no wheel
    with qvn.open(wheel="stepper-8") as camera:
        wheel = camera.wheel
        assert wheel is not None and wheel.positions == 8
        with pytest.raises(qvn.FilterWheelError, match="zero position") as caught:
            wheel.calibrate()
        assert caught.value.code == 7
        assert wheel.position is None
        camera.binning = 2  # although the status was left over


def test_places_that_the_wheel_has_not_are_refused(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")
    with qvn.open(wheel="stepper-6") as camera:
        wheel = camera.wheel
        assert wheel is not None
        wheel.names = ["L", "R"]
        for place in (0, 7):
            with pytest.raises(ValueError, match="1 to 6"):
                wheel.move(place)
        with pytest.raises(ValueError, match="names: L, R"):
            wheel.move("Ha")
    with pytest.raises(ValueError, match="stepper-8"):
        qvn.open(wheel="stepper-5")


def test_without_a_wheel_there_is_none(flat: qvn.Camera) -> None:
    assert flat.wheel is None
