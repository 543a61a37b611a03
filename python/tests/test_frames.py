"""Frames of virtual cameras: pixels, geometry, metadata."""
from __future__ import annotations

import copy
import pickle
from dataclasses import replace
from datetime import timedelta, timezone

import numpy as np
import pytest
from numpy.typing import NDArray

import qvn
from conftest import MakeWorld

COLUMNS, ROWS = 768, 512  # of the sensor kaf400e


def ramp_pixels(x: int, y: int, width: int, height: int, bins: int = 1) -> NDArray[np.int_]:
    """Sums over bins of column + row."""
    rows, columns = np.mgrid[0:ROWS, 0:COLUMNS]
    binned = (rows + columns).reshape(ROWS // bins, bins, COLUMNS // bins, bins).sum(axis=(1, 3))
    part: NDArray[np.int_] = binned[y : y + height, x : x + width]
    return part


def test_a_light_frame_is_the_scene_and_a_dark_frame_is_dark(flat: qvn.Camera) -> None:
    light = flat.expose(1.0)
    assert light.dtype == np.uint16
    assert light.shape == flat.shape == (ROWS, COLUMNS)
    assert (light == 20000).all()
    assert (flat.expose(1.0, dark=True) == 0).all()


def test_a_pixel_stands_at_its_row_and_column(ramp: qvn.Camera) -> None:
    frame = ramp.expose(0.1)
    assert frame[3, 700] == 703
    np.testing.assert_array_equal(frame, ramp_pixels(0, 0, COLUMNS, ROWS))


def test_bins_add_up_and_stop_at_the_largest_value(flat: qvn.Camera) -> None:
    flat.binning = 2
    assert flat.binning == (2, 2)
    frame = flat.expose(0.1)
    assert frame.shape == flat.shape == (256, 384)
    assert flat.saturation == 65535
    assert (frame == 65535).all()  # 4 x 20000 do not fit


def test_binning_differs_by_direction(ramp: qvn.Camera) -> None:
    ramp.binning = (4, 2)
    assert ramp.shape == (256, 192)
    # Columns 8 to 11 of rows 2 and 3: 2 x (8 + 9 + 10 + 11) + 4 x (2 + 3) = 96.
    frame = ramp.expose(0.1)
    assert frame[1, 2] == 96
    assert frame.metadata.binning == (4, 2)
    assert frame.metadata.pixel_size == (36.0, 18.0)  # of 9 micrometres


def test_a_window_is_that_part_of_the_image(ramp: qvn.Camera) -> None:
    frame = ramp.expose(0.1, window=(100, 50, 200, 30))
    assert frame.shape == (30, 200)
    assert frame.metadata.window == (100, 50, 200, 30)
    assert not frame.metadata.full_frame
    # The last four pixels of a window never come on this card.
    wanted = ramp_pixels(100, 50, 200, 30).ravel()[:-4]
    np.testing.assert_array_equal(frame.ravel()[:-4], wanted)


def test_windows_and_whole_frames_take_turns(ramp: qvn.Camera) -> None:
    for _ in range(2):
        assert ramp.expose(0.1, window=(10, 20, 8, 4))[0, 0] == 30
        assert ramp.expose(0.1)[0, 0] == 0
        assert ramp.shape == (ROWS, COLUMNS)


def test_windows_are_counted_in_binned_pixels(ramp: qvn.Camera) -> None:
    ramp.binning = 2
    frame = ramp.expose(0.1, window=(50, 25, 100, 15))
    # Columns 100 and 101; the card counts the dark lines of binned windows as rows, 2 and not 4,
    # so the window begins with rows 48 and 49: 2 x 201 + 2 x 97 = 596.
    assert frame[0, 0] == 596
    np.testing.assert_array_equal(
        frame.ravel()[:-4], ramp_pixels(50, 24, 100, 15, bins=2).ravel()[:-4]
    )


def test_the_cameras_window_is_that_of_frames_that_tell_none(ramp: qvn.Camera) -> None:
    ramp.window = (10, 20, 8, 4)
    assert ramp.expose(0.1).shape == (4, 8)
    assert ramp.expose(0.1, window=(0, 0, 6, 2)).shape == (2, 6)
    ramp.window = None
    assert ramp.expose(0.1).shape == (ROWS, COLUMNS)


def test_an_odd_width_is_told_as_it_is_delivered(ramp: qvn.Camera) -> None:
    frame = ramp.expose(0.1, window=(10, 20, 9, 4))
    assert frame.shape == (4, 8)
    assert frame.metadata.window.width == 8


@pytest.mark.parametrize(
    "window", [(-1, 0, 10, 10), (0, 0, 770, 10), (0, 503, 10, 10), (0, 0, 1, 1), (0, 0, 10, 0)]
)
def test_a_window_beyond_the_image_is_refused(
    flat: qvn.Camera, window: tuple[int, int, int, int]
) -> None:
    with pytest.raises(ValueError, match="768 x 512"):
        flat.expose(0.1, window=window)


@pytest.mark.parametrize("seconds", [-1.0, float("nan"), float("inf")])
def test_an_exposure_that_is_none_is_refused(flat: qvn.Camera, seconds: float) -> None:
    with pytest.raises(ValueError, match="exposure"):
        flat.expose(seconds)


def test_metadata_tell_how_the_frame_was_taken(flat: qvn.Camera) -> None:
    flat.gain = 1
    frame = flat.expose(60.0)
    data = frame.metadata
    assert (data.exposure, data.requested, data.aborted) == (60.0, 60.0, False)
    assert data.light and data.kind == "Light Frame"
    assert data.start.tzinfo is timezone.utc
    # A virtual minute and a readout of less than another.
    assert timedelta(minutes=1) <= data.end - data.start < timedelta(minutes=2)
    assert data.temperature == pytest.approx(20.0, abs=0.3)  # as its surroundings
    assert data.set_point is None and data.cooler_power == 0.0
    assert data.gain == flat.gain == 1
    assert data.binning == (1, 1) and data.window == (0, 0, COLUMNS, ROWS) and data.full_frame
    assert (data.platform, data.platform_name) == (44, "BRIAR-R3")
    assert (data.sensor, data.sensor_name) == (255, "kaf400e")
    assert data.serial_number == flat.serial_number == 4711
    assert data.pixel_size == flat.pixel_size == (9.0, 9.0)
    assert data.saturation == 65535
    assert data.virtual and data.camera == 0
    # KEEP_CLEAN is this package's, CARD_DMA the library's: the card can.
    assert data.options == 0x2008


def test_kinds_of_frames_are_told_apart(flat: qvn.Camera) -> None:
    assert flat.expose(1.0, dark=True).metadata.kind == "Dark Frame"
    assert flat.expose(0.0, dark=True).metadata.kind == "Bias Frame"


def test_a_series_counts_its_frames(flat: qvn.Camera) -> None:
    frames = list(flat.frames(0.5, count=3, dark=True))
    assert [frame.metadata.number for frame in frames] == [1, 2, 3]
    assert frames[0].metadata.end <= frames[1].metadata.start
    for frame in flat.frames(0.1):  # without end
        assert frame.metadata.number <= 2
        if frame.metadata.number == 2:
            break


def test_kinetics_are_a_cube_that_begins_at_the_sensors_edge(ramp: qvn.Camera) -> None:
    cube = ramp.kinetics(0.01, 3, window=(10, 0, 8, 16))
    assert cube.shape == (3, 16, 8)
    assert cube.metadata.frames == 3
    # qvn.cfg has eight dark rows round the image of kaf400e, half of them ahead of it.
    assert cube.metadata.window == (10, -4, 8, 16)
    for frame in cube:
        assert (frame[:4] == 0).all()
        np.testing.assert_array_equal(frame[4:15], ramp_pixels(10, 0, 8, 11))
    assert ramp.expose(0.1)[5, 5] == 10  # and frames are what they were


def test_kinetics_from_another_row_are_refused(ramp: qvn.Camera) -> None:
    with pytest.raises(ValueError, match="row 0"):
        ramp.kinetics(0.01, 3, window=(10, 1, 8, 16))


def test_arithmetic_does_not_wrap_round(flat: qvn.Camera) -> None:
    light = flat.expose(0.1)
    dark = flat.expose(0.1, dark=True)
    assert (dark - light == -20000.0).all()
    assert (light + light + light + light == 80000.0).all()
    assert (light * 4 == 80000.0).all()
    assert (-light == -20000.0).all()
    assert light.mean() == 20000.0 and light.std() == 0.0
    assert int(light.sum()) == 20000 * COLUMNS * ROWS
    with pytest.raises(TypeError):
        np.add(light, 1, out=light)  # as light += 1: would have to be 16 bits again


def test_sums_and_products_are_frames_that_tell_what_was_done(flat: qvn.Camera) -> None:
    light, dark = flat.expose(0.1), flat.expose(0.2, dark=True)
    done = (light - dark) / 2
    assert isinstance(done, qvn.Frame) and done.dtype == np.float64
    assert (done == 10000.0).all()
    when = dark.metadata.start.strftime("%Y-%m-%dT%H:%M:%S.")
    millis = f"{dark.metadata.start.microsecond // 1000:03d}"
    history = (f"minus Dark Frame of 0.2 s, {when}{millis}", "divided by 2")
    assert done.metadata == replace(light.metadata, history=history)
    assert (10 * light).metadata.history == ("10 times the frame",)
    assert (light + np.ones(light.shape)).metadata.history == ("plus an array",)
    # What stands first is what the result is of.
    assert not (dark - light).metadata.light
    done -= 100.0
    assert done.metadata.history[-1] == "minus 100" and (done == 9900.0).all()


def test_other_results_are_ordinary_arrays(flat: qvn.Camera) -> None:
    frame = flat.expose(0.1)
    cube = np.zeros((2, *frame.shape))
    for result in (frame > 3, np.sqrt(frame), frame.sum(axis=0), np.asarray(frame), cube + frame):
        assert not isinstance(result, qvn.Frame) and isinstance(result, np.ndarray)


def test_a_part_cut_out_tells_its_window(ramp: qvn.Camera) -> None:
    frame = ramp.expose(0.1, window=(100, 50, 40, 30))
    part = frame[5:15, -8:]
    assert part.metadata == replace(frame.metadata, window=qvn.Window(132, 55, 8, 10))
    assert part[0, 0] == 132 + 55
    assert part[2:].metadata.window == (132, 57, 8, 8)
    assert frame[..., 1:].metadata.window == (101, 50, 39, 30)
    assert frame[:].metadata == frame.metadata
    whole = ramp.expose(0.1)
    assert whole[:, :].metadata.full_frame and not whole[1:].metadata.full_frame
    assert (part - part).metadata.window == (132, 55, 8, 10)


def test_a_frame_of_a_series_tells_its_place(ramp: qvn.Camera) -> None:
    cube = ramp.kinetics(0.01, 3, window=(10, 0, 8, 16))
    assert (cube[-1].metadata.number, cube[-1].metadata.frames) == (3, 1)
    assert (cube[1:].metadata.number, cube[1:].metadata.frames) == (2, 2)
    assert [frame.metadata.number for frame in cube] == [1, 2, 3]
    assert cube[1, 2:4].metadata.window == (10, -2, 8, 2)
    assert cube.metadata.number == 1 and cube[:, :, 2:].metadata.frames == 3


def test_other_parts_are_as_careful_but_have_no_metadata(flat: qvn.Camera) -> None:
    light = flat.expose(0.1)
    dark = flat.expose(0.1, dark=True)
    assert (dark[2:4, ::2] - light[2:4, ::2] == -20000.0).all()
    mask = np.zeros(light.shape, bool)
    parts = (light[::2], light.T, light[3], light[5:5], light[[1, 2]], light[mask], light[None])
    for part in parts:
        assert isinstance(part, qvn.Frame)
        with pytest.raises(AttributeError, match="part of a frame"):
            part.metadata
    assert light[3, 4] == 20000


def test_another_type_of_pixels_keeps_the_metadata(flat: qvn.Camera) -> None:
    frame = flat.expose(0.1)
    assert frame.astype(np.float32).metadata == frame.metadata
    assert frame.astype(float).dtype == np.float64


def test_a_copy_is_a_frame_of_its_own(flat: qvn.Camera) -> None:
    frame = flat.expose(0.1)
    assert frame.copy().metadata == frame.metadata
    assert copy.deepcopy(frame).metadata == frame.metadata
    frame.copy()[:] = 0
    assert (frame == 20000).all()


def test_a_frame_can_be_pickled(flat: qvn.Camera) -> None:
    frame = flat.expose(0.1)
    again = pickle.loads(pickle.dumps(frame))
    np.testing.assert_array_equal(again, frame)
    assert again.metadata == frame.metadata


def test_the_host_shows_the_sensor_a_scene(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=42,sensor=kaf400e,scene=dark")
    # Two columns, one row: each takes half of the image.
    world.set_scene(0, [[100.0, 70000.0]])
    with world.open() as camera:
        frame = camera.expose(0.1)
    assert (frame[:, :384] == 100).all()
    assert (frame[:, 384:] == 65535).all()


@pytest.mark.parametrize(
    "spec",
    [
        "platform=24,sensor=kaf400e,decoder=3",
        "platform=61,sensor=kaf400e",
        "platform=300,sensor=kaf400e",
        "platform=205,sensor=kaf400e",
        "platform=70,sensor=kaf400e",
    ],
)
def test_every_kind_of_link_brings_frames(make_world: MakeWorld, spec: str) -> None:
    make_world(f"time=virtual;{spec},scene=flat")
    with qvn.open() as camera:
        frame = camera.expose(0.1)
    assert frame.shape == (ROWS, COLUMNS)
    # The corners are the drivers' own.
    assert (frame[2:-2, 8:-8] == 20000).all()
