"""Opening a camera: which one, and how it is reached."""
from __future__ import annotations

import ctypes
import os
from dataclasses import replace
from typing import Iterable, Iterator, Optional, Union

from . import _records
from ._checks import text, whole
from ._driver import OPTION_KEEP_CLEAN, OPTIONS_REFUSED, Driver, Plan
from ._library import CAMERAS, Library, PathLike, current, is_virtual
from ._reading import HEADS
from .array import Array
from .camera import Camera
from .catalogue import DEMO, Entry, Key, find_platform, find_sensor
from .errors import DefinitionError, QvnError
from .wheel import wheel_kind

#: How a camera is attached: InterfaceType of qvn.h.
LINKS = {"printer-port": 0, "port-card": 1, "pci": 2, "pci-4": 4, "usb": 6, "pci-70": 70}

_USB_PLATFORMS = (29, 48, 61, 200, 205, 300, 400, 450)


def open(
    platform: Optional[Key] = None,
    sensor: Optional[Key] = None,
    *,
    camera: Optional[int] = None,
    config: Optional[PathLike] = None,
    folder: Optional[PathLike] = None,
    link: Optional[Union[int, str]] = None,
    address: Optional[int] = None,
    decoder: Optional[int] = None,
    wheel: Union[int, str, None] = None,
    sub_camera: Optional[int] = None,
    output: Optional[int] = None,
    clean: bool = True,
    attach: bool = False,
    options: int = 0,
) -> Camera:
    """Opens a camera; use it as a context, which closes it.

    platform: code or name of the electronics; without it the first camera of the virtual world,
        or the simulated camera. `platforms` lists them.
    sensor: code or name; without it the platform's usual one. `sensors` lists them.
    camera: number, 0 to 7: also the index of the interface card or of the USB device. Without it
        the lowest that is free.
    config: a camera.cfg that tells all of this; what is given besides goes ahead of it.
    folder: of qvn.cfg. Without it the variable QVN_FOLDER, then ./qvn, then the current folder,
        then a copy of the installed samples.
    link: a name or code of LINKS; without it the platform's usual one.
    address: base port of the port interfaces.
    decoder: serial decoder on the cable: 0 none, 1 or 3.
    wheel: filter wheel: a name of `qvn.wheel.KINDS` or 0 to 4; without it none, or that of the
        virtual camera.
    sub_camera: of several behind one link, 0 to 3.
    output: output amplifier of the sensor, 0 to 3.
    clean: clear the sensor ahead of each exposure, of the charge that gathered meanwhile.
    attach: keep what a running camera does, so its cooler; else it is reset.
    options: QV_OPTION_... bits of qvn.h. Regulation and reports are this package's. With 0x4 all
        frames begin with the external trigger. On platforms 29 and 400 the camera itself waits for
        it, and nothing breaks that off.
    """
    library = current()
    library.need_own("opening a camera")
    if camera is not None:
        camera = whole("camera", camera, 0, CAMERAS - 1)
    library.use_folder(folder)
    with library.choosing:
        plan = _plan(library, platform, sensor, camera, config, link, address, decoder)
        record = plan.config
        if wheel is not None:
            record.FilterWheel = wheel_kind(wheel)
        if sub_camera is not None:
            record.CameraAddress = whole("sub_camera", sub_camera, 0, 3)
        if output is not None:
            record.CcdOutput = whole("output", output, 0, 3)
        _set_options(record, options, clean)
        library.take_number(plan.number)
    return Camera(Driver(library, replace(plan, attach=bool(attach))))


def open_array(
    platform: Optional[Key] = None,
    sensor: Optional[Key] = None,
    *,
    heads: Optional[Iterable[int]] = None,
    camera: Optional[int] = None,
    folder: Optional[PathLike] = None,
    wheel: Union[int, str, None] = None,
    options: int = 0,
) -> Array:
    """Opens the heads behind the first interface card as one array; use it as a context.

    platform: code or name: 42 or 44; without it the array of the virtual world.
    sensor: code or name, of all heads; without it the platform's usual one.
    heads: the numbers of those that are fitted, 0 to 7; without it those of the virtual world.
    camera: number, 0 to 7: also that of the head that the cooler and settings are about. Without
        it the first head's.
    folder: of qvn.cfg, as for `qvn.open`.
    wheel: filter wheel of that head, as for `qvn.open`.
    options: QV_OPTION_... bits of qvn.h, as for `qvn.open`.
    """
    library = current()
    library.need_own("opening an array")
    library.use_folder(folder)
    with library.choosing:
        instrument = _array_of(library, camera)
        plan = _array_plan(library, platform, sensor, heads, camera, instrument)
        if wheel is not None:
            plan.config.FilterWheel = wheel_kind(wheel)
        _set_options(plan.config, options, False)
        library.take_number(plan.number)
    return Array(Driver(library, plan))


def _set_options(record: _records.CameraConfig, options: int, clean: bool) -> None:
    bits = whole("options", options, 0, 0xFFFF)
    if bits & OPTIONS_REFUSED:
        raise ValueError(f"options {bits & OPTIONS_REFUSED:#06x} are not for this package")
    record.Activity = (record.Activity & ~OPTIONS_REFUSED) | bits
    if clean:
        record.Activity |= OPTION_KEEP_CLEAN


def _array_of(library: Library, camera: Optional[int]) -> Optional[_records.Instrument]:
    """The array of the virtual world."""
    for instrument in _instruments(library):
        if instrument.Heads != 0 and camera in (None, instrument.Camera):
            return instrument
    return None


def _array_plan(
    library: Library,
    platform: Optional[Key],
    sensor: Optional[Key],
    heads: Optional[Iterable[int]],
    camera: Optional[int],
    instrument: Optional[_records.Instrument],
) -> Plan:
    if instrument is not None:
        platform = instrument.Platform if platform is None else platform
        sensor = instrument.Sensor if sensor is None else sensor
        heads = range(instrument.Heads) if heads is None else heads
    if platform is None or heads is None:
        raise QvnError(
            "choosing the array", "nothing tells which heads are fitted", "platform= and heads="
        )
    fitted = tuple(sorted({whole("head", head, 0, HEADS - 1) for head in heads}))
    if not fitted:
        raise ValueError("an array has one head at least")
    found = find_platform(library, platform)
    carried = find_sensor(library, found, sensor)
    record = _records.CameraConfig()
    library.dll.QV_InitCfg(record)
    record.Platform, record.CCD, record.InterfaceType = found.code, carried.code, LINKS["pci"]
    if camera is None:
        camera = fitted[0] if instrument is None else instrument.Camera
    number = whole("camera", camera, 0, CAMERAS - 1)
    record.PciIndex = number
    if instrument is not None:
        record.FilterWheel = instrument.FilterWheel
    return Plan(number, found, carried, record, False, False, instrument is not None, fitted)


def _plan(
    library: Library,
    platform: Optional[Key],
    sensor: Optional[Key],
    camera: Optional[int],
    config: Optional[PathLike],
    link: Optional[Union[int, str]],
    address: Optional[int],
    decoder: Optional[int],
) -> Plan:
    instrument = _instrument_of(library, camera, platform)
    if instrument is None and platform is None and is_virtual():
        raise QvnError("choosing the camera", "the virtual world has none left", "close one")
    record, number = _camera_config(library, config, camera, instrument)
    found = _choose(library, platform, sensor, config, record, instrument)
    record.Platform, record.CCD = found[0].code, found[1].code
    _set_link(record, found[0], link, address, decoder, instrument, config is not None)
    if number is None:
        number = _free_number(library)
    record.PciIndex = number
    return Plan(number, *found, record, config is not None, False, instrument is not None)


def _instrument_of(
    library: Library, camera: Optional[int], platform: Optional[Key]
) -> Optional[_records.Instrument]:
    """The camera of the virtual world that is meant."""
    wanted = None if platform is None else find_platform(library, platform).code
    for instrument in _instruments(library):
        if instrument.Heads != 0:
            continue  # an array, which `open_array` opens
        free = not library.is_taken(instrument.Camera)
        suits = camera is None and free and wanted in (None, instrument.Platform)
        if suits or camera == instrument.Camera:
            return instrument
    return None


def _instruments(library: Library) -> Iterator[_records.Instrument]:
    """Those of the virtual world, if there is one."""
    if not hasattr(library.dll, "QVB_Instrument"):
        return
    for index in range(library.dll.QVB_InstrumentCount()):
        instrument = _records.Instrument()
        library.dll.QVB_Instrument(index, ctypes.byref(instrument))
        yield instrument


def _camera_config(
    library: Library,
    file: Optional[PathLike],
    camera: Optional[int],
    instrument: Optional[_records.Instrument],
) -> tuple[_records.CameraConfig, Optional[int]]:
    record = _records.CameraConfig()
    library.dll.QV_InitCfg(record)
    if file is None:
        number = instrument.Camera if camera is None and instrument is not None else camera
        return record, number
    with library.shared:
        state = library.dll.QV_LoadCameraConfig(text("config", file), record)
    if state != 0:
        raise DefinitionError(
            f"reading {os.fspath(file)}",
            "it cannot be read" if state == 1 else "it does not parse",
            f"a plain name is sought in {library.folder}; `qvn init FOLDER` writes a sample",
        )
    number = record.PciIndex if camera is None else camera
    if not 0 <= number < CAMERAS:
        raise DefinitionError(
            f"reading {os.fspath(file)}",
            f"CameraConfig.PciIndex is {number}",
            f"0 to {CAMERAS - 1}; it is the camera's number",
        )
    return record, number


def _choose(
    library: Library,
    platform: Optional[Key],
    sensor: Optional[Key],
    file: Optional[PathLike],
    record: _records.CameraConfig,
    instrument: Optional[_records.Instrument],
) -> tuple[Entry, Entry]:
    if platform is None and file is not None:
        platform = record.Platform
        sensor = record.CCD if sensor is None else sensor
    elif platform is None:
        platform = DEMO if instrument is None else instrument.Platform
    found = find_platform(library, platform)
    if sensor is None and instrument is not None and instrument.Platform == found.code:
        sensor = instrument.Sensor
    return found, find_sensor(library, found, sensor)


def _set_link(
    record: _records.CameraConfig,
    platform: Entry,
    link: Union[int, str, None],
    address: Optional[int],
    decoder: Optional[int],
    instrument: Optional[_records.Instrument],
    from_file: bool,
) -> None:
    if link is not None:
        record.InterfaceType = link_code(link)
    elif not from_file:
        _usual_link(record, platform, instrument)
    if address is not None:
        record.InterfaceAddress = whole("address", address, -1, 0xFFFF)
    if decoder is not None:
        record.InterfaceLink = whole("decoder", decoder, 0, 255)


def link_code(link: Union[int, str]) -> int:
    """The code of a link, by its code or its name."""
    if not isinstance(link, str):
        return whole("link", link, 0, 255)
    if link not in LINKS:
        raise ValueError(f"link {link!r} is none of {', '.join(LINKS)}")
    return LINKS[link]


def _usual_link(
    record: _records.CameraConfig, platform: Entry, instrument: Optional[_records.Instrument]
) -> None:
    if instrument is not None and instrument.Platform == platform.code:
        record.InterfaceType = instrument.InterfaceType
        record.InterfaceAddress = instrument.InterfaceAddress
        record.InterfaceLink = instrument.InterfaceLink
        record.FilterWheel = instrument.FilterWheel
    elif platform.code == DEMO:
        record.InterfaceType = LINKS["printer-port"]
    else:
        record.InterfaceType = LINKS["usb" if platform.code in _USB_PLATFORMS else "pci"]


def _free_number(library: Library) -> int:
    for number in range(CAMERAS):
        if not library.is_taken(number):
            return number
    raise QvnError("choosing the camera's number", f"{CAMERAS} cameras are open", "close one")
