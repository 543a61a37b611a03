"""Frames in steps: armed, started, fetched."""
from __future__ import annotations

import numpy as np
import pytest

import qvn
from conftest import MakeWorld

PLATFORMS = (24, 30, 42, 44, 47)


@pytest.mark.parametrize("platform", PLATFORMS)
def test_a_frame_is_taken_in_steps(make_world: MakeWorld, platform: int) -> None:
    world = make_world(f"time=virtual;platform={platform},sensor=kaf400e,scene=ramp")
    with qvn.open() as camera:
        whole = camera.expose(0.1)
        armed = camera.arm(20.0)
        world.sleep(100.0)  # it is not started
        assert not armed.ready
        begin = world.seconds
        armed.start()
        assert not armed.ready
        frame = armed.fetch()
        assert 20.0 <= world.seconds - begin < 60.0
        # The first four pixels of a transfer are left out, so those of the last row differ.
        np.testing.assert_array_equal(frame[:-1], whole[:-1])
        assert (frame.metadata.exposure, frame.metadata.triggered) == (20.0, False)
        assert frame.metadata.window == (0, 0, 768, 512)
        assert (camera.expose(0.1) == whole).all()


def test_the_camera_does_nothing_else_meanwhile(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")
    with qvn.open() as camera:
        camera.cool(5.0)
        armed = camera.arm(1.0)
        for forbidden in (lambda: camera.expose(0.1), lambda: camera.arm(1.0), camera.clear):
            with pytest.raises(qvn.QvnError, match="armed exposure is under way"):
                forbidden()
        assert camera.temperature is not None  # the last reading
        armed.flush()
        armed.flush()
        camera.clear()
        camera.wait_until_cold()


def test_steps_out_of_order_are_told(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=47,sensor=kaf400e,scene=flat")
    with qvn.open() as camera:
        armed = camera.arm(1.0)
        with pytest.raises(qvn.QvnError, match="not started"):
            armed.fetch()
        armed.start()
        with pytest.raises(qvn.QvnError, match="started already"):
            armed.start()
        armed.fetch()
        with pytest.raises(qvn.QvnError, match="fetched or given up"):
            armed.fetch()
        with pytest.raises(qvn.QvnError, match="fetched or given up"):
            armed.start()


@pytest.mark.parametrize("platform", PLATFORMS)
def test_the_trigger_starts_it(make_world: MakeWorld, platform: int) -> None:
    world = make_world(f"time=virtual;platform={platform},sensor=kaf400e,scene=flat")
    with qvn.open() as camera:
        armed = camera.arm(5.0)
        world.schedule(0, "trigger", 30.0)
        begin = world.seconds
        armed.start(trigger=True)
        frame = armed.fetch()
        assert 35.0 <= world.seconds - begin < 80.0
        assert frame.metadata.triggered and frame[5, 5] == 20000


def test_a_trigger_that_does_not_come_is_given_up(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e;platform=47,sensor=kaf400e")
    with qvn.open() as camera, qvn.open() as other:
        armed = camera.arm(1.0)
        with pytest.raises(qvn.CameraTimeout, match="trigger has not come"):
            armed.start(trigger=True, timeout=20.0)
        armed.flush()
        # This one waits by itself, and the frame does not arrive.
        armed = other.arm(1.0)
        armed.start(trigger=True)
        with pytest.raises(qvn.CameraTimeout, match="not arrived"):
            armed.fetch(timeout=20.0)
        armed.flush()
        assert other.expose(0.1).shape == other.shape


def test_what_cannot_be_armed_says_why(make_world: MakeWorld) -> None:
    make_world(
        "time=virtual;platform=61,sensor=kaf400e;platform=44,sensor=kaf400e,revision=100"
    )
    with qvn.open() as camera:
        with pytest.raises(qvn.UnsupportedPlatform, match="no such thing"):
            camera.arm(1.0)
    with qvn.open(camera=1) as camera:
        with pytest.raises(qvn.UnsupportedPlatform, match="holds a line"):
            camera.arm(1.0)


def test_a_binned_camera_is_not_armed(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")
    with qvn.open() as camera:
        camera.binning = 2
        with pytest.raises(qvn.QvnError, match="unbinned"):
            camera.arm(1.0)
    camera.close()


def test_closing_gives_it_up(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=47,sensor=kaf400e,scene=flat")
    camera = qvn.open()
    camera.arm(1.0).start()
    camera.close()
    with qvn.open() as camera:
        assert (camera.expose(0.1) == 20000).all()
