"""Registers, memories, definitions, and what else is set at a camera."""
from __future__ import annotations

from pathlib import Path
from typing import Any, Callable

import numpy as np
import pytest

import qvn
from conftest import ROOT, MakeWorld


def test_registers_and_memory_are_read_and_written(flat: qvn.Camera) -> None:
    service = flat.service
    service.write_image(17, 0xABC)
    assert service.read_image(17) == 0xABC
    service.write_register(17, 0x123)
    assert service.read_image(17) == 0xABC  # the library's image is another thing
    assert isinstance(service.read_register(0), int)
    assert service.status(15) & 0xFF == 44  # the hardware version
    service.write_memory(3, 99)
    assert service.read_memory(3) == 99


def test_the_memory_of_the_pattern_is_read_and_written(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=40,sensor=kaf400e")
    with qvn.open() as camera:
        service = camera.service
        service.write_byte(258, 0xA5)
        service.write_word(257, 0x5A)
        assert (service.read_byte(258), service.read_word(257)) == (0xA5, 0x5A)


def test_the_serial_number_is_stored(flat: qvn.Camera) -> None:
    assert flat.serial_number == 4711
    flat.service.set_serial_number(815)
    assert flat.serial_number == 815 and flat.expose(0.0).metadata.serial_number == 815
    flat.service.set_serial_number(60000, decimal=True)
    flat.reopen()
    assert flat.serial_number == 60000
    with pytest.raises(ValueError, match="65534"):
        flat.service.set_serial_number(65535, decimal=True)


def test_the_card_is_told(flat: qvn.Camera) -> None:
    service = flat.service
    assert service.card_revision == 200
    assert service.card_address != 0
    assert service.card_driver.startswith("Virtual card driver")
    assert not service.is_transferring()
    assert service.has_power_status() in (True, False)


def test_a_camera_without_a_card_has_none(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=205,sensor=kaf400e")
    with qvn.open() as camera:
        assert camera.service.card_revision is None and camera.service.card_address is None
        assert camera.service.analog_input(3) >= 0
        camera.service.select_sub_camera(1)
        with pytest.raises(qvn.UnsupportedPlatform):
            camera.service.is_transferring()


def test_definitions_are_those_of_the_file(flat: qvn.Camera, folder: Path) -> None:
    platform, sensor = qvn.definitions(44, "kaf400e")
    assert (sensor.columns, sensor.rows, sensor.dark_rows) == (768, 512, (8, 4, 3, 2))
    assert (sensor.pixel_width, platform.word_time) == (9.0, 0.6)
    assert (flat.platform_definition, flat.sensor_definition) == (platform, sensor)
    assert qvn.definitions(42, "kaf1600")[1].rows == 1024
    assert flat.maker


def test_definitions_can_be_changed_and_saved(flat: qvn.Camera, folder: Path) -> None:
    before = flat.expose(0.1).metadata
    flat.service.change_sensor(rows=400, dark_rows=(8, 4, 3, 2), pixel_width=8.5)
    frame = flat.expose(0.1)
    assert frame.shape == flat.shape == (400, 768) and frame.metadata.pixel_size[0] == 8.5
    assert frame.metadata.definition_hash != before.definition_hash
    flat.service.change_platform(gain_factors=(1.0, 2.0, 3.0, 4.0))
    flat.service.save_definitions()
    platform, sensor = qvn.definitions(44, "kaf400e")
    assert sensor == flat.sensor_definition and sensor.rows == 400
    assert platform.gain_factors == (1.0, 2.0, 3.0, 4.0)
    wrongs: list[dict[str, Any]] = [
        {"rows": 0},
        {"rows": 70000},
        {"Ypix": 5},
        {"dark_rows": (1, 2)},
    ]
    for wrong in wrongs:
        with pytest.raises(ValueError):
            flat.service.change_sensor(**wrong)
    with pytest.raises(TypeError):
        flat.service.change_sensor(rows="many")
    assert flat.sensor_definition == sensor


def test_a_configuration_is_saved_into_its_file(flat: qvn.Camera, folder: Path) -> None:
    with pytest.raises(qvn.DefinitionError, match="cannot be read"):
        flat.save_config("camera.cfg")
    (folder / "camera.cfg").write_text((ROOT / "share" / "qvn" / "camera.cfg").read_text())
    flat.save_config("camera.cfg")
    flat.close()
    with qvn.open(config="camera.cfg") as camera:
        assert (camera.platform.code, camera.sensor.code, camera.number) == (44, 255, 0)


def test_a_series_in_the_sensor_lies_side_by_side(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e,scene=dark")
    # A slit of 40 rows, far from the row that leaves the sensor first; 100 a second.
    slit = np.zeros((512, 768))
    slit[472:] = 100
    world.set_scene(0, slit)
    # The clear would take place behind the open shutter.
    with qvn.open(clean=False) as camera:
        begin = world.seconds
        frame = camera.kinetics_in_sensor(3.0, 4, 40)
        assert world.seconds - begin >= 12.0
        rows = frame[:, 300].astype(int)
        # Four exposures of three seconds, the last of them 40 rows from where it was exposed; no
        # dark rows are read here, so that the image begins four rows later.
        assert (rows[316:476] == 300).all() and rows.sum() == 160 * 300
        assert frame.metadata.exposure == 12.0 and frame.metadata.light
        with pytest.raises(ValueError, match="the sensor has 512"):
            camera.kinetics_in_sensor(1.0, 20, 40)
        assert (camera.expose(0.1)[472:510, 5] == 100).all()  # and frames are what they were


def test_noise_reduction_and_fewer_bits(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=25,sensor=kaf400e,scene=ramp;platform=47,sensor=kaf400e")
    for number in (0, 1):
        with qvn.open(camera=number) as camera:
            whole = camera.expose(0.1)
            camera.noise_reduction = 5
            assert camera.noise_reduction == 5
            frame = camera.expose(0.1)
            assert frame.metadata.noise_reduction == 5 and frame.shape == whole.shape
            camera.reopen()
            assert camera.noise_reduction == 5
            camera.decimate_bits(2)
            assert camera.noise_reduction == 0
            with pytest.raises(ValueError, match="0, 3, 5, 7, 9"):
                camera.noise_reduction = 4


def test_what_a_platform_has_not_is_refused(flat: qvn.Camera) -> None:
    calls: list[Callable[[], Any]] = [
        lambda: flat.set_fan(10.0),
        lambda: flat.plug(1, 2),
        lambda: flat.decimate_bits(1),
        lambda: setattr(flat, "noise_reduction", 3),
        lambda: flat.service.analog_input(0),
    ]
    for call in calls:
        with pytest.raises(qvn.UnsupportedPlatform, match="BRIAR-R3 \\(44\\) has no such thing"):
            call()


def test_a_usb_camera_has_a_fan_and_a_plug(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=300,sensor=kaf400e,scene=flat")
    with qvn.open() as camera:
        camera.set_fan(40.0)
        camera.plug(1, 2, 3, 4)
        with pytest.raises(ValueError, match="takes 4"):
            camera.plug(1, 2)
        assert camera.objective is None
        with pytest.raises(qvn.UnsupportedPlatform):
            camera.hold_shutter()


def test_the_front_end_is_set_by_hand(flat: qvn.Camera) -> None:
    flat.set_user_gain(100, 20, high=True)
    assert flat.gain == 4
    assert flat.expose(0.0).metadata.gain == 4 and flat.expose(0.0).metadata.gain_factor is None
    flat.reopen()
    assert flat.gain == 4
    flat.gain = 2
    assert flat.expose(0.0).metadata.gain_factor == 3.86  # of qvn.cfg


def test_shutter_and_objective_move(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat")
    with world.open() as camera:
        camera.hold_shutter()
        camera.hold_shutter(False)
        camera.open_shutter(0.5)
        objective = camera.objective
        assert objective is not None
        begin = world.seconds
        objective.run_to_end(1)
        assert world.seconds - begin >= 3.0
        objective.run(2, 1500)
        objective.run(2, 1500, back=True)
        assert world.seconds - begin >= 6.0
        with pytest.raises(ValueError, match="motor"):
            objective.run(3, 100)


def test_a_cooler_can_be_driven_by_hand(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e")
    with world.open() as camera:
        camera.drive_cooler(50.0)
        assert (camera.cooling.state, camera.cooling.power) == ("by hand", 50.0)
        world.sleep(1200.0)
        # Half of the 60 degrees that the cooler can do.
        assert camera.temperature == pytest.approx(-10.0, abs=0.5)
        assert camera.expose(0.0).metadata.cooler_power == 50.0
        camera.reopen()
        assert camera.cooling.state == "by hand"
    world.sleep(1200.0)
    with world.open() as camera:
        assert camera.temperature == pytest.approx(20.0, abs=0.3)  # it went off


def test_frames_have_a_period_and_timed_reads(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e,scene=ramp")
    with world.open() as camera:
        begin = world.seconds
        frame = camera.expose(1.0, period=30.0)
        assert 30.0 <= world.seconds - begin < 40.0
        assert frame.metadata.exposure == 1.0 and frame[3, 700] == 703
        part = camera.expose(0.1, period=20.0, window=(100, 50, 20, 10))
        assert part[0, 0] == 150 and world.seconds - begin >= 50.0
        camera.expose(0.1)
        # Read by the processor a frame lacks the first row and begins with four words of it.
        timed, whole = camera.expose(0.1, timed=True), camera.expose(0.1)
        np.testing.assert_array_equal(timed.ravel()[:-768], whole.ravel()[764:-4])
        with pytest.raises(ValueError, match="whole frames"):
            camera.expose(0.1, timed=True, window=(0, 0, 8, 8))


def test_a_camera_without_timed_reads_says_so(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=300,sensor=kaf400e")
    with qvn.open() as camera:
        with pytest.raises(qvn.UnsupportedPlatform, match="timed"):
            camera.expose(0.1, timed=True)


def test_options_act_on_an_open_camera(flat: qvn.Camera) -> None:
    flat.set_options(0x200)
    assert flat.options == 0x2208 and flat.expose(0.0).metadata.options == 0x2208
    flat.reopen()
    assert flat.options == 0x2208
    flat.set_options(0x208, False)
    assert flat.options == 0x2000
    with pytest.raises(ValueError, match="0x1"):
        flat.set_options(0x1)


def test_whole_frames_behind_binned_windows_are_not_sheared(ramp: qvn.Camera) -> None:
    ramp.binning = 2
    before = ramp.expose(0.1)
    ramp.expose(0.1, window=(10, 10, 20, 20))
    after = ramp.expose(0.1)
    np.testing.assert_array_equal(after, before)
    assert before.metadata.pattern_hash == after.metadata.pattern_hash is not None


def test_the_version_is_the_librarys() -> None:
    assert qvn.library_version().startswith(f"{qvn.__version__} Build")
