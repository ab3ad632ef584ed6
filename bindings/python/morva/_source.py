"""How bright a picture is, and the gain that exposes it."""

from __future__ import annotations

import ctypes
from typing import NamedTuple

import numpy.typing as npt

from ._conversion import Picture, picture_in, samples_of
from ._engine import CSourceStats, function

MODES = ("auto", "as_shot", "highlights", "shadows")


class SourceStats(NamedTuple):
    """Luminance (Rec. 709) of a picture reduced to at most 1024 pixels on its long side."""

    width: int  #: of the reduced picture, pixels
    height: int  #: pixels
    p10: float  #: 10th percentile of the pixels
    p50: float  #: median
    p995: float  #: 99.5th percentile


def stats_of(picture: Picture) -> SourceStats:
    out = CSourceStats()
    function("morva_source_stats")(
        samples_of(picture), picture.shape[1], picture.shape[0], ctypes.byref(out))
    return SourceStats(out.width, out.height, out.p10, out.p50, out.p995)


def source_stats(array: npt.ArrayLike) -> SourceStats:
    """Measures a picture, H x W x 3 floats of linear light."""
    return stats_of(picture_in(array))


def source_gain(source: SourceStats | npt.ArrayLike, mode: str = "auto") -> float:
    """The factor, 0.25 to 64, that exposes a picture or one that was measured before.

    `mode`: "auto" brings the median to 0.15; "highlights" too, but keeps the 99.5th percentile at 0.9
    or below; "shadows" too, but brings the 10th percentile to 0.045 or above; "as_shot" is 1.44 whatever
    the picture. ValueError for another word. `render` takes the number as the option `_source_gain`,
    or the word as `src_exposure`.
    """
    if mode not in MODES:
        raise ValueError(f"mode is one of {', '.join(MODES)}, not {mode!r}")
    stats = source if isinstance(source, SourceStats) else source_stats(source)
    return float(function("morva_source_gain")(mode.encode(), ctypes.byref(CSourceStats(*stats))))


def metered(options: dict[str, object], picture: Picture) -> dict[str, object]:
    """`src_exposure`, where it is given and no gain is, carried out on the picture."""
    mode = options.get("src_exposure", "off")
    if mode not in (None, "off", *MODES):
        raise ValueError(f"src_exposure is off or one of {', '.join(MODES)}, not {mode!r}")
    if "_source_gain" in options or mode not in MODES:
        return options
    return {**options, "_source_gain": source_gain(stats_of(picture), str(mode))}
