"""What a setting means beyond its options, so that it makes the same sheet here as on the command line."""

from __future__ import annotations

import ctypes
from collections.abc import Mapping

from ._conversion import plain_options
from ._engine import function


def in_own_format(options: Mapping[str, object]) -> dict[str, object]:
    """The film in its own format where none is given."""
    return {"format": None, **plain_options(options)}


def framed(options: Mapping[str, object], width: int, height: int) -> dict[str, object]:
    """That, and the largest crop that a straightening leaves where no crop is given."""
    complete = in_own_format(options)
    angle = complete.get("crop_angle")
    is_number = isinstance(angle, (int, float)) and not isinstance(angle, bool)
    if is_number and angle != 0.0 and complete.get("crop") is None:
        crop = (ctypes.c_double * 4)()
        function("morva_crop_fit_to_angle")(None, 0, angle, width, height, 0, None, crop)
        complete["crop"] = list(crop)
    return complete
