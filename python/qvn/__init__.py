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
from .armed import Armed
from .array import Array
from .camera import Camera
from .catalogue import Entry, platforms, sensors
from .definitions import PlatformDefinition, SensorDefinition, definitions
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
    HeadFailure,
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
from .exposures import ArrayExposure, Exposure, Series
from ._library import library_version
from .fits import save_fits
from .frames import Binning, Frame, Metadata, Window
from .objective import Objective
from .opening import LINKS, open, open_array
from .pattern import Pattern, pattern
from .service import Service
from .wheel import FilterWheel
from .world import World, virtual

__version__ = "7.4.3"

__all__ = [
    "Aborted",
    "Armed",
    "Array",
    "ArrayExposure",
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
    "HeadFailure",
    "InterfaceError",
    "InterfaceLocked",
    "LINKS",
    "LibraryNotFound",
    "LinkError",
    "LinkFailure",
    "Metadata",
    "Objective",
    "Pattern",
    "PatternError",
    "PatternOverflow",
    "PlatformDefinition",
    "QvnError",
    "SensorDefinition",
    "Series",
    "Service",
    "SpecificationError",
    "UnsupportedPlatform",
    "UsbError",
    "Window",
    "World",
    "definitions",
    "library_version",
    "open",
    "open_array",
    "pattern",
    "platforms",
    "save_fits",
    "sensors",
    "virtual",
]
