"""Triggers, pulled plugs and silence of virtual cameras."""
from __future__ import annotations

import pytest

import qvn
from conftest import MakeWorld

EXTERNAL_TRIGGER = 0x4


def test_a_frame_waits_for_the_trigger(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=42,sensor=kaf400e,scene=flat,trigger=60")
    with qvn.open(options=EXTERNAL_TRIGGER) as camera:
        assert world.seconds < 60.0
        assert (camera.expose(0.1) == 20000).all()
        assert world.seconds >= 60.0
        begun = world.seconds
        world.schedule(0, "trigger", 30.0)
        camera.expose(0.1)
        assert world.seconds >= begun + 30.0


def test_a_camera_comes_back_behind_a_pulled_plug(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=300,sensor=kaf400e,scene=flat")
    with qvn.open() as camera:
        world.schedule(0, "off")
        with pytest.raises(qvn.LinkFailure):
            camera.expose(0.1)
        world.schedule(0, "on")
        camera.reopen()
        assert (camera.expose(0.1)[0] == 20000).all()


def test_a_silent_camera_is_heard_again(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=300,sensor=kaf400e,scene=flat,event=100:silent")
    with qvn.open() as camera:
        world.sleep(100.0)
        with pytest.raises(qvn.LinkFailure):
            camera.expose(0.1)
        world.schedule(0, "answering")
        camera.reopen()
        assert (camera.expose(0.1)[0] == 20000).all()


def test_what_cannot_happen_is_refused(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=42,sensor=kaf400e")
    with pytest.raises(ValueError, match="none of trigger"):
        world.schedule(0, "fire")
    with pytest.raises(qvn.QvnError, match="one of \\[0\\]"):
        world.schedule(1, "off")
    with pytest.raises(qvn.QvnError):
        world.schedule(0, "off", -1.0)
