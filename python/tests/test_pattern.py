"""Clock patterns as arrays."""
from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest
from numpy.typing import NDArray

import qvn


def pulses(level: NDArray[np.bool_]) -> int:
    """How often a line becomes active."""
    return int(level[0]) + int((level[1:] & ~level[:-1]).sum())


def test_a_line_of_the_picture_converts_each_of_its_pixels(folder: Path) -> None:
    pattern = qvn.pattern(42, "kaf400e", window=(100, 100, 64, 32), binning=2, folder=folder)
    assert (pattern.width, pattern.height) == (64, 32)
    assert pulses(pattern.active("convert")) == 64
    assert pulses(pattern.active("first sample")) == pulses(pattern.active("second sample")) == 64
    # Bins of two rows: two of them move into the register.
    assert pulses(pattern.active("row transfer")) == 2


def test_each_section_moves_what_it_is_for(folder: Path) -> None:
    pattern = qvn.pattern("BRIAR-PCI", "kaf400e", folder=folder)
    assert pattern.sections == ("idle", "row", "pixel", "line")
    assert pulses(pattern.active("row transfer", "row")) == 1
    assert pulses(pattern.active("reset gate", "pixel")) == 1
    assert pulses(pattern.active("convert", "idle")) == 0
    assert pulses(pattern.active("convert", "line")) == 768


def test_words_and_ticks_are_the_cameras(folder: Path) -> None:
    pattern = qvn.pattern(42, 255, folder=folder)
    assert (pattern.platform, pattern.sensor) == ((42, "BRIAR-PCI"), (255, "kaf400e"))
    assert pattern.builder == "Briar"
    assert pattern.word_bits == 8 and pattern.words.dtype == np.uint8
    assert len(pattern.words) % 256 == 0  # whole pages
    assert pattern.tick == 0.5  # SamplingClock of qvn.cfg
    times = pattern.times("row")
    assert len(times) == len(pattern.section("row"))
    assert times[2] == 1.0
    # Words are played backwards: the first of a section lies last in its page.
    row = pattern.section("row")
    assert row[-1] == pattern.words[256]
    by_name, by_bit = pattern.line("reset gate"), pattern.line(7)
    assert pattern.lines[7] == "reset gate"
    assert (by_name == by_bit).all()
    assert (by_name == (pattern.section() & 0x80 != 0)).all()


def test_names_that_are_none_are_refused(folder: Path) -> None:
    pattern = qvn.pattern(42, 255, folder=folder)
    with pytest.raises(ValueError, match="idle, row, pixel, line"):
        pattern.section("lines")
    with pytest.raises(ValueError, match="reset gate"):
        pattern.line("reset")
    with pytest.raises(ValueError, match="0 to 7"):
        pattern.line(8)


def test_a_camera_without_a_pattern_says_so(folder: Path) -> None:
    with pytest.raises(qvn.CatalogueError) as caught:
        qvn.pattern("DEMO", "kaf1600", folder=folder)
    assert caught.value.code == -3
    with pytest.raises(qvn.QvnError):
        qvn.pattern(42, 255, window=(0, 0, 1, 1), folder=folder)


def test_a_pattern_is_built_beside_open_cameras(folder: Path) -> None:
    world = qvn.virtual("time=virtual;platform=42,sensor=kaf400e,scene=ramp", folder=folder)
    with world, world.open() as camera:
        assert camera.expose(0.1, window=(10, 20, 8, 4))[0, 0] == 30
        qvn.pattern(44, "kaf1600", binning=4)
        assert camera.expose(0.1, window=(10, 20, 8, 4))[0, 0] == 30
