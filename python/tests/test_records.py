"""The records and prototypes of the package are those of the headers."""
from __future__ import annotations

import ctypes
import re
from typing import Any

import pytest

from conftest import ROOT
from qvn import _records

NUMBERS: dict[str, Any] = {
    "char": ctypes.c_char,
    "double": ctypes.c_double,
    "int16_t": ctypes.c_int16,
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "uint8_t": ctypes.c_uint8,
    "uint16_t": ctypes.c_uint16,
    "uint32_t": ctypes.c_uint32,
    "uint64_t": ctypes.c_uint64,
}
RECORDS: dict[str, Any] = {
    "CameraConfig": _records.CameraConfig,
    "CcdDefinition": _records.CcdDefinition,
    "PlatformDefinition": _records.PlatformDefinition,
    "QvbScene": _records.Scene,
    "QvbInstrument": _records.Instrument,
    "QvbWaveRequest": _records.WaveRequest,
    "QvbSection": _records.WaveSection,
    "QvbWave": _records.Wave,
    "QvbWaveLines": _records.WaveLines,
}
CALLBACKS = {
    "QvExposureCallback": _records.ExposureCallback,
    "QvProgressCallback": _records.ProgressCallback,
}
LENGTHS = {"QVB_SECTIONS": len(_records.SECTION_NAMES)}


def header(name: str) -> str:
    text = (ROOT / "include" / name).read_text()
    return re.sub(r"/\*.*?\*/|^#(?:\\\\\n|.)*?$", "", text, flags=re.S | re.M)


LIBRARY, BENCH = header("qvn.h"), header("qvn_bench.h")
HEADERS = LIBRARY + BENCH


def type_of(text: str) -> Any:
    """The ctypes type of a type of the header, pointers with what they point to."""
    words = text.replace("const", " ").replace("*", " * ").split()
    stars, base = words.count("*"), words[0]
    if stars == 0 and base in CALLBACKS:
        return CALLBACKS[base]
    if stars == 0:
        return None if base == "void" else {**NUMBERS, **RECORDS}[base]
    if base in ("char", "void"):
        assert stars == 1
        return ctypes.c_char_p if base == "char" else ctypes.c_void_p
    kind = {**NUMBERS, **RECORDS}[base]
    for _ in range(stars):
        kind = ctypes.POINTER(kind)
    return kind


def fields(record: str) -> list[tuple[str, Any]]:
    """The fields of a record of the headers, in order."""
    match = re.search(rf"typedef struct {record} \{{(.*?)\}} {record};", HEADERS, flags=re.S)
    assert match is not None
    found: list[tuple[str, Any]] = []
    for line in match.group(1).split(";"):
        words = re.match(r"\s*(?:const )?(\w+)(\s*\*)?\s*(.*)", line, flags=re.S)
        if words is None:
            continue
        kind, star, names = words.groups()
        for name in names.split(","):
            length = re.search(r"\[(\w+)\]", name)
            what = type_of(kind + (star or ""))
            if length is not None:
                number = length.group(1)
                what = what * (LENGTHS[number] if number in LENGTHS else int(number))
            found.append((re.sub(r"\[\w+\]", "", name).strip(), what))
    return found


def functions(text: str) -> dict[str, tuple[str, str]]:
    """The functions of a header: result and arguments, as they stand there."""
    pattern = r"QVN_API\s+([\w\s*]+?)(\w+)\(([^)]*)\);"
    return {name: (result, given) for result, name, given in re.findall(pattern, text)}


def prototype(name: str) -> tuple[Any, list[Any]]:
    result, given = functions(HEADERS)[name]
    parts = [" ".join(part.split()) for part in given.split(",")]
    kinds = [type_of(re.sub(r"\w+$", "", part) if " " in part else part) for part in parts]
    return type_of(result), [] if kinds == [None] else kinds


def test_every_record_of_the_library_is_here() -> None:
    assert set(re.findall(r"typedef struct (\w+)", LIBRARY)) <= set(RECORDS)


@pytest.mark.parametrize("name", RECORDS)
def test_a_record_has_the_headers_fields(name: str) -> None:
    wanted = fields(name)
    assert wanted
    assert list(RECORDS[name]._fields_) == wanted


def test_records_of_fixed_layout_have_their_size() -> None:
    assert ctypes.sizeof(_records.CameraConfig) == 156
    assert ctypes.sizeof(_records.CcdDefinition) == 72
    assert ctypes.sizeof(_records.PlatformDefinition) == 88


@pytest.mark.parametrize("name", CALLBACKS)
def test_a_callback_has_the_headers_arguments(name: str) -> None:
    match = re.search(rf"typedef void \(\*{name}\)\((.*?)\);", LIBRARY, flags=re.S)
    assert match is not None
    wanted = [type_of(re.sub(r"\w+$", "", part.strip())) for part in match.group(1).split(",")]
    kind: Any = CALLBACKS[name]
    assert (kind._restype_, list(kind._argtypes_)) == (None, wanted)


def test_the_headers_are_read_whole() -> None:
    assert len(functions(LIBRARY)) == 123
    assert set(functions(BENCH)) >= set(_records.BENCH)


@pytest.mark.parametrize("name", [*_records.LIBRARY, *_records.BENCH])
def test_a_function_has_the_headers_prototype(name: str) -> None:
    result, arguments = {**_records.LIBRARY, **_records.BENCH}[name]
    assert (result, list(arguments)) == prototype(name)


def test_the_packages_numbers_are_the_headers() -> None:
    from qvn import _driver, _library, _reading

    text = (ROOT / "include" / "qvn.h").read_text()

    def value(name: str) -> int:
        match = re.search(rf"#define {name} (\w+?)u?\b", text)
        assert match is not None
        return int(match.group(1), 0)

    assert _library.CAMERAS == value("QV_CAMERAS")
    assert _reading.HEADS == 8
    assert _driver.CELSIUS == value("QV_CELSIUS")
    options = ("REGULATION", "EXTERNAL_TRIGGER", "KEEP_CLEAN")
    for name in options:
        assert getattr(_driver, f"OPTION_{name}") == value(f"QV_OPTION_{name}")
    own = ("SERVICE", "REGULATION", "SILENT", "INTERNAL_BUFFERS")
    assert _driver.OPTIONS_REFUSED == sum(value(f"QV_OPTION_{name}") for name in own)
