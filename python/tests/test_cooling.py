"""Cooling on the virtual clock."""
from __future__ import annotations

import pytest

import qvn
from conftest import MakeWorld
from qvn._cooler import Cooler


def test_waiting_ends_when_the_sensor_is_cold(flat: qvn.Camera) -> None:
    assert flat.cooling.state == "off"
    flat.cool(-15.04)
    assert flat.cooling.state == "regulating"
    flat.wait_until_cold()
    state = flat.cooling
    assert state.state == "at target"
    assert state.target == state.set_point == -15.0  # to tenths
    assert state.temperature == pytest.approx(-15.0, abs=0.2)
    assert flat.temperature == state.temperature
    # At full drive the sensor is 60 degrees below its surroundings: 35 of 60 take 58 percent.
    assert state.power == pytest.approx(58.3, abs=3.0)
    frame = flat.expose(60.0)
    assert frame.metadata.set_point == -15.0
    assert frame.metadata.temperature == pytest.approx(-15.0, abs=0.4)
    assert frame.metadata.cooler_power > 50.0


def test_what_counts_as_cold_stays_cold(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with world.open() as camera:
        # The drive begins too high for this: the sensor runs through the target and comes back.
        camera.cool(5.0)
        camera.wait_until_cold()
        for _ in range(10):
            world.sleep(30.0)
            assert camera.temperature == pytest.approx(5.0, abs=0.3)


def test_long_exposures_go_on_regulating(flat: qvn.Camera) -> None:
    flat.cool(-10.0)
    flat.expose(300.0)
    # The drive begins at 30 percent, which is 18 degrees below the surroundings of 20 degrees.
    assert flat.cooling.power > 32.0
    assert flat.temperature is not None and flat.temperature < 1.0


def test_a_ramp_takes_its_time(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with world.open() as camera:
        camera.cool(10.0, ramp=2.0)
        begin = world.seconds
        assert camera.cooling.state == "ramping"
        world.sleep(60.0)
        assert camera.cooling.set_point == pytest.approx(18.0, abs=0.2)  # from 20 on
        camera.wait_until_cold()
        # Ten degrees at two a minute.
        assert world.seconds - begin >= 295.0


def test_time_without_a_look_does_not_make_the_ramp_jump() -> None:
    cooler = Cooler()
    assert cooler.start(-20.0, 6.0, 20.0, 100.0) == 20.0  # a tenth of a degree a second
    assert cooler.next_set_point(101.0) == 19.9
    assert cooler.next_set_point(101.5) is None  # half a tenth
    assert cooler.next_set_point(102.0) == 19.8
    assert cooler.next_set_point(702.0) == 19.7  # an exposure of ten minutes lay between
    assert cooler.start(20.0, None, 5.0, 0.0) == 20.0
    assert cooler.next_set_point(1.0) is None


def test_a_target_out_of_reach_is_told(flat: qvn.Camera) -> None:
    flat.cool(-60.0)
    with pytest.raises(qvn.CameraTimeout, match=r"sensor is at -\d.*cooler at") as caught:
        flat.wait_until_cold(timeout=1200.0)
    assert "warmer target" in caught.value.hint
    assert flat.cooling.power == 100.0


def test_warming_up_ends_with_the_cooler_off(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with world.open() as camera:
        camera.cool(-10.0)
        camera.wait_until_cold()
        begin = world.seconds
        camera.warm_up(to=10.0, ramp=4.0)
        assert world.seconds - begin >= 295.0  # 20 degrees at 4 a minute
        assert camera.cooling.state == "off"
        assert camera.cooling.power == 0.0
        assert camera.temperature is not None and camera.temperature > 5.0
        world.sleep(600.0)
        assert camera.temperature == pytest.approx(20.0, abs=0.3)


def test_waiting_needs_a_cooler_that_is_on(flat: qvn.Camera) -> None:
    with pytest.raises(qvn.QvnError, match="cooler is off"):
        flat.wait_until_cold()
    flat.warm_up()  # nothing to do


@pytest.mark.parametrize("celsius", [-200.0, 80.0, float("nan")])
def test_targets_that_no_cooler_has_are_refused(flat: qvn.Camera, celsius: float) -> None:
    with pytest.raises(ValueError, match="target"):
        flat.cool(celsius)
    with pytest.raises(ValueError, match="ramp"):
        flat.cool(0.0, ramp=-5.0)


def test_closing_switches_the_cooler_off(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with world.open() as camera:
        camera.cool(0.0)
        camera.wait_until_cold()
    world.sleep(600.0)
    with world.open() as camera:
        assert camera.temperature == pytest.approx(20.0, abs=0.3)


def test_each_of_two_cameras_is_regulated(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e;platform=42,sensor=kaf400e")
    with world.open() as one, world.open() as other:
        one.cool(5.0)
        other.cool(-5.0)
        one.wait_until_cold()
        other.wait_until_cold()
        assert one.temperature == pytest.approx(5.0, abs=0.3)
        assert other.temperature == pytest.approx(-5.0, abs=0.3)


def test_in_real_time_the_cameras_thread_regulates(make_world: MakeWorld) -> None:
    make_world("platform=44,sensor=kaf400e,ambient=20")
    with qvn.open() as camera:
        camera.cool(20.0)  # where it is already
        camera.wait_until_cold(timeout=60.0, tolerance=5.0, settle=3.0)
        assert camera.cooling.temperature == pytest.approx(20.0, abs=5.0)
