"""The package as pip installs it, without a network, and as a distribution carries it."""
from __future__ import annotations

import importlib.util
import os
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

import qvn
from conftest import ROOT

WANTED = ("setuptools", "wheel", "pip")
SMALL = "time=virtual;platform=44,sensor=kaf400e,scene=flat"


def run(*command: str, cwd: Path) -> str:
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    done = subprocess.run(
        command, cwd=cwd, env=environment, capture_output=True, text=True, timeout=240
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def wheel(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """Made from a copy, since it is built beside its sources."""
    missing = [name for name in WANTED if importlib.util.find_spec(name) is None]
    if missing:
        pytest.skip("not installed: " + ", ".join(f"python3-{name}" for name in missing))
    folder = tmp_path_factory.mktemp("wheel")
    ignored = shutil.ignore_patterns("__pycache__", "tests")
    shutil.copytree(ROOT / "python", folder / "python", ignore=ignored)
    pip = (sys.executable, "-m", "pip", "--disable-pip-version-check", "wheel", "-q")
    run(*pip, "--no-index", "--no-deps", "--no-build-isolation", "./python", cwd=folder)
    (made,) = folder.glob("qvn-*.whl")
    return made


def test_the_wheel_has_every_module_and_its_types(wheel: Path) -> None:
    sources = {f"qvn/{path.name}" for path in Path(qvn.__file__).parent.glob("*.py")}
    with zipfile.ZipFile(wheel) as file:
        names = {name for name in file.namelist() if name.startswith("qvn/")}
        (metadata,) = (name for name in file.namelist() if name.endswith("/METADATA"))
        told = file.read(metadata).decode()
    assert names == sources | {"qvn/py.typed"}
    assert wheel.name.endswith("-py3-none-any.whl")  # nothing is compiled
    assert f"Version: {qvn.__version__}" in told
    assert "Requires-Dist: numpy" in told and "Requires-Python: >=3.9" in told


def test_it_works_in_an_environment_of_its_own(wheel: Path, folder: Path, tmp_path: Path) -> None:
    place = tmp_path / "lib" / "site"
    pip = (sys.executable, "-m", "pip", "--disable-pip-version-check", "install", "-q")
    run(*pip, "--no-index", "--no-deps", "--target", str(place), str(wheel), cwd=tmp_path)
    code = f"""
import sys
sys.path.insert(0, {str(place)!r})
import qvn
assert qvn.__file__.startswith({str(place)!r})
with qvn.virtual({SMALL!r}, folder={str(folder)!r}), qvn.open() as camera:
    print(int(camera.expose(0.1)[5, 5]))
"""
    assert run(sys.executable, "-c", code, cwd=tmp_path) == "20000\n"


def test_the_version_stands_once_for_all() -> None:
    text = (ROOT / "python" / "pyproject.toml").read_text()
    assert f'version = "{qvn.__version__}"' in text
