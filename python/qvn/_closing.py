"""What closes itself at the end of a `with` block."""
from __future__ import annotations

from types import TracebackType
from typing import Optional, Type, TypeVar

from .errors import CameraTimeout

_Self = TypeVar("_Self", bound="Closing")


class Closing:
    """Closed by `with`, whatever happens inside."""

    def close(self) -> None:
        """Ends it."""
        raise NotImplementedError

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            self.close()
        except CameraTimeout:
            if error is None:  # else that one tells more
                raise
