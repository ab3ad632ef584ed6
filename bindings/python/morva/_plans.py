"""Questions about a render before it runs. They touch no pixel and answer while one runs."""

from __future__ import annotations

import ctypes
import json
from typing import Any, SupportsIndex, TypedDict

from ._conversion import checked_size, name_in, options_in, required
from ._engine import call, profiles_in_use, text_of
from ._framing import framed, in_own_format

_LONGEST_FACTS = 32768  # bytes that hold any answer


class OutputSize(TypedDict):
    width: int  #: pixels
    height: int  #: pixels


class FrameCaps(TypedDict):
    cap_px: int  #: long side beyond which a render reduces the picture; 0 with `master_cap` off
    grain_px: int  #: long side up to which pixels average over grains; 0 where that does not apply


class CropAspects(TypedDict):
    frame_aspect: float  #: long side over short side of the frame or the card; 0 for any
    forced_aspect: float  #: of an instant card that takes no other picture; 0 for none


def output_size(width: SupportsIndex, height: SupportsIndex, *, film: str = "everyday_400",
                paper: str | None = None, **options: object) -> OutputSize:
    """The size of the sheet that `render` makes of a picture of `width` x `height` pixels.

    Names and options are those of `render`. Raises ProfileError, and OptionsError for options or for a
    sheet of more than 32768 pixels a side.
    """
    w, h = checked_size(width, "width"), checked_size(height, "height")
    out_w, out_h = ctypes.c_int32(), ctypes.c_int32()
    with profiles_in_use:
        call("morva_output_size", options_in(framed(options, w, h)), required(film, "film"),
             name_in(paper, "paper"), w, h, ctypes.byref(out_w), ctypes.byref(out_h))
    return {"width": out_w.value, "height": out_h.value}


def frame_caps(width: SupportsIndex, height: SupportsIndex, *, film: str = "everyday_400",
               **options: object) -> FrameCaps:
    """The limits, in pixels of the long side after the crop, between which a picture shows its grain."""
    w, h = checked_size(width, "width"), checked_size(height, "height")
    cap, grain = ctypes.c_int32(), ctypes.c_int32()
    with profiles_in_use:
        call("morva_frame_caps", w, h, options_in(framed(options, w, h)), required(film, "film"),
             ctypes.byref(cap), ctypes.byref(grain))
    return {"cap_px": cap.value, "grain_px": grain.value}


def crop_aspects(*, film: str = "everyday_400", **options: object) -> CropAspects:
    """The aspects, long side over short, that a crop tool keeps to."""
    frame, forced = ctypes.c_double(), ctypes.c_double()
    with profiles_in_use:
        call("morva_crop_aspects", options_in(in_own_format(options)), required(film, "film"),
             ctypes.byref(frame), ctypes.byref(forced))
    return {"frame_aspect": frame.value, "forced_aspect": forced.value}


def rack_facts(width: SupportsIndex, height: SupportsIndex, *, film: str = "everyday_400",
               lens: str | None = None, paper: str | None = None,
               crop_size: tuple[SupportsIndex, SupportsIndex] | None = None,
               **options: object) -> dict[str, Any]:
    """The facts of a setting: curves, window, raster, grain, print. include/morva.h lists the keys.

    The facts of a lens or a paper that is not given are left out. `crop_size` is the crop's width and
    height in pixels; without it the option `crop` tells, or the whole picture counts.
    """
    w, h = checked_size(width, "width"), checked_size(height, "height")
    crop = (0, 0) if crop_size is None else tuple(checked_size(v, "crop_size") for v in crop_size)
    if len(crop) != 2:
        raise ValueError(f"crop_size is width and height, not {len(crop)} numbers")
    buffer = ctypes.create_string_buffer(_LONGEST_FACTS)
    with profiles_in_use:
        call("morva_rack_facts", options_in(framed(options, w, h)), required(film, "film"),
             name_in(lens, "lens"), name_in(paper, "paper"), w, h, *crop, buffer, len(buffer))
    facts: dict[str, Any] = json.loads(buffer.value)
    return facts


def option_keys() -> list[str]:
    """Every option that `render` takes, sorted."""
    return text_of("morva_option_keys").split(",")
