"""FITS files, by astropy."""
from __future__ import annotations

import os
from pathlib import Path
from typing import Any, Optional

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._library import PathLike
from .errors import LibraryNotFound
from .frames import Frame, Metadata


def _astropy() -> Any:
    try:
        from astropy.io import fits
    except ImportError as error:
        raise LibraryNotFound(
            "working with FITS files", str(error), "install python3-astropy"
        ) from error
    return fits


def save_fits(
    path: PathLike,
    image: ArrayLike,
    metadata: Optional[Metadata] = None,
    *,
    overwrite: bool = False,
) -> None:
    """Writes a frame, or an array made of frames, as FITS with the usual keywords.

    path: of the file.
    image: rows and columns, or frames, rows and columns.
    metadata: of the frame that the array was made of; a frame has its own.
    The file appears whole or not at all; one that is there stays unless `overwrite` is set.
    """
    fits = _astropy()
    if metadata is None and isinstance(image, Frame):
        metadata = image._metadata  # a part has none
    unit = fits.PrimaryHDU(np.asarray(image))
    if metadata is not None:
        for key, (value, comment) in metadata.header().items():
            unit.header[key] = (value, comment)
        for done in metadata.history:
            unit.header["HISTORY"] = done
    target = Path(path)
    if target.exists() and not overwrite:
        raise FileExistsError(f"{target} exists; overwrite=True replaces it")
    part = target.with_name(target.name + ".part")
    try:
        unit.writeto(part, overwrite=True)
        os.replace(part, target)
    finally:
        part.unlink(missing_ok=True)


def read_fits(path: PathLike) -> NDArray[Any]:
    """The first plane of a FITS image."""
    pixels: NDArray[Any] = np.asarray(_astropy().getdata(path))
    plane: NDArray[Any] = pixels.reshape((-1, *pixels.shape[-2:]))[0]
    return plane
