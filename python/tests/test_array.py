"""Several heads behind one card."""
from __future__ import annotations

import time

import pytest

import qvn
from conftest import MakeWorld

TWO = "time=virtual;platform={},sensor=kaf400e,heads=2,scene=flat,scene=ramp,serial=70"


@pytest.mark.parametrize("platform", [42, 44])
def test_heads_are_exposed_together(make_world: MakeWorld, platform: int) -> None:
    world = make_world(TWO.format(platform))
    with qvn.open_array() as array:
        assert array.heads == (0, 1) and array.number == 1
        begin = world.seconds
        frames = array.expose({0: 60.0, 1: 20.0})
        assert 60.0 <= world.seconds - begin < 80.0  # at a time, and not one behind the other
    assert sorted(frames) == [0, 1]
    assert frames[0].shape == frames[1].shape == array.shape == (512, 768)
    assert (frames[0] == 20000).all()
    assert frames[1][3, 700] == 703
    for head, seconds in ((0, 60.0), (1, 20.0)):
        data = frames[head].metadata
        assert (data.head, data.exposure, data.requested) == (head, seconds, seconds)
        assert data.header()["HEAD"] == (head, "of the array")


def test_the_cooler_is_that_of_the_head_of_the_arrays_number(make_world: MakeWorld) -> None:
    make_world(TWO.format(44))
    with qvn.open_array() as array:
        array.cool(5.0)
        array.wait_until_cold()
        frames = array.expose(0.1, dark=True)
        assert (frames[0] == 0).all() and not frames[0].metadata.light
        assert frames[1].metadata.temperature == pytest.approx(5.0, abs=0.3)
        assert frames[0].metadata.temperature is None  # nobody has asked it
        assert array.temperature == pytest.approx(5.0, abs=0.3)  # also behind a frame of the others


def test_a_head_that_is_not_there_is_named(make_world: MakeWorld) -> None:
    make_world(TWO.format(42))
    with qvn.open_array(heads=[0, 1, 2]) as array:
        with pytest.raises(qvn.HeadFailure, match="head 2") as caught:
            array.expose(0.1)
    assert caught.value.heads == [2] and caught.value.code == 2
    assert sorted(caught.value.frames) == [0, 1]
    assert (caught.value.frames[0] == 20000).all()


def test_exposures_are_for_the_heads_that_are_there(make_world: MakeWorld) -> None:
    make_world(TWO.format(42))
    with qvn.open_array() as array:
        for wrong in ({0: 1.0}, {0: 1.0, 1: 1.0, 2: 1.0}):
            with pytest.raises(ValueError, match="heads"):
                array.expose(wrong)
        with pytest.raises(ValueError, match="exposure"):
            array.expose({0: 1.0, 1: float("nan")})


def test_an_array_wants_to_know_its_heads(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")
    with pytest.raises(qvn.QvnError, match="which heads"):
        qvn.open_array(42)
    with pytest.raises(ValueError, match="head 8"):
        qvn.open_array(42, heads=[8])
    with pytest.raises(ValueError, match="one head"):
        qvn.open_array(42, heads=[])
    with pytest.raises(qvn.UnsupportedPlatform) as caught:
        qvn.open_array(24, heads=[0])
    assert caught.value.code == 12


def test_an_exposure_of_an_array_is_broken_off(make_world: MakeWorld) -> None:
    # Arrays are read pixel by pixel, which takes its time.
    make_world("platform=42,sensor=kaf0260,heads=1,camera=0,scene=flat")
    with qvn.open_array() as array:
        exposure = array.start(600.0)
        while exposure.state != "exposing":
            time.sleep(0.01)
        exposure.abort()
        with pytest.raises(qvn.Aborted):
            exposure.result()
        assert not array.closed


def test_an_array_is_opened_again(make_world: MakeWorld) -> None:
    make_world(TWO.format(42))
    with qvn.open_array() as array:
        array.reopen()
        assert array.expose(0.1)[1][3, 700] == 703
        assert array.service.read_register(0) is not None
