"""What is public: everything of qvn.h, and every name with a docstring that tells its units."""
from __future__ import annotations

import dataclasses
import inspect
import re
from pathlib import Path
from typing import Any, Iterator

import pytest

import qvn
from conftest import ROOT
from qvn import _records

PACKAGE = Path(qvn.__file__).parent
SOURCES = "\n".join(path.read_text() for path in sorted(PACKAGE.glob("*.py")))


def functions_of_the_header() -> set[str]:
    text = (ROOT / "include" / "qvn.h").read_text()
    return set(re.findall(r"^QVN_API [\w ]+?\*?(\w+)\(", text, flags=re.M))


def rows() -> list[tuple[list[str], str]]:
    """The table of the functions in docs/python.md."""
    page = (ROOT / "docs" / "python.md").read_text()
    table = page.split("## Where the functions of qvn.h are", 1)[1]
    found = re.findall(r"^\| (`_?QV_.*?) \| (.*?) \|$", table, flags=re.M)
    return [(re.findall(r"`(\w+)`", functions), told) for functions, told in found]


def test_every_function_has_one_place_in_the_table() -> None:
    named = [name for names, _ in rows() for name in names]
    assert sorted(named) == sorted(functions_of_the_header())
    assert len(named) == 123


@pytest.mark.parametrize("names, told", rows())
def test_a_function_is_where_the_table_says(names: list[str], told: str) -> None:
    for name in names:
        is_called = re.search(rf"\b{name}\b", SOURCES.replace(f'    "{name}": (', "")) is not None
        assert is_called == (not told.startswith("no:")), name
        assert (name in _records.LIBRARY) == is_called
    if told.startswith("no"):
        return
    places = re.findall(r"`([a-zA-Z]+)\.([a-z_]+)`", told)
    assert places
    for owner, name in places:
        if owner not in ("time", "error"):  # not of this package; of an instance
            holder = {"camera": qvn.Camera, "qvn": qvn}.get(owner, getattr(qvn, owner, None))
            assert hasattr(holder, name), f"{owner}.{name}"


def members(kind: type) -> Iterator[tuple[str, Any]]:
    for name, member in inspect.getmembers(kind):
        if name.startswith("_") or not _is_ours(kind, name):
            continue
        yield name, member


def _is_ours(kind: type, name: str) -> bool:
    owner = next(one for one in kind.__mro__ if name in vars(one))
    return owner.__module__.startswith("qvn")


def public() -> dict[str, Any]:
    """Functions, classes, methods and properties by their names."""
    found: dict[str, Any] = {}
    for name in qvn.__all__:
        thing = getattr(qvn, name)
        if not callable(thing):
            continue
        found[name] = thing
        if inspect.isclass(thing):
            for member, what in members(thing):
                if inspect.isfunction(what) or isinstance(what, property):
                    found[f"{name}.{member}"] = what
    return found


PUBLIC = public()


def test_the_public_names_are_all_listed() -> None:
    assert qvn.__all__ == sorted(qvn.__all__)
    shown = {name for name in vars(qvn) if not name.startswith("_")}
    modules = {path.stem for path in PACKAGE.glob("*.py")}
    assert shown - modules <= set(qvn.__all__)


@pytest.mark.parametrize("name", PUBLIC)
def test_a_public_name_has_a_docstring(name: str) -> None:
    text = inspect.getdoc(PUBLIC[name])
    assert text and text[0].isupper() or text and text[0] in '"0123456789', name
    assert "tuple(" not in text and not text.startswith("Alias")


#: Arguments with a dimension, and the words of which one has to be there.
UNITS = {
    "seconds": ("second",),
    "timeout": ("second",),
    "interval": ("second",),
    "period": ("second",),
    "settle": ("second",),
    "milliseconds": ("0 to 65535",),
    "celsius": ("celsius",),
    "to": ("celsius",),
    "tolerance": ("degrees",),
    "offset": ("degrees", "0 to 511"),
    "ramp": ("a minute",),
    "percent": ("percent", "0 to 100"),
    "window": ("binned pixels", "those of `expose`"),
    "lines": ("of the sensor",),
}


@pytest.mark.parametrize("name", [name for name in PUBLIC if inspect.isfunction(PUBLIC[name])])
def test_arguments_are_told_with_their_units(name: str) -> None:
    text = inspect.getdoc(PUBLIC[name]) or ""
    arguments = [one for one in inspect.signature(PUBLIC[name]).parameters if one != "self"]
    for argument in arguments:
        if argument in ("arguments", "keywords", "order"):
            continue  # numpy's
        assert re.search(rf"\b{argument}\b", text, flags=re.I), f"{name}: {argument}"
        if argument in UNITS:
            assert any(word in text.lower() for word in UNITS[argument]), f"{name}: {argument}"


DIMENSIONS = (
    "Celsius degrees percent seconds micrometres microseconds millimetres MHz electrons factor gain"
    " reported"
).split()


@pytest.mark.parametrize(
    "kind",
    [
        qvn.Metadata,
        qvn.CoolingState,
        qvn.Pattern,
        qvn.SensorDefinition,
        qvn.PlatformDefinition,
    ],
)
def test_numbers_of_a_record_are_told_with_their_units(kind: type) -> None:
    source = inspect.getsource(kind)
    for field in dataclasses.fields(kind):
        if "float" not in str(field.type):
            continue
        line = next(line for line in source.splitlines() if line.startswith(f"    {field.name}:"))
        assert "#:" in line, f"{field.name} has no comment"
        assert any(unit in line for unit in DIMENSIONS), line
