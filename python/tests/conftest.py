"""Worlds for the tests: each has a folder of its own, since the clock patterns go there."""
from __future__ import annotations

import shutil
from contextlib import ExitStack
from pathlib import Path
from typing import Callable, Iterator

import pytest

import qvn

ROOT = Path(__file__).resolve().parents[2]

MakeWorld = Callable[[str], qvn.World]


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    """A folder with qvn.cfg."""
    shutil.copyfile(ROOT / "share" / "qvn" / "qvn.cfg", tmp_path / "qvn.cfg")
    return tmp_path


@pytest.fixture
def make_world(folder: Path) -> Iterator[MakeWorld]:
    """Makes a virtual world that is closed behind the test."""
    with ExitStack() as worlds:
        yield lambda spec: worlds.enter_context(qvn.virtual(spec, folder=folder))


@pytest.fixture
def flat(make_world: MakeWorld) -> Iterator[qvn.Camera]:
    """A camera of 768 x 512 pixels that sees 20000 everywhere."""
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=flat,serial=4711")
    with qvn.open() as camera:
        yield camera


@pytest.fixture
def ramp(make_world: MakeWorld) -> Iterator[qvn.Camera]:
    """The same camera; each pixel sees the sum of its column and its row."""
    make_world("time=virtual;platform=44,sensor=kaf400e,scene=ramp")
    with qvn.open() as camera:
        yield camera
