"""Sensors and electronics as qvn.cfg describes them."""
from __future__ import annotations

import ctypes
from dataclasses import dataclass
from typing import Any, Optional

from . import _records
from ._library import CAMERAS, Library, PathLike, current
from .catalogue import Key, find_platform, find_sensor
from .errors import DefinitionError, QvnError


@dataclass(frozen=True)
class SensorDefinition:
    """A sensor, as qvn.cfg describes it."""

    maker: int  #: code of the maker
    columns: int  #: of the image
    rows: int  #: of the image
    dark_rows: tuple[int, ...]  #: extra rows of a readout with vertical binning 1 to 4
    dark_columns: int  #: ahead of the first image column
    register_length: int  #: of the horizontal register, pixels
    antiblooming: bool  #: has an antiblooming drain
    outputs: int  #: number of output amplifiers
    shutter: int  #: kind of shutter
    pixel_width: float  #: micrometres
    pixel_height: float  #: micrometres
    width: float  #: of the sensitive area, millimetres
    height: float  #: of the sensitive area, millimetres
    full_well: float  #: capacity of a pixel, electrons
    conversion: float  #: charge conversion factor


@dataclass(frozen=True)
class PlatformDefinition:
    """A platform with a sensor, as qvn.cfg describes it."""

    converter_bits: int  #: of the converter; the second one's in the high byte
    version: int  #: hardware version that the camera must report
    vertical_phase: int  #: of a vertical clock, microseconds; for some cameras words of the pattern
    gains: int  #: number of gain settings
    antiblooming_timer: int  #: reported only
    time_base: float  #: master clock of the pattern generator, MHz
    amplifier_delay: float  #: settling of the video chain, microseconds
    converter_clock: float  #: reported only
    word_time: float  #: length of a word of the clock pattern, microseconds
    second_clock: float  #: reported only
    gain_factors: tuple[float, ...]  #: of each gain setting; reported only


def sensor_of(record: _records.CcdDefinition) -> SensorDefinition:
    """What a record of qvn.h tells."""
    return SensorDefinition(
        record.Manufacturer,
        record.Xpix,
        record.Ypix,
        tuple(record.Dummy),
        record.HorDummyPix,
        record.HorRegSize,
        record.Antiblooming != 0,
        record.MultipleOutput,
        record.Shutter,
        record.XpixDim,
        record.YpixDim,
        record.Xarea,
        record.Yarea,
        record.FWC,
        record.CCF,
    )


def platform_of(record: _records.PlatformDefinition) -> PlatformDefinition:
    """What a record of qvn.h tells."""
    return PlatformDefinition(
        record.ADbit,
        record.FpgaId,
        record.VerticalPhasePeriod,
        record.NumberOfGains,
        record.AntiBloomingTimer,
        record.TimeBase,
        record.AmplifierDelay,
        record.ADclock,
        record.SamplingClock[0],
        record.SamplingClock[1],
        tuple(record.Gain),
    )


def definitions(
    platform: Key, sensor: Optional[Key] = None, *, folder: Optional[PathLike] = None
) -> tuple[PlatformDefinition, SensorDefinition]:
    """What qvn.cfg tells of a platform with a sensor; no camera is needed.

    platform, sensor: codes or names; without a sensor the platform's usual one.
    folder: of qvn.cfg, as for `qvn.open`.
    """
    library = current()
    library.use_folder(folder)
    found = find_platform(library, platform)
    carried = find_sensor(library, found, sensor)
    doing = f"reading {library.folder}/qvn.cfg"
    electronics, chip = _records.PlatformDefinition(), _records.CcdDefinition()
    with library.shared, library.calling():
        number = closed_number(library, doing)
        need_file(doing, library.dll.QV_LoadPlatform(found.code, carried.code, number))
        need_file(doing, library.dll.QV_LoadCCD(carried.code, number))
        library.dll.QV_GetHPdata(electronics, number)
        library.dll.QV_GetCCDdata(chip, number)
    return platform_of(electronics), sensor_of(chip)


def closed_number(library: Library, doing: str) -> int:
    """Of a camera that is not open: its record can be borrowed."""
    for number in reversed(range(CAMERAS)):
        if not library.is_taken(number) and not library.dll.QV_IsOn(number):
            return number
    raise QvnError(doing, f"{CAMERAS} cameras are open", "close one")


def need_file(doing: str, state: int) -> None:
    """Raises what the state of a definition file tells."""
    if state != 0:
        raise DefinitionError(
            doing,
            "it cannot be read" if state == 1 else "it does not parse, or lacks a key",
            "`qvn init FOLDER` writes a complete qvn.cfg to compare with",
        )


#: Names of the fields that can be changed, and their names in qvn.h.
SENSOR_FIELDS = {
    "columns": "Xpix",
    "rows": "Ypix",
    "dark_columns": "HorDummyPix",
    "register_length": "HorRegSize",
    "pixel_width": "XpixDim",
    "pixel_height": "YpixDim",
    "width": "Xarea",
    "height": "Yarea",
    "full_well": "FWC",
    "conversion": "CCF",
    "dark_rows": "Dummy",
}
PLATFORM_FIELDS = {
    "vertical_phase": "VerticalPhasePeriod",
    "time_base": "TimeBase",
    "amplifier_delay": "AmplifierDelay",
    "gain_factors": "Gain",
}


def change(record: ctypes.Structure, names: dict[str, str], values: dict[str, Any]) -> None:
    """Writes fields of a record by their names here; none is written if one is wrong."""
    kinds = dict(_fields_of(record))
    for name, value in values.items():
        if name not in names:
            raise ValueError(f"{name!r} is none of {', '.join(names)}")
        _check_field(name, kinds[names[name]], value)
    for name, value in values.items():
        kind = kinds[names[name]]
        is_list = issubclass(kind, ctypes.Array)
        setattr(record, names[name], kind(*value) if is_list else value)


def _fields_of(record: ctypes.Structure) -> list[tuple[str, Any]]:
    return [(field[0], field[1]) for field in record._fields_]


def _check_field(name: str, kind: Any, value: Any) -> None:
    if issubclass(kind, ctypes.Array):
        if len(value) != kind._length_:
            raise ValueError(f"{name} has {kind._length_} values")
        for one in value:
            _check_field(name, kind._type_, one)
        return
    if kind(value).value != value:
        raise ValueError(f"{name} {value} is no number that fits")
