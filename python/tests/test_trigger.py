"""The external trigger, and leaving the wait for it."""
from __future__ import annotations

import threading
import time

import pytest

import qvn
from conftest import MakeWorld

ONE = "platform={},sensor=kaf400e,scene=flat"
PATIENCE = 60.0  # seconds


@pytest.mark.parametrize("platform", [24, 30, 44, 60, 70, 300])
def test_the_exposure_begins_with_the_trigger(make_world: MakeWorld, platform: int) -> None:
    world = make_world("time=virtual;" + ONE.format(platform))
    with qvn.open() as camera:
        assert not camera.triggered
        begin = world.seconds
        world.schedule(0, "trigger", 60.0)
        frame = camera.expose(5.0, trigger=True, window=(10, 10, 20, 20))
        data = frame.metadata
        assert data.triggered and data.exposure == 5.0
        # The pattern of the window and the clear come ahead of the wait.
        assert 65.0 <= world.seconds - begin < 75.0
        assert (data.end - data.start).total_seconds() < 10.0
        assert not camera.expose(0.1).metadata.triggered
        assert camera.options & 0x8  # the clears go on


def test_all_frames_of_a_camera_can_wait(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;" + ONE.format(42) + ",trigger=100,trigger=200")
    with qvn.open(options=0x4) as camera:
        assert camera.options & 0x4
        for number, frame in enumerate(camera.frames(0.6, count=2), 1):
            assert frame.metadata.triggered and frame.metadata.options & 0x4
            assert world.seconds >= 100.0 * number
        assert not camera.expose(0.1, trigger=False).metadata.triggered
        camera.set_options(0x4, False)
        assert not camera.expose(0.1).metadata.triggered
        world.schedule(0, "trigger", 50.0)
        cube = camera.kinetics(0.01, 3, window=(0, 0, 8, 8), trigger=True)
        assert cube.metadata.triggered and world.seconds > 250.0


def test_the_regulator_goes_on_while_it_waits(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;" + ONE.format(44))
    with qvn.open() as camera:
        camera.cool(5.0)
        world.schedule(0, "trigger", 900.0)
        camera.expose(0.1, trigger=True)
        assert camera.temperature == pytest.approx(5.0, abs=0.3)


def test_a_trigger_that_does_not_come_is_named(make_world: MakeWorld) -> None:
    make_world("time=virtual;" + ONE.format(44))
    with qvn.open() as camera:
        with pytest.raises(qvn.CameraTimeout, match="trigger.*has not come for 30 s"):
            camera.expose(1.0, trigger=True, timeout=30.0)
        with pytest.raises(qvn.CameraTimeout, match="has not come"):
            camera.wait_for_trigger(timeout=3.0)
        assert (camera.expose(0.1) == 20000).all()


def test_the_wait_can_be_left(make_world: MakeWorld) -> None:
    make_world(ONE.format(44))
    with qvn.open() as camera:
        for leave in (camera.abort, None):
            exposure = camera.start(600.0, trigger=True)
            end = time.monotonic() + PATIENCE
            while exposure.state != "trigger":
                assert time.monotonic() < end
                time.sleep(0.01)
            assert exposure.time_left == 600.0
            (leave or exposure.abort)()
            with pytest.raises(qvn.Aborted) as caught:
                exposure.result()
            assert caught.value.frame is None
        assert (camera.expose(0.05) == 20000).all()


def test_the_host_waits_for_it_itself(make_world: MakeWorld) -> None:
    world = make_world(ONE.format(44))
    with qvn.open() as camera:
        threading.Timer(0.3, world.schedule, (0, "trigger")).start()
        camera.wait_for_trigger(timeout=PATIENCE)


@pytest.mark.parametrize("spec", ["61", "200", "48", "28,link=6"])
def test_where_it_cannot_be_seen_it_is_refused(make_world: MakeWorld, spec: str) -> None:
    make_world(f"time=virtual;platform={spec},sensor=kaf400e")
    with qvn.open() as camera:
        with pytest.raises(qvn.UnsupportedPlatform, match="trigger"):
            camera.triggered
        with pytest.raises(qvn.UnsupportedPlatform, match="trigger"):
            camera.expose(0.1, trigger=True)
