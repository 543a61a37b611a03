"""Cooled scientific CCD cameras.

    import qvn

    with qvn.open(platform=44, sensor="kaf1600") as camera:
        camera.cool(-20)
        camera.wait_until_cold()
        frame = camera.expose(30.0)
        print(frame.mean(), frame.metadata.temperature)

docs/python.md is a tour. Without a camera: `qvn.virtual`.
"""
from ._cooler import CoolingState
from .camera import Camera
from .catalogue import Entry, platforms, sensors
from .errors import (
    Aborted,
    CameraClosed,
    CameraNotFound,
    CameraTimeout,
    CatalogueError,
    DefinitionError,
    FilterWheelError,
    FrameMemoryError,
    HardwareError,
    InterfaceError,
    InterfaceLocked,
    LibraryNotFound,
    LinkError,
    LinkFailure,
    PatternError,
    PatternOverflow,
    QvnError,
    SpecificationError,
    UnsupportedPlatform,
    UsbError,
)
from .exposures import Exposure, Series
from .fits import save_fits
from .frames import Binning, Frame, Metadata, Window
from .opening import LINKS, open
from .pattern import Pattern, pattern
from .wheel import FilterWheel
from .world import World, virtual

__version__ = "7.4.3"

__all__ = [
    "Aborted",
    "Binning",
    "Camera",
    "CameraClosed",
    "CameraNotFound",
    "CameraTimeout",
    "CatalogueError",
    "CoolingState",
    "DefinitionError",
    "Entry",
    "Exposure",
    "FilterWheel",
    "FilterWheelError",
    "Frame",
    "FrameMemoryError",
    "HardwareError",
    "InterfaceError",
    "InterfaceLocked",
    "LINKS",
    "LibraryNotFound",
    "LinkError",
    "LinkFailure",
    "Metadata",
    "Pattern",
    "PatternError",
    "PatternOverflow",
    "QvnError",
    "Series",
    "SpecificationError",
    "UnsupportedPlatform",
    "UsbError",
    "Window",
    "World",
    "open",
    "pattern",
    "platforms",
    "save_fits",
    "sensors",
    "virtual",
]
