"""Picture files: JPEG, PNG, TIFF, WebP, HEIF and camera raw."""

from __future__ import annotations

import ctypes
from typing import NamedTuple

import numpy as np
import numpy.typing as npt

from ._conversion import MadePicture, Path, Picture, path_in
from ._engine import CImageInfo, call, function

WHITE_BALANCES = ("film", "as_shot", "custom")


class ImageInfo(NamedTuple):
    """What a picture file tells of itself. Unknown values are zero or empty."""

    width: int  #: pixels, as the picture stands upright
    height: int  #: pixels
    is_raw: bool  #: a camera raw file
    camera: str  #: maker and model
    lens: str  #: lens model
    focal_mm: float  #: focal length, millimetres
    f_number: float  #: aperture
    exposure_s: float  #: exposure time, seconds
    iso: int  #: ISO speed
    date: str  #: date taken, "YYYY:MM:DD HH:MM:SS"


def image_info(path: Path) -> ImageInfo:
    """Reads a file's header. EngineError when that cannot be read."""
    info = CImageInfo()
    call("morva_image_info", path_in(path), ctypes.byref(info))
    values = (getattr(info, name) for name in ImageInfo._fields)
    return ImageInfo(*(v.decode("utf-8", "replace") if isinstance(v, bytes) else v for v in values))


def load_linear(path: Path, white_balance: str = "film", half_size: bool = False) -> Picture:
    """Decodes a file into linear light: H x W x 3 float32 in 0..1, upright.

    `white_balance` is that of camera raw files: "film" and "custom" balance for daylight, "as_shot" as
    the camera did. `half_size` decodes raw files at half their size. EngineError when the file cannot be
    decoded. Such light is exposed for a screen: give `render` the option `src_exposure="auto"`.
    """
    if white_balance not in WHITE_BALANCES:
        raise ValueError(
            f"white_balance is one of {', '.join(WHITE_BALANCES)}, not {white_balance!r}")
    made = MadePicture()
    call("morva_load_linear", path_in(path), white_balance.encode(), 1 if half_size else 0,
         made.record, None)
    return made.array()


def decode(data: bytes | bytearray | memoryview) -> npt.NDArray[np.uint8]:
    """Decodes a compressed picture in memory (no raw) for a screen: H x W x 4 bytes R, G, B, alpha, upright.

    sRGB encoded, not multiplied by alpha. EngineError when it cannot be decoded.
    """
    if not isinstance(data, (bytes, bytearray, memoryview)):
        raise TypeError(f"data is bytes, not {type(data).__name__}")
    data = bytes(data)
    block = ctypes.POINTER(ctypes.c_uint8)()
    width, height = ctypes.c_int32(), ctypes.c_int32()
    try:
        call("morva_decode_bgra8", data, len(data), ctypes.byref(block), ctypes.byref(width),
             ctypes.byref(height))
        bgra = np.ctypeslib.as_array(block, (height.value, width.value, 4))
        return np.ascontiguousarray(bgra[:, :, [2, 1, 0, 3]])
    finally:
        function("morva_free_bytes")(block)
