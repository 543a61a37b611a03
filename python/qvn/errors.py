"""What goes wrong: one class for each kind of failure, all of them QvnError.

Failures that the library reports carry its code (``error.code``, QV_ERROR_... of qvn.h, below 0
QVB_ERROR_... of qvn_bench.h) and its text (``error.text``); ``error.hint`` tells what to try.
"""
from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple, Optional

if TYPE_CHECKING:
    from .frames import Frame


class QvnError(Exception):
    """Anything that this package or the library under it could not do."""

    def __init__(self, doing: str, text: str, hint: str = "", code: Optional[int] = None) -> None:
        self.doing = doing  #: what was being done
        self.text = text  #: why it failed
        self.hint = hint  #: what to try
        self.code = code  #: the library's code; None: not from the library
        number = "" if code is None else f" (error {code})"
        advice = f". Try: {hint}" if hint else ""
        super().__init__(f"{doing}: {text}{number}{advice}")


class CatalogueError(QvnError, ValueError):
    """A platform or a sensor that the catalogue does not have, or not together."""


class DefinitionError(QvnError):
    """The file qvn.cfg is missing, cannot be read, or lacks what is needed."""


class LibraryNotFound(QvnError, ImportError):
    """A shared library is missing: libqvn, libqvn_bench, or one that the camera needs."""


class UnsupportedPlatform(QvnError):
    """The platform has no driver, or not what was asked for."""


class CameraNotFound(QvnError):
    """No camera answers, or another one than expected."""


class InterfaceError(QvnError):
    """The computer's side of the link: the interface card, its driver, its memory, USB."""


class InterfaceLocked(InterfaceError):
    """Another process uses the interface card."""


class UsbError(InterfaceError):
    """There is no USB device, or it cannot be opened."""


class LinkError(QvnError):
    """The camera's side of the link."""


class LinkFailure(LinkError):
    """A frame or a temperature did not arrive."""


class HeadFailure(LinkFailure):
    """Frames of an array's heads did not arrive. ``heads`` failed, ``frames`` has the others'."""

    def __init__(self, doing: str, heads: list[int], frames: dict[int, Frame]) -> None:
        names = ", ".join(str(head) for head in heads)
        super().__init__(
            doing, f"nothing came from head {names}", "check its cable, and heads=", 2
        )
        self.heads = heads
        self.frames = frames


class PatternError(QvnError):
    """The clock pattern of a geometry could not be made."""


class PatternOverflow(PatternError):
    """The clock pattern does not fit into the camera."""


class FilterWheelError(QvnError):
    """The wheel's zero position was not found."""


class HardwareError(QvnError):
    """The camera reports that something in it is broken or out of date."""


class FrameMemoryError(QvnError, MemoryError):
    """No memory for a frame."""


class SpecificationError(QvnError, ValueError):
    """The text that tells virtual cameras is wrong."""


class CameraClosed(QvnError):
    """The camera has been closed."""


class CameraTimeout(QvnError, TimeoutError):
    """A call to the camera, or a wait for it, took longer than its limit."""


class Aborted(QvnError):
    """The exposure was broken off. ``frame`` is what was read, None if nothing was."""

    def __init__(self, doing: str, frame: Optional[Frame] = None) -> None:
        super().__init__(doing, "broken off")
        self.frame = frame


class _Row(NamedTuple):
    kind: type[QvnError]
    hint: str


_POWER_AND_CABLE = "check the camera's power and cable, and link="
_FOLDER = "folder= with the folder that holds qvn.cfg; `qvn init FOLDER` makes one"
_MEMORY = "free memory, a smaller window or a higher binning"

_ROWS: dict[int, _Row] = {
    1: _Row(CameraNotFound, _POWER_AND_CABLE),
    2: _Row(LinkFailure, "check the cable, switch the camera off and on, then open it again"),
    3: _Row(UnsupportedPlatform, "another platform; this one has no driver"),
    4: _Row(InterfaceLocked, "end the other program that uses the interface"),
    5: _Row(DefinitionError, _FOLDER),
    6: _Row(DefinitionError, _FOLDER),
    7: _Row(FilterWheelError, "check the wheel's cable and wheel="),
    8: _Row(PatternOverflow, "a lower vertical binning or a smaller window"),
    9: _Row(InterfaceError, "free memory, or options=0x4000 to do without DMA"),
    10: _Row(LinkError, "switch the remote serializer on"),
    11: _Row(LinkError, "check InterfaceLink in camera.cfg, or decoder="),
    12: _Row(UnsupportedPlatform, "arrays are for platforms 42 and 44"),
    13: _Row(InterfaceError, "check the rights to the interface card (docs/card.md)"),
    15: _Row(InterfaceError, "check camera=, which is also the index of the card"),
    16: _Row(FrameMemoryError, _MEMORY),
    17: _Row(UsbError, "plug the camera in and switch it on"),
    18: _Row(UsbError, "check the rights on the USB device, and that no other program holds it"),
    19: _Row(LibraryNotFound, "leave bit 0x800 out of options="),
    20: _Row(LibraryNotFound, "install the interface adaptor's library"),
    22: _Row(PatternError, "free memory, or a lower vertical binning"),
    23: _Row(PatternError, "make the folder of qvn.cfg writable; wave.bin is written there"),
    24: _Row(LinkError, "switch the camera off and on"),
    25: _Row(LinkError, "switch the camera off and on"),
    26: _Row(LinkError, "check the cable"),
    27: _Row(HardwareError, "check the camera's power supply"),
    28: _Row(HardwareError, "update the camera's firmware"),
    -1: _Row(QvnError, "check the numbers that were given"),
    -2: _Row(QvnError, "close the cameras first"),
    -3: _Row(CatalogueError, "a sensor of that platform, and a platform with a pattern memory"),
    -4: _Row(PatternError, "build the pattern again"),
    -5: _Row(FrameMemoryError, "free memory"),
    -6: _Row(FrameMemoryError, "a larger buffer"),
    -7: _Row(DefinitionError, _FOLDER),
    -8: _Row(SpecificationError, '"platform=42,sensor=255"; docs/virtual-cameras.md has all keys'),
    -9: _Row(QvnError, "another name, or a disk with free space"),
}

_OTHER = _Row(QvnError, "switch the camera off and on, then open it again")


def error_of(code: int, text: str, doing: str, hint: str = "") -> QvnError:
    """The exception for a code of the library."""
    row = _ROWS.get(code, _OTHER)
    return row.kind(doing, text or "the library has no text for this", hint or row.hint, code)
