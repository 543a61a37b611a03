"""Hostile arguments: refused in words, and nothing is lost."""
from __future__ import annotations

from pathlib import Path
from typing import Any, Callable

import numpy as np
import pytest

import qvn
from conftest import MakeWorld

NAN, INF = float("nan"), float("inf")
HUGE = 2**31 + 5  # 5, where somebody cuts it to 31 bits
LONG = 2**32 + 2  # and 2 in 32


def _with_window(camera: qvn.Camera, window: tuple[int, int, int, int]) -> None:
    camera.window = window
    camera.expose(0.1)


CALLS: dict[str, Callable[[qvn.Camera], Any]] = {
    "exposure below 0": lambda c: c.expose(-0.1),
    "exposure that is no number": lambda c: c.expose(NAN),
    "exposure without end": lambda c: c.start(INF),
    "exposure of years": lambda c: c.expose(1e12),
    "exposure as text": lambda c: c.expose("a minute"),  # type: ignore[arg-type]
    "window to the left": lambda c: c.expose(0.1, window=(-2, 0, 8, 8)),
    "window cut to 32 bits": lambda c: c.expose(0.1, window=(LONG, 0, 8, 8)),
    "window with a huge width": lambda c: c.expose(0.1, window=(0, 0, 2**40, 8)),
    "window of three": lambda c: c.expose(0.1, window=(0, 0, 8)),  # type: ignore[arg-type]
    "window of fractions": lambda c: c.expose(0.1, window=(0.5, 0, 8, 8)),  # type: ignore
    "window of the camera": lambda c: _with_window(c, (0, 0, 9999, 8)),
    "timeout that is no number": lambda c: c.expose(0.1, timeout=NAN),
    "timeout below 0": lambda c: c.expose(0.1, timeout=-1.0),
    "period that is no number": lambda c: c.expose(0.1, period=NAN),
    "binning of 0": lambda c: setattr(c, "binning", 0),
    "binning of a billion": lambda c: setattr(c, "binning", (10**9, 1)),
    "binning cut to 32 bits": lambda c: setattr(c, "binning", (1, LONG)),
    "binning of fractions": lambda c: setattr(c, "binning", 1.5),
    "binning of three": lambda c: setattr(c, "binning", (1, 1, 1)),
    "gain below 0": lambda c: setattr(c, "gain", -1),
    "gain cut to 32 bits": lambda c: setattr(c, "gain", LONG),
    "gain of a fraction": lambda c: setattr(c, "gain", 0.5),
    "count below 1": lambda c: c.kinetics(0.1, 0, window=(0, 0, 8, 8)),
    "count beyond all memory": lambda c: c.kinetics(0.1, 10**12, window=(0, 0, 8, 8)),
    "frames below 0": lambda c: c.frames(0.1, count=-1),
    "shifts cut to 32 bits": lambda c: c.kinetics_in_sensor(0.1, LONG, 1),
    "lines below 0": lambda c: c.kinetics_in_sensor(0.1, 1, -1),
    "armed for no number": lambda c: c.arm(NAN),
    "cold without end": lambda c: c.cool(-INF),
    "ramp that is no number": lambda c: c.cool(0.0, ramp=NAN),
    "tolerance that is no number": lambda c: c.wait_until_cold(tolerance=NAN),
    "wait that is no number": lambda c: c.wait_until_cold(timeout=NAN),
    "settling that is no number": lambda c: c.wait_until_cold(settle=NAN),
    "drive of no number": lambda c: c.drive_cooler(NAN),
    "drive above all": lambda c: c.drive_cooler(101.0),
    "shutter for no number": lambda c: c.open_shutter(NAN),
    "trigger awaited below 0": lambda c: c.wait_for_trigger(-1.0),
    "file with a NUL": lambda c: c.save_config("camera.cfg\0.txt"),
    "register below 0": lambda c: c.service.read_register(-1),
    "register cut to 32 bits": lambda c: c.service.write_register(LONG, 0),
    "value cut to 16 bits": lambda c: c.service.write_register(0, 65536),
    "value below 0": lambda c: c.service.write_memory(0, -1),
    "address cut to 32 bits": lambda c: c.service.read_byte(LONG),
    "byte of nine bits": lambda c: c.service.write_byte(0, 256),
    "serial number beyond 31 bits": lambda c: c.service.set_serial_number(HUGE),
    "sub-camera that is none": lambda c: c.service.select_sub_camera(4),
    "calibration of no number": lambda c: c.service.calibrate_temperature(NAN, 1.0),
    "options of the service": lambda c: c.set_options(0x1),
    "options below 0": lambda c: c.set_options(-1),
    "front end beyond its range": lambda c: c.set_user_gain(256, 0),
}


@pytest.mark.parametrize("name", CALLS)
def test_a_camera_refuses(flat: qvn.Camera, name: str) -> None:
    with pytest.raises((ValueError, TypeError)):
        CALLS[name](flat)
    flat.window = None
    assert flat.binning == (1, 1) and flat.gain == 0
    assert (flat.expose(0.1) == 20000).all()
    assert not flat.expose(0.1).metadata.aborted


OPENS: dict[str, dict[str, Any]] = {
    "platform with a NUL": {"platform": "BRIAR-R3\0"},
    "sensor with a NUL": {"platform": 44, "sensor": "kaf400e\0x"},
    "config with a NUL": {"config": "camera.cfg\0x"},
    "folder with a NUL": {"folder": "/tmp\0x"},
    "camera below 0": {"camera": -1},
    "camera cut to 32 bits": {"camera": 2**32},
    "camera as text": {"camera": "0"},
    "address beyond all ports": {"address": 2**32 + 0x378},
    "link that is none": {"link": "wire"},
    "link cut to 32 bits": {"link": LONG},
    "decoder cut to 32 bits": {"decoder": LONG},
    "wheel that is none": {"wheel": 9},
    "options cut to 32 bits": {"options": 2**32},
    "options below 0": {"options": -1},
    "sub-camera that is none": {"sub_camera": 4},
    "output that is none": {"output": -1},
}


@pytest.mark.parametrize("name", OPENS)
def test_opening_refuses(make_world: MakeWorld, name: str) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat")
    with pytest.raises((ValueError, TypeError)):
        qvn.open(**OPENS[name])
    with qvn.open() as camera:
        assert (camera.expose(0.1) == 20000).all()


def test_a_world_refuses(make_world: MakeWorld, tmp_path: Path) -> None:
    with pytest.raises(ValueError, match="NUL"):
        make_world("platform=44,sensor=kaf400e\0,scene=dark")
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with pytest.raises(ValueError, match="NUL"):
        world.trace(f"{tmp_path}/trace\0.txt")
    with pytest.raises(ValueError, match="no numbers"):
        world.set_scene(0, [[NAN, 1.0]])
    for shape in ((0, 4), (4,), (1, 2, 3), (1, 70000)):
        with pytest.raises(ValueError, match="rows and columns"):
            world.set_scene(0, np.zeros(shape))
    with pytest.raises(ValueError, match="camera"):
        world.set_scene(LONG, [[1.0]])
    with pytest.raises(ValueError, match="seconds"):
        world.sleep(NAN)
    for wrong in ((LONG, "off", 0.0), (0, "explode", 0.0)):
        with pytest.raises(ValueError):
            world.schedule(*wrong)
    with pytest.raises(qvn.QvnError):
        world.schedule(0, "off", NAN)


def test_a_pattern_refuses(folder: Path) -> None:
    for wrong in (
        {"binning": 0},
        {"binning": LONG},
        {"window": (LONG, 0, 8, 8)},
        {"window": (0, 0, 8)},
        {"link": LONG},
    ):
        with pytest.raises(ValueError):
            qvn.pattern(42, 255, folder=folder, **wrong)  # type: ignore[arg-type]


def test_a_wheel_refuses(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,wheel=8")
    with qvn.open() as camera:
        wheel = camera.wheel
        assert wheel is not None
        wrongs: list[Callable[[qvn.FilterWheel], None]] = [
            lambda wheel: wheel.move(LONG),
            lambda wheel: wheel.move("R\0"),
            lambda wheel: wheel.set_up(LONG, 0, 0),
            lambda wheel: wheel.store(0, 0, 2**40),
        ]
        for wrong in wrongs:
            with pytest.raises(ValueError):
                wrong(wheel)
        wheel.store(0, 1, 0)
        wheel.calibrate()
        assert wheel.position == 1
