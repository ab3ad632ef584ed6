"""Between Python's values and the library's: pictures, names, sizes, paths and options."""

from __future__ import annotations

import ctypes
import json
import operator
import os
from collections.abc import Mapping
from typing import Any, SupportsIndex, Union

import numpy as np
import numpy.typing as npt

from ._engine import CImage, function

Picture = npt.NDArray[np.float32]
Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

LARGEST_SIZE = 2**31 - 1


def picture_in(array: npt.ArrayLike) -> Picture:
    """`array` as the library reads it: H x W x 3, float32, rows without gaps. Copied only if it is not."""
    given = np.asarray(array)
    if not np.issubdtype(given.dtype, np.floating):
        raise TypeError(
            f"a picture is an array of floats, scene-linear light; this one is of {given.dtype}. "
            "Encoded pictures are files for morva.load_linear")
    if given.ndim != 3 or given.shape[2] != 3:
        raise ValueError(f"a picture is height x width x 3; this one is of shape {given.shape}")
    for length in given.shape[:2]:
        checked_size(length, "a picture's side")
    with np.errstate(over="ignore", invalid="ignore"):  # the engine bounds its light
        return np.require(given, np.float32, ["C", "ALIGNED"])


def samples_of(picture: Picture) -> Any:
    return picture.ctypes.data_as(ctypes.POINTER(ctypes.c_float))


class MadePicture:
    """A record for a picture that the library makes. The picture is freed with the last array over it."""

    def __init__(self) -> None:
        self._free = function("morva_free")
        self._image = CImage()
        self.record = ctypes.pointer(self._image)

    def __del__(self) -> None:
        if hasattr(self, "record"):
            self._free(self.record)  # an empty record too

    @property
    def __array_interface__(self) -> dict[str, object]:
        image = self._image
        return {
            "shape": (image.height, image.width, image.channels),
            "typestr": np.dtype(np.float32).str,
            "data": (image.data, False),
            "version": 3,
        }

    def array(self) -> Picture:
        return np.asarray(self)


def checked_size(value: SupportsIndex, what: str) -> int:
    size = operator.index(value)
    if not 1 <= size <= LARGEST_SIZE:
        raise ValueError(f"{what} is 1 to {LARGEST_SIZE} pixels, not {size}")
    return size


def name_in(name: str | None, what: str) -> bytes | None:
    if name is None:
        return None
    if not isinstance(name, str):
        raise TypeError(f"{what} is a name, not {type(name).__name__}")
    if "\0" in name:
        raise ValueError(f"{what} holds a NUL: {name!r}")
    try:
        return name.encode("utf-8")
    except UnicodeEncodeError:
        raise ValueError(f"{what} is no Unicode text: {name!r}") from None


def path_in(path: Path) -> bytes:
    try:
        raw = os.fsencode(path)
    except UnicodeEncodeError:
        raise ValueError(f"the path is no Unicode text: {path!r}") from None
    if b"\0" in raw:
        raise ValueError(f"the path holds a NUL: {path!r}")
    return raw


def required(name: str, what: str) -> bytes:
    raw = name_in(name, what)
    if raw is None:
        raise TypeError(f"{what} is a name, not None")
    return raw


def _plain(value: object) -> object:
    if isinstance(value, (np.generic, np.ndarray)):
        return value.tolist()
    raise TypeError(f"no JSON for {type(value).__name__}")


def _whole(digits: str) -> int:
    number = int(digits)
    try:
        float(number)  # the engine's JSON holds what a double can
    except OverflowError:
        raise ValueError(f"a whole number of {len(digits)} digits is too large") from None
    return number


def plain_options(options: Mapping[str, object]) -> dict[str, object]:
    """The options in JSON's own kinds; TypeError or ValueError names one that has none."""
    plain: dict[str, object] = {}
    for key, value in options.items():
        try:
            plain[key] = json.loads(json.dumps(value, allow_nan=False, default=_plain), parse_int=_whole)
        except (TypeError, ValueError, RecursionError) as error:
            kind = TypeError if isinstance(error, TypeError) else ValueError
            raise kind(f"option {key}: {error}") from None
    return plain


def options_in(plain: Mapping[str, object]) -> bytes:
    return json.dumps(plain).encode("ascii")
