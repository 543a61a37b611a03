"""The code in the README and in docs/python.md does what they say."""
from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import qvn
from conftest import ROOT, MakeWorld


def blocks(path: Path, section: str = "") -> list[str]:
    """The Python code of a document, or of one of its sections."""
    text = path.read_text()
    if section:
        text = re.split(r"^## ", text.split(f"\n## {section}\n", 1)[1], flags=re.M)[0]
    return re.findall(r"^```python\n(.*?)^```", text, flags=re.M | re.S)


def test_ten_lines_cool_a_camera_and_save_a_frame(tmp_path: Path) -> None:
    fits = pytest.importorskip("astropy.io.fits")
    (code,) = blocks(ROOT / "README.md", "Python")
    assert len([line for line in code.splitlines() if line]) <= 10
    (tmp_path / "stars.py").write_text(code)
    subprocess.run([sys.executable, "stars.py"], cwd=tmp_path, check=True, timeout=120)
    with fits.open(tmp_path / "stars.fits") as file:
        header, pixels = file[0].header, file[0].data
        assert pixels.shape == (1024, 1536) and pixels.dtype.kind == "f"
        # The dark frame of a virtual camera is 0, so the difference is its sky.
        assert pixels.min() >= 0.0 and pixels.max() <= 65535.0 and np.median(pixels) > 0.0
    assert header["IMAGETYP"] == "Light Frame"
    assert header["EXPTIME"] == 30.0
    assert header["CCD-TEMP"] == pytest.approx(-20.0, abs=0.3)
    assert header["SET-TEMP"] == -20.0
    assert (header["INSTRUME"], header["DETECTOR"]) == ("BRIAR-R3 kaf1600", "kaf1600")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["stars.fits", "stars.py"]


# What a block wants beside it: a virtual world, and an open camera.
SURROUNDINGS = {
    "## Opening": ("platform=44,sensor=kaf1600", False),
    "## Cooling": ("platform=44,sensor=kaf1600", True),
    "## Filter wheel": ("platform=300,sensor=kaf1600", False),
    "## Arrays": ("platform=42,sensor=255,heads=2", False),
    "## Service": ("platform=44,sensor=kaf1600", True),
    "## Virtual cameras and clock patterns": ("", False),
}


@pytest.mark.parametrize("section", SURROUNDINGS)
def test_the_code_of_the_tour_runs(section: str, make_world: MakeWorld, folder: Path) -> None:
    spec, wants_camera = SURROUNDINGS[section]
    found = blocks(ROOT / "docs" / "python.md", section[3:])
    assert found
    if spec:
        make_world("time=virtual;" + spec)
    names: dict[str, object] = {"qvn": qvn}
    if wants_camera:
        names["camera"] = qvn.open()
    for code in found:
        exec(compile(code, section, "exec"), names)


def test_no_block_of_the_tour_is_left_out() -> None:
    path = ROOT / "docs" / "python.md"
    assert len(blocks(path)) == sum(len(blocks(path, section[3:])) for section in SURROUNDINGS)


def test_a_frame_is_saved_with_its_keywords(flat: qvn.Camera, tmp_path: Path) -> None:
    fits = pytest.importorskip("astropy.io.fits")
    flat.binning = 2
    frame = flat.expose(0.5, dark=True, window=(10, 20, 30, 40))
    path = tmp_path / "frame.fits"
    qvn.save_fits(path, frame)
    with fits.open(path) as file:
        header = file[0].header
        np.testing.assert_array_equal(file[0].data, frame)
    wanted = {
        "IMAGETYP": "Dark Frame",
        "EXPTIME": 0.5,
        "XBINNING": 2,
        "YBINNING": 2,
        "XORGSUBF": 10,
        "YORGSUBF": 20,
        "NAXIS1": 30,
        "NAXIS2": 40,
        "XPIXSZ": 18.0,
        "YPIXSZ": 18.0,
        "GAIN": 0,
        "CAMSERNO": "4711",
        "TIMESYS": "UTC",
        "DATE-OBS": frame.metadata.start.strftime("%Y-%m-%dT%H:%M:%S.")
        + f"{frame.metadata.start.microsecond // 1000:03d}",
    }
    assert {key: header[key] for key in wanted} == wanted
    assert "SET-TEMP" not in header and "EXPREQ" not in header
    with pytest.raises(FileExistsError):
        qvn.save_fits(path, frame)
    assert "HISTORY" not in header
    qvn.save_fits(path, np.zeros((2, 2)), overwrite=True)
    assert fits.getdata(path).shape == (2, 2)


def test_a_difference_is_saved_with_its_history(flat: qvn.Camera, tmp_path: Path) -> None:
    fits = pytest.importorskip("astropy.io.fits")
    light, dark = flat.expose(0.5), flat.expose(0.5, dark=True)
    qvn.save_fits(tmp_path / "light.fits", (light - dark)[10:20, 30:50])
    header = fits.getheader(tmp_path / "light.fits")
    assert (header["BITPIX"], header["XORGSUBF"], header["YORGSUBF"]) == (-64, 30, 10)
    assert header["IMAGETYP"] == "Light Frame"
    assert "".join(header["HISTORY"]).startswith("minus Dark Frame of 0.5 s, 20")


def test_a_picture_can_be_the_scene(make_world: MakeWorld, tmp_path: Path) -> None:
    np.save(tmp_path / "sky.npy", np.array([[1000], [3000]], np.uint16))
    make_world(f"time=virtual;platform=44,sensor=kaf400e,scene={tmp_path}/sky.npy")
    with qvn.open() as camera:
        frame = camera.expose(0.1)
    assert (frame[:256] == 1000).all() and (frame[256:] == 3000).all()
