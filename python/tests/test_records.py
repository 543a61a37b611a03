"""The records and prototypes of the package are those of the headers."""
from __future__ import annotations

import ctypes
import re
from typing import Any

import pytest

from conftest import ROOT
from qvn import _records

TYPES: dict[str, Any] = {
    "char": ctypes.c_char,
    "double": ctypes.c_double,
    "int16_t": ctypes.c_int16,
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "uint16_t": ctypes.c_uint16,
    "uint32_t": ctypes.c_uint32,
    "QvbSection": _records.WaveSection,
    "QvExposureCallback": _records.ExposureCallback,
    "QvProgressCallback": _records.ProgressCallback,
    "void": None,
}
RECORDS = {
    "CameraConfig": _records.CameraConfig,
    "CcdDefinition": _records.CcdDefinition,
    "QvbScene": _records.Scene,
    "QvbInstrument": _records.Instrument,
    "QvbWaveRequest": _records.WaveRequest,
    "QvbSection": _records.WaveSection,
    "QvbWave": _records.Wave,
    "QvbWaveLines": _records.WaveLines,
}
LENGTHS = {"QVB_SECTIONS": len(_records.SECTION_NAMES)}


def header(name: str) -> str:
    text = (ROOT / "include" / name).read_text()
    return re.sub(r"/\*.*?\*/|^#.*?$", "", text, flags=re.S | re.M)


HEADERS = header("qvn.h") + header("qvn_bench.h")


def fields(record: str) -> list[tuple[str, Any]]:
    """The fields of a record of the headers, in order."""
    match = re.search(rf"typedef struct {record} \{{(.*?)\}} {record};", HEADERS, flags=re.S)
    assert match is not None
    found: list[tuple[str, Any]] = []
    for line in match.group(1).split(";"):
        words = re.match(r"\s*(?:const )?(\w+)(\s*\*)?\s*(.*)", line, flags=re.S)
        if words is None:
            continue
        kind, pointer, names = words.groups()
        for name in names.split(","):
            length = re.search(r"\[(\w+)\]", name)
            plain = re.sub(r"\[\w+\]", "", name).strip()
            what = ctypes.POINTER(TYPES[kind]) if pointer else TYPES[kind]
            if length is not None:
                number = length.group(1)
                what = what * (LENGTHS[number] if number in LENGTHS else int(number))
            found.append((plain, what))
    return found


@pytest.mark.parametrize("name", RECORDS)
def test_a_record_has_the_headers_fields(name: str) -> None:
    wanted = fields(name)
    assert wanted
    assert list(RECORDS[name]._fields_) == wanted


def test_records_of_fixed_layout_have_their_size() -> None:
    assert ctypes.sizeof(_records.CameraConfig) == 156
    assert ctypes.sizeof(_records.CcdDefinition) == 72


def kind_of(text: str) -> Any:
    """A type of the header; pointers are all alike."""
    if "*" in text:
        return "pointer"
    return TYPES[text.replace("const ", "").split()[0]]


def plain(kind: Any) -> Any:
    is_pointer = kind is ctypes.c_char_p or (
        isinstance(kind, type) and issubclass(kind, ctypes._Pointer)
    )
    return "pointer" if is_pointer else kind


@pytest.mark.parametrize("name", [*_records.LIBRARY, *_records.BENCH])
def test_a_function_has_the_headers_prototype(name: str) -> None:
    match = re.search(rf"QVN_API ([\w ]+\**)\s*\*?{name}\(([^)]*)\)", HEADERS)
    assert match is not None
    result = match.group(0).split(name)[0].replace("QVN_API ", "")
    arguments = [part for part in match.group(2).split(",") if part.strip() != "void"]
    package = {**_records.LIBRARY, **_records.BENCH}[name]
    assert plain(package[0]) == kind_of(result)
    assert [plain(kind) for kind in package[1]] == [kind_of(part.strip()) for part in arguments]
