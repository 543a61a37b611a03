"""Registers and memories of a camera, for service. Nothing here is needed to take frames."""
from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Callable, Optional

from ._checks import MOST_INT32, real, whole
from ._driver import Driver
from .definitions import PLATFORM_FIELDS, SENSOR_FIELDS, change, need_file

if TYPE_CHECKING:
    from .instrument import Instrument

_SENSOR_DATA, _PLATFORM_DATA = 0, 1
_TEXT_ROOM = 256
_DEGREES = 1000.0
_ANALOG = (205,)
_POWER_AND_TRANSFER = (44, 47)


class Service:
    """Registers and memories of a camera; `camera.service` makes it.

    What is written here goes to the camera as it is, and can leave it unusable until it is
    switched off and on; what stands in its memory stays.
    """

    def __init__(self, camera: Instrument, driver: Driver) -> None:
        self._camera = camera
        self._driver = driver

    # --- registers ---

    def read_register(self, register: int) -> int:
        """The word of a register of the camera.

        register: its number, 0 to 31; on platforms 70 and 71 to 255. Larger ones begin anew.
        """
        number = whole("register", register, 0, 255)
        return int(self._do(f"reading register {number}", "QV_RDReg", number))

    def write_register(self, register: int, value: int) -> None:
        """Writes a register of the camera.

        register: its number, as for `read_register`.
        value: 0 to 65535.
        """
        number, word = whole("register", register, 0, 255), whole("value", value, 0, 0xFFFF)
        self._do(f"writing register {number}", "QV_WRReg", number, word)

    def read_image(self, register: int) -> int:
        """What the library holds for the word of a register.

        register: its number, as for `read_register`.
        """
        number = whole("register", register, 0, 255)
        return int(self._do(f"reading the image of register {number}", "QV_RMReg", number))

    def write_image(self, register: int, value: int) -> None:
        """Changes what the library holds for the word of a register.

        register: its number, as for `read_register`.
        value: 0 to 65535.
        """
        number, word = whole("register", register, 0, 255), whole("value", value, 0, 0xFFFF)
        self._do(f"writing the image of register {number}", "QV_WMReg", number, word)

    def status(self, number: int) -> int:
        """A status word of a camera on the bus.

        number: 0 to 15; 7 general, 9 power, 15 hardware version.
        """
        word = whole("status", number, 0, 15)
        return int(self._do(f"reading status {word}", "QV_GetStatus", word))

    def has_power_status(self) -> bool:
        """Whether the camera's power status is other than 0; platforms 44 and 47."""
        self._camera._need_platform("asking for the power", _POWER_AND_TRANSFER)
        return bool(self._do("asking for the power", "QV_QuerySts", 1) == 1)

    def is_transferring(self) -> bool:
        """Whether the card is transferring a frame; platforms 44 and 47."""
        self._camera._need_platform("asking for the transfer", _POWER_AND_TRANSFER)
        return bool(self._do("asking for the transfer", "QV_QuerySts", 2) == 1)

    def analog_input(self, channel: int) -> int:
        """Mean of 64 conversions of a spare channel of platform 205.

        channel: its number, 0 to 7.
        """
        self._camera._need_platform("reading a spare channel", _ANALOG)
        number = whole("channel", channel, 0, 7)
        return int(self._do("reading a spare channel", "QV_GetAD", number))

    def select_sub_camera(self, sub_camera: int) -> None:
        """Speaks with another sub-camera behind the same link.

        sub_camera: 0 to 3.
        """
        number = whole("sub-camera", sub_camera, 0, 3)
        entry = self._driver.library.dll.QV_SubSelect
        camera = self._driver.number

        def run() -> None:
            entry(camera, number)

        self._call("choosing a sub-camera", run)

    # --- memories ---

    def read_memory(self, address: int) -> int:
        """A word of the camera's own memory; 65535 or 0 where there is none.

        address: 0 temperature offset and 1 span in tenths, 7 and 8 serial number, 9 kind of
            temperature sensor, 10 format of the serial number.
        """
        place = whole("address", address, 0, 0xFFFF)
        return int(self._do(f"reading memory word {place}", "QV_ReadEP", place))

    def write_memory(self, address: int, value: int) -> None:
        """Writes a word of the camera's own memory.

        address: as for `read_memory`.
        value: 0 to 65535.
        """
        place, word = whole("address", address, 0, 0xFFFF), whole("value", value, 0, 0xFFFF)
        self._do(f"writing memory word {place}", "QV_WriteEP", place, word)

    def set_serial_number(self, serial: int, decimal: bool = False) -> None:
        """Stores a serial number in the camera's own memory.

        serial: 0 to 2147483647.
        decimal: in the decimal format, of numbers below 65535.
        """
        number = whole("serial", serial, 0, 65534 if decimal else MOST_INT32)
        driver = self._driver

        def run() -> None:
            dll = driver.library.dll
            with driver.library.calling():
                dll.QV_SetSerNum(number, int(bool(decimal)), driver.number)
                driver.note_serial_number()

        self._call("storing the serial number", run)

    def read_byte(self, address: int) -> int:
        """A byte of the pattern's memory.

        address: 0 and more.
        """
        return int(self._do("reading memory", "QV_Peek", whole("address", address, 0, MOST_INT32)))

    def write_byte(self, address: int, value: int) -> None:
        """Writes a byte of the pattern's memory; the pattern stops.

        address: 0 and more.
        value: 0 to 255.
        """
        place, byte = whole("address", address, 0, MOST_INT32), whole("value", value, 0, 0xFF)
        self._do("writing memory", "QV_Poke", place, byte)

    def read_word(self, address: int) -> int:
        """A word of the pattern's memory.

        address: 0 and more.
        """
        return int(self._do("reading memory", "QV_PeekW", whole("address", address, 0, MOST_INT32)))

    def write_word(self, address: int, value: int) -> None:
        """Writes a word of the pattern's memory; the pattern stops.

        address: 0 and more.
        value: 0 to 65535.
        """
        place, word = whole("address", address, 0, MOST_INT32), whole("value", value, 0, 0xFFFF)
        self._do("writing memory", "QV_PokeW", place, word)

    # --- calibration and definitions ---

    def calibrate_temperature(self, offset: float, span: float) -> None:
        """Sets the calibration of the temperature until the camera is opened again.

        offset: degrees that are added to the reading; most platforms multiply their sum by
        span: a factor.
        """
        degrees = real("offset", offset, -_DEGREES, _DEGREES)
        factor = real("span", span, -_DEGREES, _DEGREES)
        self._do("calibrating the temperature", "QV_TempCalib", degrees, factor)

    def change_sensor(self, **values: Any) -> None:
        """Changes the camera's sensor definition until qvn.cfg is read again.

        values: fields of SensorDefinition by name: columns, rows, dark_rows, dark_columns, pixels;
            pixel_width and pixel_height micrometres, width and height millimetres.
        """
        self._change(_SENSOR_DATA, self._driver.ccd, SENSOR_FIELDS, values)

    def change_platform(self, **values: Any) -> None:
        """Changes the camera's platform definition until qvn.cfg is read again.

        values: fields of PlatformDefinition by name: vertical_phase and amplifier_delay
            microseconds, time_base MHz, gain_factors.
        """
        self._change(_PLATFORM_DATA, self._driver.electronics, PLATFORM_FIELDS, values)

    def _change(
        self, what: int, record: ctypes.Structure, names: dict[str, str], values: dict[str, Any]
    ) -> None:
        driver = self._driver
        changed = type(record).from_buffer_copy(record)
        change(changed, names, values)
        if what == _SENSOR_DATA and min(changed.Xpix, changed.Ypix) < 2:
            raise ValueError("a sensor has two columns and two rows at least")

        def run() -> None:
            with driver.hold_binning(), driver.library.shared, driver.library.calling():
                driver.fresh_status()
                driver.library.dll.QV_RWData(what, 0, ctypes.byref(changed), driver.number)
                driver.note_sensor()
                driver.set_binning(driver.binning)  # frames from here on have its pattern

        self._call("changing a definition", run)

    def save_definitions(self) -> None:
        """Saves the definitions of sensor and platform, as they are, into qvn.cfg.

        The file must hold all keys; comments in it are lost.
        """
        driver, plan = self._driver, self._driver.plan

        def run() -> None:
            dll, doing = driver.library.dll, f"saving {driver.library.folder}/qvn.cfg"
            with driver.library.shared, driver.library.calling():
                need_file(doing, dll.QV_SaveCCD(plan.sensor.code, driver.number))
                need_file(
                    doing,
                    dll.QV_SavePlatform(plan.platform.code, plan.sensor.code, driver.number),
                )

        self._call("saving the definitions", run)

    # --- the interface card ---

    @property
    def card_address(self) -> Optional[int]:
        """The bus address of the card's register window; None without a card."""
        if self.card_revision is None:
            return None  # the library would tell that of a card before
        return int(self._do("asking for the card's address", "QV_GetKZBPCIAddress"))

    @property
    def card_revision(self) -> Optional[int]:
        """The card's revision; None without a card."""
        number = self._driver.number
        revision = int(self._do("asking for the card's revision", "QV_GetKZBPCIRevision", number))
        return None if revision == 0xFFFF else revision

    @property
    def card_driver(self) -> str:
        """Name and version of the card's kernel driver; "" without it."""
        buffer = ctypes.create_string_buffer(_TEXT_ROOM)
        self._do("asking for the card's driver", "QV_WDVer", buffer)
        return buffer.value.decode("latin-1")

    def _do(self, doing: str, function: str, *arguments: Any) -> Any:
        return self._camera._do(doing, function, *arguments)

    def _call(self, doing: str, run: Callable[[], None]) -> None:
        self._camera._call(doing, run)
