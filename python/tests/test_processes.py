"""Ends and beginnings: dropped cameras, forked processes, callbacks that fail, the exit."""
from __future__ import annotations

import os
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

import qvn
from conftest import MakeWorld

FLAT = "platform=44,sensor=kaf400e,scene=flat"
PATIENCE = 60.0  # seconds


def run_script(text: str, folder: Path) -> subprocess.CompletedProcess[str]:
    head = f"import os, signal, sys, threading, time\nimport qvn\nfolder = {str(folder)!r}\n"
    return subprocess.run(
        [sys.executable, "-c", head + text], capture_output=True, text=True, timeout=PATIENCE
    )


def test_a_callback_that_raises_loses_nothing(
    make_world: MakeWorld, monkeypatch: pytest.MonkeyPatch
) -> None:
    told: list[str] = []
    monkeypatch.setattr(threading, "excepthook", lambda given: told.append(str(given.exc_value)))
    make_world(FLAT)

    def fail(exposure: qvn.Exposure) -> None:
        raise SystemExit("of a callback")

    with qvn.open() as camera:
        exposure = camera.start(0.2)
        exposure.add_done_callback(fail)
        assert (exposure.result() == 20000).all()
        assert (camera.expose(0.05) == 20000).all()  # its thread goes on
    assert told == ["of a callback"]


def test_a_turn_that_fails_loses_nothing(
    make_world: MakeWorld, monkeypatch: pytest.MonkeyPatch
) -> None:
    told: list[str] = []
    monkeypatch.setattr(threading, "excepthook", lambda given: told.append(str(given.exc_value)))
    make_world(FLAT)
    with qvn.open() as camera:
        driver = camera._driver

        def fail(now: float) -> None:
            raise MemoryError("in a turn")

        monkeypatch.setattr(driver.cooler, "next_set_point", fail)
        camera.cool(10.0)
        end = time.monotonic() + PATIENCE
        while not told:
            assert time.monotonic() < end
            time.sleep(0.01)
        assert (camera.expose(0.05) == 20000).all()


def test_an_exposure_keeps_its_camera(make_world: MakeWorld) -> None:
    make_world(FLAT)
    assert (qvn.open().start(0.6).result() == 20000).all()
    end = time.monotonic() + PATIENCE
    while qvn._library.bench().is_taken(0):  # nobody waits for a camera that is dropped
        assert time.monotonic() < end
        time.sleep(0.01)
    for frame in qvn.open().frames(0.05, count=2):
        assert (frame == 20000).all()


def test_many_threads_use_one_camera(make_world: MakeWorld) -> None:
    make_world(FLAT.replace("flat", "ramp"))
    with qvn.open() as camera, ThreadPoolExecutor(6) as pool:

        def window(number: int) -> bool:
            x = 10 * number
            frame = camera.expose(0.02, window=(x, 20, 8, 4))
            camera.gain = number % 4
            assert camera.temperature is not None and camera.cooling.state == "off"
            return bool(frame[1, 1] == x + 1 + 21 and frame.metadata.window.x == x)

        assert all(pool.map(window, range(12)))


def test_two_threads_close_one_camera(make_world: MakeWorld) -> None:
    make_world(FLAT)
    for _ in range(5):
        camera = qvn.open()
        waiting = camera.start(600.0)
        with ThreadPoolExecutor(4) as pool:
            closings = [pool.submit(camera.close) for _ in range(4)]
            for closing in closings:
                closing.result(PATIENCE)
        with pytest.raises(qvn.Aborted):
            waiting.result()
        assert camera.closed


def test_who_stops_waiting_takes_a_setting_back(make_world: MakeWorld) -> None:
    make_world(FLAT)
    with qvn.open() as camera:
        running = camera.start(600.0, timeout=0.2)
        with pytest.raises(qvn.CameraTimeout):
            camera.gain = 3
        running.abort()
        with pytest.raises(qvn.Aborted):
            running.result()
        camera.clear()  # it comes behind all that was waiting
        assert camera.gain == 0


def test_a_forked_process_leaves_the_cameras_to_its_parent(folder: Path) -> None:
    done = run_script(
        f"""
world = qvn.virtual("{FLAT}", folder=folder)
camera = qvn.open()
camera.cool(10.0)
exposure = camera.start(1.0)
while exposure.state != "exposing": time.sleep(0.01)
child = os.fork()
if child == 0:
    problems = []
    for call in (lambda: camera.expose(0.1), exposure.result, qvn.open,
                 lambda: qvn.virtual("platform=44"), lambda: camera.temperature):
        try: call()
        except qvn.QvnError as error: problems.append(type(error).__name__)
    print(*problems, camera.closed, flush=True)
    camera.close(); world.close()
    sys.exit(7)
_, status = os.waitpid(child, 0)
print(os.waitstatus_to_exitcode(status), exposure.result()[5, 5], camera.expose(0.1)[5, 5])
""",
        folder,
    )
    assert done.stderr == ""
    assert done.stdout == (
        "CameraClosed CameraClosed QvnError QvnError CameraClosed True\n7 20000 20000\n"
    )


def test_a_process_that_is_forked_early_has_cameras_of_its_own(folder: Path) -> None:
    done = run_script(
        f"""
qvn.platforms()
child = os.fork()
if child != 0: os.waitpid(child, 0)  # they share a folder, and so a pattern file
with qvn.virtual("{FLAT}", folder=folder), qvn.open() as camera:
    print(int(camera.expose(0.05)[5, 5]), flush=True)
""",
        folder,
    )
    assert done.stdout == "20000\n20000\n", done.stderr


def test_the_sample_folder_stays_until_its_process_ends(folder: Path) -> None:
    done = run_script(
        """
os.chdir(folder); os.remove("qvn.cfg")
scratch = qvn._library.native().use_folder(None)
if os.fork() == 0: sys.exit(0)
os.wait()
print((scratch / "qvn.cfg").is_file(), scratch, flush=True)
""",
        folder,
    )
    there, scratch = done.stdout.split()
    assert there == "True" and not Path(scratch).exists(), done.stderr


@pytest.mark.parametrize("end", ["", "sys.exit(3)", "raise ValueError('of the host')"])
def test_the_exit_does_not_wait_for_an_exposure(folder: Path, end: str) -> None:
    start = time.monotonic()
    done = run_script(
        f"""
world = qvn.virtual("{FLAT}", folder=folder)
camera = qvn.open()
exposures = [camera.start(600.0), camera.start(600.0), camera.start(600.0, trigger=True)]
while exposures[0].state != "exposing": time.sleep(0.01)
{end}
""",
        folder,
    )
    assert time.monotonic() - start < PATIENCE
    assert done.returncode == {"": 0, "sys.exit(3)": 3}.get(end, 1)
    assert "Fatal" not in done.stderr and ("of the host" in done.stderr) == ("host" in end)


@pytest.mark.parametrize(
    "call",
    [
        "camera.expose(600.0)",
        "camera.start(600.0).result()",
        "camera.expose(600.0, trigger=True)",
        "camera.kinetics(600.0, 3, window=(0, 0, 8, 8))",
        "camera.kinetics_in_sensor(5.0, 3, 8)",
        "camera.wait_for_trigger()",
        "camera.cool(-50.0) or camera.wait_until_cold()",
        "camera.cool(-50.0) or camera.warm_up(to=50.0, ramp=0.1)",
        "camera.arm(600.0).start()",
        "camera.arm(600.0).start(trigger=True)",
        "next(iter(camera.frames(600.0)))",
        "world.sleep(600.0)",
        "asyncio.run(wait(camera.start(600.0)))",
    ],
)
def test_ctrl_c_ends_every_wait(folder: Path, call: str) -> None:
    done = run_script(
        f"""
import asyncio
async def wait(exposure): await exposure
world = qvn.virtual("{FLAT}", folder=folder)
camera = qvn.open()
threading.Timer(0.7, os.kill, (os.getpid(), signal.SIGINT)).start()
begin = time.monotonic()
try:
    {call}
except KeyboardInterrupt:
    print("ended", time.monotonic() - begin < 10.0)
camera.close()
""",
        folder,
    )
    assert done.stdout == "ended True\n", done.stderr


def test_a_closed_number_can_lend_its_record(make_world: MakeWorld, folder: Path) -> None:
    """Patterns report their progress to what the number's last camera has told the library."""
    make_world("time=virtual;platform=44,sensor=kaf400e,camera=7")
    for _ in range(3):
        qvn.open().close()
        assert qvn.pattern(42, "kaf1600").height == 1024


def test_the_environment_is_left_alone(folder: Path) -> None:
    before = sorted(os.listdir(folder))
    with qvn.virtual("time=virtual;" + FLAT, folder=folder), qvn.open() as camera:
        camera.expose(0.0)
    assert sorted(os.listdir(folder)) == sorted([*before, "wave.bin"])
