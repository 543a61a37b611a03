"""Opening a camera: which one, and how it is reached."""
from __future__ import annotations

import ctypes
import os
from dataclasses import replace
from typing import Optional, Union

from . import _records
from ._driver import OPTION_KEEP_CLEAN, OPTIONS_REFUSED, Driver, Plan
from ._library import CAMERAS, Library, PathLike, current, is_virtual
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
    clean: clear the sensor ahead of each exposure, of the charge that gathered meanwhile.
    attach: keep what a running camera does, so its cooler; else it is reset.
    options: QV_OPTION_... bits of qvn.h. Regulation and reports are this package's. A frame that
        waits for an external trigger (0x4) cannot be broken off until it has come.
    """
    library = current()
    library.use_folder(folder)
    with library.choosing:
        plan = _plan(library, platform, sensor, camera, config, link, address, decoder)
        record = plan.config
        if wheel is not None:
            record.FilterWheel = wheel_kind(wheel)
        if options & OPTIONS_REFUSED:
            raise ValueError(f"options {options & OPTIONS_REFUSED:#06x} are not for this package")
        record.Activity = (record.Activity & ~OPTIONS_REFUSED) | options
        if clean:
            record.Activity |= OPTION_KEEP_CLEAN
        library.take_number(plan.number)
    return Camera(Driver(library, replace(plan, attach=attach)))


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
    if not hasattr(library.dll, "QVB_Instrument"):
        return None
    wanted = None if platform is None else find_platform(library, platform).code
    for index in range(library.dll.QVB_InstrumentCount()):
        instrument = _records.Instrument()
        library.dll.QVB_Instrument(index, ctypes.byref(instrument))
        if instrument.Heads != 0:
            continue  # an array, which this package does not open
        free = not library.is_taken(instrument.Camera)
        suits = camera is None and free and wanted in (None, instrument.Platform)
        if suits or camera == instrument.Camera:
            return instrument
    return None


def _camera_config(
    library: Library,
    file: Optional[PathLike],
    camera: Optional[int],
    instrument: Optional[_records.Instrument],
) -> tuple[_records.CameraConfig, Optional[int]]:
    if camera is not None and not 0 <= camera < CAMERAS:
        raise ValueError(f"camera {camera} is not 0 to {CAMERAS - 1}")
    record = _records.CameraConfig()
    library.dll.QV_InitCfg(record)
    if file is None:
        number = instrument.Camera if camera is None and instrument is not None else camera
        return record, number
    with library.shared:
        state = library.dll.QV_LoadCameraConfig(os.fsencode(file), record)
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
    if isinstance(link, str):
        if link not in LINKS:
            raise ValueError(f"link {link!r} is none of {', '.join(LINKS)}")
        link = LINKS[link]
    if link is not None:
        record.InterfaceType = link
    elif not from_file:
        _usual_link(record, platform, instrument)
    if address is not None:
        record.InterfaceAddress = address
    if decoder is not None:
        record.InterfaceLink = decoder


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
