"""Exposures in the background, breaking them off, several cameras and threads, the end."""
from __future__ import annotations

import asyncio
import os
import signal
import subprocess
import sys
import threading
import time
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path
from typing import Iterator, Optional

import pytest

import qvn
from conftest import MakeWorld
from qvn._worker import Job, Worker

FLAT = "platform=44,sensor=kaf400e,scene=flat"
PATIENCE = 60.0  # seconds, of which none is needed


@pytest.fixture
def real(make_world: MakeWorld) -> Iterator[qvn.Camera]:
    """A camera whose exposures take as long as they say."""
    make_world(FLAT)
    with qvn.open() as camera:
        yield camera


def wait_for(exposure: qvn.Exposure, state: str) -> None:
    end = time.monotonic() + PATIENCE
    while exposure.state != state:
        assert time.monotonic() < end, f"{exposure.state}, not {state}"
        time.sleep(0.01)


def test_an_exposure_goes_on_by_itself(real: qvn.Camera) -> None:
    exposure = real.start(1.5)
    wait_for(exposure, "exposing")  # so the interpreter goes on while the library waits
    assert not exposure.done()
    assert 0.0 <= exposure.time_left <= 1.5
    assert exposure.percent == 0
    assert real.temperature is not None  # does not wait either
    assert (exposure.result() == 20000).all()
    assert (exposure.state, exposure.time_left, exposure.percent) == ("done", 0.0, 100)


def test_abort_from_another_thread_breaks_the_exposure(real: qvn.Camera) -> None:
    exposure = real.start(600.0)
    wait_for(exposure, "exposing")
    threading.Thread(target=real.abort).start()
    with pytest.raises(qvn.Aborted) as caught:
        exposure.result()
    frame = caught.value.frame
    assert frame is not None and frame.shape == (512, 768)
    assert frame.metadata.aborted
    assert frame.metadata.requested == 600.0
    assert 0.0 <= frame.metadata.exposure < PATIENCE
    assert not real.expose(0.1).metadata.aborted  # and the camera goes on


def test_an_abort_that_comes_early_is_not_lost(real: qvn.Camera) -> None:
    for _ in range(3):
        exposure = real.start(600.0)
        exposure.abort()
        with pytest.raises(qvn.Aborted):
            exposure.result()


def test_an_exposure_that_waits_is_dropped(real: qvn.Camera) -> None:
    running, waiting, last = real.start(1.0), real.start(600.0), real.start(0.1)
    waiting.abort()
    with pytest.raises(qvn.Aborted) as caught:
        waiting.result()
    assert caught.value.frame is None
    assert not running.result().metadata.aborted
    assert not last.result().metadata.aborted
    real.abort()  # nothing runs: nothing happens


def test_a_window_is_looked_at_when_its_turn_comes(real: qvn.Camera) -> None:
    running = real.start(1.0)
    with ThreadPoolExecutor(1) as pool:
        binned = pool.submit(setattr, real, "binning", 2)
        while not real._driver.worker._jobs.qsize():  # it waits for its turn
            time.sleep(0.01)
        late = real.start(0.1, window=(500, 0, 100, 10))
        binned.result()
    assert running.result().shape == (512, 768)
    with pytest.raises(ValueError, match="384 x 256"):
        late.result()


def test_a_series_is_broken_off(real: qvn.Camera) -> None:
    def series() -> qvn.Frame:
        return real.kinetics(600.0, 3, window=(0, 0, 8, 8))

    with ThreadPoolExecutor(1) as pool:
        future = pool.submit(series)
        while not future.done():
            real.abort()
            time.sleep(0.1)
        with pytest.raises(qvn.Aborted) as caught:
            future.result()
    frame = caught.value.frame
    assert frame is None or frame.metadata.aborted


def test_closing_breaks_off_what_runs(real: qvn.Camera) -> None:
    running, waiting = real.start(600.0), real.start(600.0)
    wait_for(running, "exposing")
    real.close()
    for exposure in (running, waiting):
        with pytest.raises(qvn.Aborted):
            exposure.result()


def test_a_frame_that_takes_too_long_is_given_up(real: qvn.Camera) -> None:
    with pytest.raises(qvn.CameraTimeout, match="taking a frame has not come back") as caught:
        real.expose(600.0, timeout=0.3)
    assert isinstance(caught.value, TimeoutError)
    assert (real.expose(0.1) == 20000).all()  # the exposure was broken off


def test_who_waits_behind_a_call_that_hangs_is_told(real: qvn.Camera) -> None:
    hanging = real.start(600.0, timeout=0.3)
    wait_for(hanging, "exposing")
    with pytest.raises(qvn.CameraTimeout):
        real.gain = 1
    hanging.abort()


def test_calls_of_one_camera_wait_for_one_another(real: qvn.Camera) -> None:
    with ThreadPoolExecutor(8) as pool:
        frames = list(pool.map(lambda _: real.expose(0.05, window=(0, 0, 100, 8)), range(8)))
    spans = sorted((frame.metadata.start, frame.metadata.end) for frame in frames)
    for before, after in zip(spans, spans[1:]):
        assert before[1] <= after[0]
    assert all((frame[:7] == 20000).all() for frame in frames)


def test_two_cameras_in_two_threads_do_not_mix(make_world: MakeWorld) -> None:
    world = make_world(f"{FLAT};platform=24,sensor=kaf400e,scene=ramp")

    def windows(camera: qvn.Camera, first: int, step: int) -> None:
        """All windows, each a pattern of its own, in the one file that they share."""
        for x in (10, 40, 200):
            camera.binning = 2 if x == 40 else 1
            frame = camera.expose(0.6 if x == 200 else 0.05, window=(x, 20, 8, 4))
            if x != 40:
                assert frame[1, 1] == first + step * (x + 1 + 21)

    with world.open() as flat, world.open() as ramp, ThreadPoolExecutor(2) as pool:
        flat.cool(15.0)
        ramp.cool(15.0)
        for future in [pool.submit(windows, flat, 20000, 0), pool.submit(windows, ramp, 0, 1)]:
            future.result()
        assert flat.cooling.state != "no readings"


def test_one_camera_hangs_and_the_other_goes_on(make_world: MakeWorld) -> None:
    world = make_world("platform=44,sensor=kaf400e;platform=42,sensor=kaf400e,scene=flat")
    with world.open() as one, world.open() as other:
        long = one.start(600.0)
        wait_for(long, "exposing")
        assert (other.expose(0.6) == 20000).all()
        other.binning = 2
        assert (other.expose(0.1, window=(2, 2, 8, 8))[0] == 65535).all()
        assert long.state == "exposing"


@pytest.mark.parametrize("platform", [48, 300])
def test_cameras_that_share_a_binning_take_turns(make_world: MakeWorld, platform: int) -> None:
    one = f"platform={platform},sensor=kaf400e,scene=ramp"
    world = make_world(f"time=virtual;{one};{one}")
    with world.open() as plain, world.open() as binned:
        whole = plain.expose(0.1)
        assert whole[3, 300] == 303
        binned.binning = 2
        halves = binned.expose(0.1)
        # Columns 200 and 201 of rows 100 and 101: 2 x 401 + 2 x 201 = 1204; 48 begins a row later.
        assert halves[50, 100] == (1208 if platform == 48 else 1204)
        assert (plain.expose(0.1) == whole).all() and plain.binning == (1, 1)
        assert (binned.expose(0.1) == halves).all() and binned.binning == (2, 2)


def test_cameras_that_share_a_binning_wait_for_one_another(make_world: MakeWorld) -> None:
    one = "platform=300,sensor=kaf400e,scene=flat"
    world = make_world(f"{one};{one};{one}")
    with world.open() as first, world.open() as second, world.open() as third:
        third.binning = 2
        long = first.start(600.0)
        wait_for(long, "exposing")
        assert (second.expose(0.6)[:500] == 20000).all()  # with the same one at the same time
        waiting = third.start(0.1)
        time.sleep(0.3)
        assert waiting.state == "waiting"
        waiting.abort()
        with pytest.raises(qvn.Aborted):
            waiting.result()
        waiting = third.start(0.1)
        long.abort()
        assert (waiting.result()[:200] == 65535).all()


def test_exposures_can_be_awaited(make_world: MakeWorld) -> None:
    world = make_world(f"{FLAT};platform=42,sensor=kaf400e,scene=flat")

    async def both(one: qvn.Camera, other: qvn.Camera) -> int:
        frames = list(await asyncio.gather(one.start(0.6), other.start(0.6)))
        async for frame in one.frames(0.1, count=2):
            frames.append(frame)
        return sum(bool((frame == 20000).all()) for frame in frames)

    with world.open() as one, world.open() as other:
        assert asyncio.run(both(one, other)) == 4


def test_a_task_that_is_cancelled_breaks_its_exposure(real: qvn.Camera) -> None:
    async def cancelled() -> qvn.Exposure:
        exposure = real.start(600.0)

        async def frame() -> None:
            await exposure

        task = asyncio.create_task(frame())
        while exposure.state != "exposing":
            await asyncio.sleep(0.01)
        task.cancel()
        with pytest.raises(asyncio.CancelledError):
            await task
        return exposure

    with pytest.raises(qvn.Aborted):
        asyncio.run(cancelled()).result()


def test_a_failure_reaches_who_awaits(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,state=stalls:100")

    async def frame(camera: qvn.Camera) -> None:
        await camera.start(0.1)

    with qvn.open() as camera, pytest.raises(qvn.LinkFailure):
        asyncio.run(frame(camera))


def test_a_card_that_goes_away_ends_in_an_error(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,fault=register-read:200000:lasts")
    with qvn.open() as camera:
        with pytest.raises(qvn.QvnError):
            for frame in camera.frames(0.1, count=2000, window=(0, 0, 8, 8)):
                assert frame.shape == (8, 8)
        with pytest.raises(qvn.QvnError):
            camera.expose(0.1)


def test_a_usb_camera_that_is_pulled_out_ends_in_an_error(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=61,sensor=kaf400e,fault=usb-read:40:lasts")
    with qvn.open() as camera, pytest.raises(qvn.QvnError):
        for frame in camera.frames(0.1, count=100):
            assert frame.shape == (512, 768)


def run_script(text: str, folder: Path) -> subprocess.CompletedProcess[str]:
    # What is told to run at the end first runs last.
    head = f"""import atexit
atexit.register(lambda: globals().get("tell", lambda: None)())
import qvn, os, signal, threading
folder = {str(folder)!r}
"""
    return subprocess.run(
        [sys.executable, "-c", head + text],
        capture_output=True,
        text=True,
        timeout=PATIENCE,
        env={**os.environ},
    )


def test_ctrl_c_breaks_the_exposure_and_leaves_the_camera_ready(folder: Path) -> None:
    done = run_script(
        """
world = qvn.virtual("platform=44,sensor=kaf400e,scene=flat", folder=folder)
with qvn.open() as camera:
    threading.Timer(1.0, os.kill, (os.getpid(), signal.SIGINT)).start()
    try:
        camera.expose(600.0)
    except KeyboardInterrupt:
        print("broken")
    print(int(camera.expose(0.1)[5, 5]))
""",
        folder,
    )
    assert done.stdout == "broken\n20000\n", done.stderr


def test_ctrl_c_that_nobody_takes_closes_the_camera(folder: Path) -> None:
    done = run_script(
        """
world = qvn.virtual("platform=44,sensor=kaf400e", folder=folder)
with qvn.open() as camera:
    threading.Timer(1.0, os.kill, (os.getpid(), signal.SIGINT)).start()
    camera.expose(600.0)
""",
        folder,
    )
    assert "KeyboardInterrupt" in done.stderr
    assert done.returncode == -signal.SIGINT


def test_the_end_of_the_process_switches_a_forgotten_cooler_off(folder: Path) -> None:
    done = run_script(
        """
def tell():
    dll = qvn._library.bench().dll
    print(dll.QV_IsOn(0), dll.QV_CoolerStatus(0))

world = qvn.virtual("platform=44,sensor=kaf400e", folder=folder)
camera = qvn.open()
camera.cool(0.0)
exposure = camera.start(600.0)
while exposure.state != "exposing": pass
""",
        folder,
    )
    assert done.returncode == 0 and done.stderr == ""
    assert done.stdout == "0 0\n"  # neither open nor cooling


def test_a_camera_that_is_dropped_is_closed(make_world: MakeWorld) -> None:
    make_world("platform=44,sensor=kaf400e")
    camera = qvn.open()
    driver = camera._driver
    del camera
    end = time.monotonic() + PATIENCE
    while not driver.closed:
        assert time.monotonic() < end
        time.sleep(0.01)
    qvn.open(camera=0).close()


class _InterruptedAtItsEnd(Future[int]):
    """Ctrl-C comes in the moment in which the job is done."""

    def result(self, timeout: Optional[float] = None) -> int:
        self._interrupt()
        return super().result(timeout)

    def exception(self, timeout: Optional[float] = None) -> Optional[BaseException]:
        self._interrupt()
        return super().exception(timeout)

    def _interrupt(self) -> None:
        if not self.done():
            self.set_result(1)
            raise KeyboardInterrupt


def test_ctrl_c_in_the_moment_in_which_a_call_comes_back_is_not_lost() -> None:
    worker = Worker("test", lambda: None, lambda: PATIENCE)
    with pytest.raises(KeyboardInterrupt):
        worker.wait(Job("testing", lambda: 1, PATIENCE, _InterruptedAtItsEnd()))
    worker.stop()
