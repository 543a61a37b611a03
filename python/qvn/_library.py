"""The shared libraries: finding them, their folder of definitions, their clock, their locks."""
from __future__ import annotations

import atexit
import contextlib
import ctypes
import os
import shutil
import tempfile
import threading
import time
from datetime import datetime, timedelta, timezone
from pathlib import Path
from typing import TYPE_CHECKING, Any, ContextManager, Iterator, Optional, Union

from . import _records
from ._checks import text
from ._turns import BinningTurns
from .errors import DefinitionError, LibraryNotFound, QvnError, error_of

if TYPE_CHECKING:
    from ._driver import Driver

PathLike = Union[str, "os.PathLike[str]"]

CAMERAS = 8  #: camera numbers are 0 to 7
LIBRARY_VARIABLE = "QVN_LIBRARY_DIR"
FOLDER_VARIABLE = "QVN_FOLDER"

_LONGEST_PATH = 1023
_LONGEST_DELAY_MS = 500
_VERSION_ROOM = 128


_shared = threading.RLock()


class Library:
    """One loaded library with its eight cameras."""

    def __init__(self, name: str, prototypes: dict[str, _records.Prototype]) -> None:
        self.name = name
        self.dll = _load(name)
        for function, (result, arguments) in prototypes.items():
            entry = getattr(self.dll, function)
            entry.restype = result
            entry.argtypes = list(arguments)
        self.folder: Optional[Path] = None
        #: Opening, closing, catalogue, and whatever builds a pattern: all cameras share one file,
        #: those of the two libraries too.
        self.shared = _shared
        self.cameras: dict[int, Driver] = {}  #: those that are open
        self.choosing = threading.RLock()  #: held while a camera number is chosen
        self._taken: set[int] = set()
        #: Kept for good: a closed camera's record has them still, and a pattern may be built in it.
        self.callbacks = (
            _records.ExposureCallback(self._exposing),
            _records.ProgressCallback(self._progressing),
        )
        self.turns = BinningTurns()
        self.left = False  #: the process was forked from one with open cameras
        self.virtual_time = False
        self._one_thread = threading.RLock()
        self._midnight = (0.0, datetime.now(timezone.utc))
        self._scratch: Optional[Path] = None

    def _exposing(self, text: Optional[bytes], camera: int) -> None:
        driver = self.cameras.get(camera)
        if driver is not None:
            driver.exposing()

    def _progressing(self, text: Optional[bytes], percent: int, camera: int) -> None:
        driver = self.cameras.get(camera)
        if driver is not None:
            driver.progressing(text, percent)

    # --- clock ---

    def set_virtual_time(self, on: bool) -> None:
        """In virtual time all cameras together have one thread at a time."""
        self.virtual_time = on
        if on:
            self._midnight = (self.seconds(), datetime.now(timezone.utc))

    def seconds(self) -> float:
        """A clock that never goes back."""
        return float(self.dll.QVB_Seconds()) if self.virtual_time else time.monotonic()

    def utc(self) -> datetime:
        """Now, UTC. In virtual time the days pass as virtual seconds do."""
        if not self.virtual_time:
            return datetime.now(timezone.utc)
        start, date = self._midnight
        return date + timedelta(seconds=self.seconds() - start)

    def calling(self) -> ContextManager[Any]:
        """Held round calls that reach a camera."""
        if self.virtual_time:
            return self._one_thread
        return contextlib.nullcontext()

    def pause(self, seconds: float) -> None:
        """Lets time pass. In virtual time the coolers are regulated from here."""
        if not self.virtual_time:
            time.sleep(max(seconds, 0.0))
            return
        end = self.seconds() + seconds
        while (left := end - self.seconds()) > 0.0:
            with self.calling():
                self.dll.QV_Delay(max(1, min(_LONGEST_DELAY_MS, round(left * 1000.0))))
                for driver in list(self.cameras.values()):
                    driver.turn_if_due()

    # --- forked processes ---

    def leave(self, shared: threading.RLock, in_world: bool) -> None:
        """What is open belongs to the process that this one was forked from."""
        self.shared = shared
        self.choosing, self._one_thread = threading.RLock(), threading.RLock()
        self.turns = BinningTurns()
        self.left = self.left or in_world or bool(self.cameras)
        for driver in self.cameras.values():
            driver.closed = True
        self.cameras.clear()
        self._scratch = None

    def need_own(self, doing: str) -> None:
        if self.left:
            raise QvnError(
                doing,
                "this process was forked from one with open cameras",
                "start it anew, as the method spawn of multiprocessing does",
            )

    # --- camera numbers ---

    def is_taken(self, number: int) -> bool:
        return number in self._taken

    def take_number(self, number: int) -> None:
        with self.choosing:
            if number in self._taken:
                raise QvnError(f"opening camera {number}", "it is open", "another camera=", -2)
            self._taken.add(number)

    def give_back(self, number: int) -> None:
        with self.choosing:
            self._taken.discard(number)

    # --- errors ---

    def text_of(self, code: int) -> str:
        known = code >= 0 or hasattr(self.dll, "QVB_ErrorMessage")
        told: Optional[bytes] = None
        if known:
            told = (self.dll.QV_ErrorMessage if code >= 0 else self.dll.QVB_ErrorMessage)(code)
        return told.decode("latin-1") if told else ""

    def error(self, code: int, doing: str, hint: str = "") -> QvnError:
        return error_of(code, self.text_of(code), doing, hint)

    # --- folder ---

    def use_folder(self, asked: Optional[PathLike]) -> Path:
        """Points the library at the folder of qvn.cfg; see `qvn.open`."""
        with self.shared:
            if asked is None and self.folder is not None:
                return self.folder
            folder = Path(asked) if asked is not None else self._find_folder()
            if self.cameras and self.folder is not None and folder != self.folder:
                raise QvnError(
                    "choosing the folder of qvn.cfg",
                    f"cameras are open with {self.folder}",
                    "close them first; all cameras share one folder",
                )
            path = text("folder", folder)
            if len(path) > _LONGEST_PATH:
                raise DefinitionError(
                    "choosing the folder of qvn.cfg",
                    f"its path has {len(path)} characters, {_LONGEST_PATH} is the most",
                    "a shorter path",
                )
            if not folder.is_dir():
                raise DefinitionError(
                    "choosing the folder of qvn.cfg",
                    f"{folder} is no folder",
                    f"`qvn init {folder}` makes it, with sample files",
                )
            self.dll.QV_SetPathName(path)
            self.folder = folder
            return folder

    def _find_folder(self) -> Path:
        variable = os.environ.get(FOLDER_VARIABLE)
        if variable:
            return Path(variable)
        for folder in (Path("qvn"), Path(".")):
            if (folder / "qvn.cfg").is_file():
                return folder.resolve()
        for folder in _sample_folders():
            if (folder / "qvn.cfg").is_file():
                return self._copy(folder)
        raise DefinitionError(
            "choosing the folder of qvn.cfg",
            f"it is neither in {FOLDER_VARIABLE}, nor in ./qvn, nor here",
            "`qvn init` makes it, with sample files; folder= tells another one",
            5,
        )

    def _copy(self, folder: Path) -> Path:
        """The library writes its clock pattern beside qvn.cfg, so samples are copied."""
        if self._scratch is None:
            self._scratch = Path(tempfile.mkdtemp(prefix="qvn-"))
            atexit.register(_remove, self._scratch, os.getpid())
        for name in ("qvn.cfg", "camera.cfg", "starfield.raw"):
            if (folder / name).is_file():
                shutil.copyfile(folder / name, self._scratch / name)
        return self._scratch


def _remove(folder: Path, process: int) -> None:
    if os.getpid() == process:
        shutil.rmtree(folder, ignore_errors=True)


def _sample_folders() -> Iterator[Path]:
    """Of the installation that this package belongs to, or of the source tree, or of the system."""
    for parent in Path(__file__).resolve().parents:
        yield parent / "share" / "qvn"
    yield Path("/usr/local/share/qvn")
    yield Path("/usr/share/qvn")


def _load(name: str) -> ctypes.CDLL:
    folder = os.environ.get(LIBRARY_VARIABLE)
    asked = str(Path(folder).resolve() / name) if folder else name
    tried = []
    for path in (asked, *(str(folder / name) for folder in _library_folders())):
        try:
            return ctypes.CDLL(path)
        except OSError as error:
            tried.append(str(error))
        if folder:
            break
    raise LibraryNotFound(
        f"loading {name}",
        "; ".join(tried),
        f"install qvn, or set {LIBRARY_VARIABLE} to the folder that holds {name}",
    )


def _library_folders() -> Iterator[Path]:
    """Where an installation outside of the loader's search has its libraries."""
    for parent in Path(__file__).resolve().parents:
        if parent.name in ("lib", "lib64"):
            yield parent


_loading = threading.Lock()
_loaded: dict[str, Library] = {}


def _library(name: str, prototypes: dict[str, _records.Prototype]) -> Library:
    with _loading:
        if name not in _loaded:
            _loaded[name] = Library(name, prototypes)
        return _loaded[name]


def native() -> Library:
    """libqvn: the cameras of this computer."""
    return _library("libqvn.so.7", _records.LIBRARY)


def bench() -> Library:
    """libqvn_bench: virtual cameras, and clock patterns without a camera."""
    return _library("libqvn_bench.so.7", {**_records.LIBRARY, **_records.BENCH})


def _close_all() -> None:
    """No cooler stays on behind a process that ends."""
    for library in _loaded.values():
        for driver in list(library.cameras.values()):
            with contextlib.suppress(QvnError):
                driver.shutdown()


atexit.register(_close_all)


def _leave_to_the_parent() -> None:
    """In a forked process: links and threads of open cameras are the parent's alone."""
    global _shared, _loading
    _shared, _loading = threading.RLock(), threading.Lock()
    for library in _loaded.values():
        library.leave(_shared, library in _worlds)


if hasattr(os, "register_at_fork"):
    os.register_at_fork(after_in_child=_leave_to_the_parent)

_worlds: list[Library] = []


def current() -> Library:
    """The library that cameras are opened with: that of the virtual world, if there is one."""
    return _worlds[-1] if _worlds else native()


def is_virtual() -> bool:
    return bool(_worlds)


def library_version() -> str:
    """Version and date of build of the library under this package."""
    buffer = ctypes.create_string_buffer(_VERSION_ROOM)
    current().dll.QV_Ver(buffer)
    return buffer_text(buffer)


def enter_world(library: Library) -> None:
    _worlds.append(library)


def leave_world() -> None:
    _worlds.clear()


def buffer_text(buffer: Any) -> str:
    """What a function has written into a ctypes buffer."""
    value: bytes = buffer.value
    return value.decode("latin-1")
