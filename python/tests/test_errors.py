"""What is refused, what fails, and what is said about it."""
from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import qvn
from conftest import ROOT, MakeWorld
from qvn._library import current
from qvn.catalogue import Key, find_platform
from qvn.errors import error_of


def test_a_platform_that_is_none_names_those_that_are(make_world: MakeWorld) -> None:
    make_world("platform=44,sensor=kaf1600")
    with pytest.raises(qvn.CatalogueError, match="no platform 'BRIAR-R4'") as caught:
        qvn.open("BRIAR-R4")
    assert caught.value.hint.startswith("BRIAR-R3 (44)")  # the closest
    for entry in ("R3-PLUS (47)", "HERON_Plus (61)", "DEMO (1)", "TOLM_E (450)"):
        assert entry in caught.value.hint
    assert isinstance(caught.value, ValueError)


def test_a_sensor_that_the_platform_lacks_names_those_it_has(make_world: MakeWorld) -> None:
    make_world("platform=44,sensor=kaf1600")
    with pytest.raises(qvn.CatalogueError, match="does not carry a sensor 'ccd42-40'") as caught:
        qvn.open(44, "ccd42-40")
    listed = "kaf0260 (250), kaf400e (255), kaf1600 (275), kaf3200 (279), kaf5100 (282), "
    assert caught.value.hint.endswith(listed + "kaf6302ce (283), kaf6303 (285)")


def find(key: Key) -> qvn.Entry:
    return find_platform(current(), key)


def test_names_and_codes_mean_the_same(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf1600")
    assert {find(44), find("44"), find("BRIAR-R3"), find(" briar-r3")} == {(44, "BRIAR-R3")}
    with qvn.open("BRIAR-R3", "KAF1600") as camera:
        assert camera.platform == (44, "BRIAR-R3")
        assert camera.sensor == (275, "kaf1600")


def test_the_catalogue_lists_what_can_be_chosen() -> None:
    assert (44, "BRIAR-R3") in qvn.platforms()
    assert qvn.sensors("SEP") == [(2000, "ccd442"), (2001, "ccd447"), (2005, "ccd485")]


def test_without_definitions_the_folder_is_named(folder: Path) -> None:
    (folder / "qvn.cfg").unlink()
    with pytest.raises(qvn.DefinitionError) as caught:
        qvn.open("DEMO", folder=folder)
    assert caught.value.code == 5
    assert str(folder / "qvn.cfg") + " cannot be read" in str(caught.value)
    assert "qvn init" in str(caught.value)


def test_definitions_that_do_not_parse_are_told_apart(folder: Path) -> None:
    (folder / "qvn.cfg").write_text("rmk_camera_library: {\n")
    with pytest.raises(qvn.DefinitionError, match="does not parse"):
        qvn.open("DEMO", folder=folder)


def test_a_folder_that_is_none_is_refused(folder: Path) -> None:
    with pytest.raises(qvn.DefinitionError, match="is no folder"):
        qvn.open("DEMO", folder=folder / "nowhere")


def test_the_simulated_camera_asks_for_its_sky(folder: Path) -> None:
    with pytest.raises(qvn.CameraNotFound, match="raw image") as caught:
        qvn.open("DEMO", folder=folder)
    assert caught.value.code == 1


def test_a_platform_without_a_driver_says_so(folder: Path) -> None:
    with pytest.raises(qvn.UnsupportedPlatform) as caught:
        qvn.open("MOB", folder=folder)
    assert caught.value.code == 3


@pytest.mark.parametrize(
    "spec, kind, code",
    [
        ("platform=44,sensor=kaf400e,state=off", qvn.QvnError, 1),
        ("platform=44,sensor=kaf400e,state=locked", qvn.InterfaceLocked, 4),
        ("platform=44,sensor=kaf400e,decoder=1,state=unlinked", qvn.LinkError, 10),
        ("fault=no-driver;platform=44,sensor=kaf400e", qvn.InterfaceError, 13),
        ("fault=dma-lock:1:lasts;platform=44,sensor=kaf400e", qvn.InterfaceError, 9),
        ("platform=61,sensor=kaf400e,state=off", qvn.UsbError, 18),
    ],
)
def test_an_open_that_fails_says_why(
    make_world: MakeWorld, spec: str, kind: type[qvn.QvnError], code: int
) -> None:
    make_world("time=virtual;" + spec)
    with pytest.raises(kind) as caught:
        qvn.open()
    assert caught.value.code == code
    assert caught.value.text in str(caught.value) and f"error {code}" in str(caught.value)
    assert caught.value.hint


def test_every_code_has_a_class_and_an_advice() -> None:
    for code in [*range(1, 14), *range(15, 21), *range(22, 29), *range(-9, 0)]:
        error = error_of(code, "a text", "doing it")
        assert isinstance(error, qvn.QvnError)
        assert error.code == code and error.hint


def test_a_frame_that_does_not_arrive_is_a_link_failure(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat,state=stalls:1000")
    with qvn.open() as camera:
        for _ in range(2):
            with pytest.raises(qvn.LinkFailure) as caught:
                camera.expose(0.1)
            assert caught.value.code == 2
        assert camera.temperature is not None  # and all else goes on
        camera.binning = 2  # although the failure's status was left over
        assert camera.binning == (2, 2)


def test_behind_a_failure_a_new_window_is_not_read_with_the_old_pattern(
    make_world: MakeWorld,
) -> None:
    # 8 x 4 pixels arrive, a whole image does not.
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=ramp,state=stalls:1000")
    with qvn.open() as camera:
        with pytest.raises(qvn.LinkFailure):
            camera.expose(0.1)
        for x in (10, 40):
            assert camera.expose(0.1, window=(x, 20, 8, 4))[0, 0] == x + 20
            with pytest.raises(qvn.LinkFailure):
                camera.expose(0.1)


def test_definitions_that_change_change_the_frames(make_world: MakeWorld, folder: Path) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat,state=stalls:300000")
    with qvn.open() as camera:
        with pytest.raises(qvn.LinkFailure):
            camera.expose(0.1)
        # A status that is left over is forgotten by loading the definitions again.
        file = folder / "qvn.cfg"
        before, sensor, behind = file.read_text().partition("kaf400e: # 255, full frame")
        file.write_text(before + sensor + behind.replace("Ypix = 512;", "Ypix = 256;", 1))
        assert camera.expose(0.1).shape == (256, 768)
        assert camera.shape == (256, 768)


def test_a_pattern_that_cannot_be_written_is_no_good_frame(
    make_world: MakeWorld, folder: Path
) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=ramp")
    with qvn.open() as camera:
        assert camera.expose(0.1, window=(10, 20, 8, 4))[0, 0] == 30
        (folder / "wave.bin").unlink()
        (folder / "wave.bin" / "in the way").mkdir(parents=True)
        for _ in range(2):
            with pytest.raises(qvn.PatternError) as caught:
                camera.expose(0.1, window=(40, 20, 8, 4))
            assert caught.value.code == 23
        shutil.rmtree(folder / "wave.bin")
        assert camera.expose(0.1, window=(40, 20, 8, 4))[0, 0] == 60


def test_a_binning_that_does_not_fit_leaves_the_one_before(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=24,sensor=ccd42-10,scene=dark")
    with qvn.open() as camera:
        with pytest.raises(qvn.PatternOverflow):
            camera.binning = (1, 512)
        assert camera.binning == (1, 1)
        assert camera.expose(0.1).shape == camera.shape
    with pytest.raises(ValueError, match="sensor has"):
        camera.binning = (1, 0)


def test_gains_that_no_camera_has_are_refused(flat: qvn.Camera) -> None:
    with pytest.raises(ValueError, match="0 to 3"):
        flat.gain = 4


def test_a_closed_camera_says_so(flat: qvn.Camera) -> None:
    flat.close()
    flat.close()
    assert flat.closed
    with pytest.raises(qvn.CameraClosed):
        flat.expose(1.0)
    with pytest.raises(qvn.CameraClosed):
        flat.cool(0.0)
    with pytest.raises(qvn.CameraClosed):
        flat.temperature


def test_a_number_that_is_open_is_refused(make_world: MakeWorld) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e")
    with qvn.open(camera=0):
        with pytest.raises(qvn.QvnError, match="it is open"):
            qvn.open(44, camera=0)
        with pytest.raises(qvn.QvnError, match="none left"):
            qvn.open()
    with pytest.raises(ValueError, match="0 to 7"):
        qvn.open(44, camera=8)


def test_a_text_of_virtual_cameras_that_is_wrong_is_explained(make_world: MakeWorld) -> None:
    with pytest.raises(qvn.SpecificationError, match="sensor") as caught:
        make_world("platform=44,sensor=nosuch")
    assert caught.value.code == -8
    make_world("platform=44,sensor=kaf400e")
    with pytest.raises(qvn.QvnError, match="there is a virtual world"):
        make_world("platform=44,sensor=kaf400e")


def test_a_library_that_is_missing_is_named() -> None:
    environment = {**os.environ, "QVN_LIBRARY_DIR": "/nowhere"}
    code = (
        "import qvn\n"
        "try: qvn.platforms()\n"
        "except qvn.LibraryNotFound as error: print(error)"
    )
    done = subprocess.run(
        [sys.executable, "-c", code], env=environment, capture_output=True, text=True, timeout=60
    )
    assert "loading libqvn.so.7" in done.stdout
    assert "QVN_LIBRARY_DIR" in done.stdout


def test_a_camera_is_opened_again_behind_a_failure(make_world: MakeWorld) -> None:
    world = make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat")
    with world.open() as camera:
        camera.binning = (2, 1)
        camera.gain = 2
        camera.cool(5.0)
        camera.wait_until_cold()
        power = camera.cooling.power
        camera.reopen()
        assert camera.binning == (2, 1)
        assert camera.gain == 2
        frame = camera.expose(1.0)
        assert (frame == 40000).all()
        assert frame.metadata.cooler_power == pytest.approx(power, abs=0.2)
        assert frame.metadata.set_point == 5.0
        assert frame.metadata.temperature == pytest.approx(5.0, abs=0.3)
        world.sleep(120.0)
        assert camera.temperature == pytest.approx(5.0, abs=0.6)


def test_a_usb_read_that_fails_once_is_got_over(make_world: MakeWorld) -> None:
    # The camera is open by then: a temperature is a read, and so is a frame.
    make_world("time=virtual;platform=61,sensor=kaf400e,scene=flat,fault=usb-read:40")
    with qvn.open() as camera:
        with pytest.raises(qvn.LinkError):
            for _ in range(100):
                camera.expose(0.1)
        camera.reopen()
        assert (camera.expose(0.1)[2:-2, 8:-8] == 20000).all()


def test_a_camera_that_cannot_be_opened_again_says_so(make_world: MakeWorld, folder: Path) -> None:
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat")
    with qvn.open() as camera:
        os.rename(folder / "qvn.cfg", folder / "away.cfg")
        with pytest.raises(qvn.DefinitionError):
            camera.reopen()
        with pytest.raises(qvn.CameraClosed, match="reopen"):
            camera.expose(0.1)
        os.rename(folder / "away.cfg", folder / "qvn.cfg")
        camera.reopen()
        assert (camera.expose(0.1) == 20000).all()


def test_a_camera_cfg_tells_all_of_it(make_world: MakeWorld, folder: Path) -> None:
    source = (ROOT / "share" / "qvn" / "camera.cfg").read_text()
    values = {"Platform": 44, "CCD": 255, "InterfaceType": 2, "PciIndex": 3, "FilterWheel": 1}
    for key, value in values.items():
        source = re.sub(rf"\b{key} *= *-?\d+", f"{key} = {value}", source)
    (folder / "camera.cfg").write_text(source)
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat,camera=3")
    with qvn.open(config="camera.cfg") as camera:
        assert (camera.number, camera.platform.code, camera.sensor.code) == (3, 44, 255)
        assert camera.wheel is not None and camera.wheel.positions == 8
        assert (camera.expose(0.1) == 20000).all()
    with pytest.raises(qvn.DefinitionError, match="cannot be read"):
        qvn.open(config="nowhere.cfg")
