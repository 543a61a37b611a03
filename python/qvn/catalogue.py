"""Platforms and sensors by code and by name."""
from __future__ import annotations

import ctypes
import difflib
from typing import NamedTuple, Optional, Sequence, Union

from ._library import CAMERAS, Library, current
from .errors import CatalogueError

_PLATFORM_LIMIT = 1000
_SENSOR_ROOM = 1024
_NAME_ROOM = 256

DEMO = 1  #: code of the simulated camera
DEFAULT_SENSOR = 275

Key = Union[int, str]


class Entry(NamedTuple):
    """A platform (the camera's electronics) or a sensor."""

    code: int
    name: str

    def __str__(self) -> str:
        return f"{self.name} ({self.code})"


def platforms() -> list[Entry]:
    """All platforms of the catalogue. Some have no driver; `open` tells."""
    return _platforms(current())


def sensors(platform: Key) -> list[Entry]:
    """The sensors that a platform carries."""
    library = current()
    return _sensors(library, find_platform(library, platform))


_platform_lists: dict[str, list[Entry]] = {}


def _platforms(library: Library) -> list[Entry]:
    with library.shared, library.calling():
        if library.name not in _platform_lists:
            _platform_lists[library.name] = _read_platforms(library)
        return list(_platform_lists[library.name])


def _read_platforms(library: Library) -> list[Entry]:
    # The pick list of the library first: where two have one name, it has the usual one.
    listed = (ctypes.c_int32 * library.dll.QV_CamQuery(None))()
    library.dll.QV_CamQuery(listed)
    codes = list(listed) + [code for code in range(_PLATFORM_LIMIT) if code not in listed]
    named = [Entry(code, _platform_name(library, code)) for code in codes]
    return [entry for entry in named if entry.name != "Undefined"]


def _platform_name(library: Library, code: int) -> str:
    buffer = ctypes.create_string_buffer(_NAME_ROOM)
    library.dll.QV_PTFtoNameVB(code, buffer, CAMERAS - 1)
    return buffer.value.decode("latin-1")


def _sensor_name(library: Library, code: int) -> str:
    buffer = ctypes.create_string_buffer(_NAME_ROOM)
    library.dll.QV_CCDtoNameVB(code, buffer, CAMERAS - 1)
    return buffer.value.decode("latin-1")


def _sensors(library: Library, platform: Entry) -> list[Entry]:
    with library.shared, library.calling():
        codes = (ctypes.c_int32 * _SENSOR_ROOM)()
        count = library.dll.QV_CCDQuery(platform.code, codes)
        return [Entry(code, _sensor_name(library, code)) for code in codes[: max(count, 0)]]


def _match(entries: Sequence[Entry], key: Key) -> Optional[Entry]:
    text = str(key).strip()
    for entry in entries:
        wanted = str(entry.code) if text.isdigit() else entry.name.lower()
        if wanted == text.lower():
            return entry
    return None


def _listed(entries: Sequence[Entry]) -> str:
    return ", ".join(str(entry) for entry in entries)


def _advice(entries: Sequence[Entry], key: Key) -> str:
    by_name = {entry.name.lower(): entry for entry in entries}
    similar = difflib.get_close_matches(str(key).lower(), by_name, n=3)
    close = f"{_listed([by_name[name] for name in similar])}; " if similar else ""
    return f"{close}one of {_listed(entries)}"


def find_platform(library: Library, key: Key) -> Entry:
    """The platform of a code or a name."""
    entries = _platforms(library)
    entry = _match(entries, key)
    if entry is None:
        raise CatalogueError(
            "choosing the camera", f"there is no platform {key!r}", _advice(entries, key)
        )
    return entry


def find_sensor(library: Library, platform: Entry, key: Optional[Key]) -> Entry:
    """The sensor of a code or a name on a platform; None: the usual one."""
    entries = _sensors(library, platform)
    if not entries:
        raise CatalogueError(
            "choosing the camera", f"platform {platform} has no sensors", "another platform"
        )
    if key is None:
        return _match(entries, DEFAULT_SENSOR) or entries[0]
    entry = _match(entries, key)
    if entry is None:
        raise CatalogueError(
            "choosing the camera",
            f"platform {platform} does not carry a sensor {key!r}",
            _advice(entries, key),
        )
    return entry
