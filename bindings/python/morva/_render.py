"""Renders, and the way to stop one."""

from __future__ import annotations

import contextlib
import ctypes
import threading
from collections.abc import Callable, Iterator
from concurrent.futures import ThreadPoolExecutor
from typing import SupportsIndex

import numpy as np
import numpy.typing as npt

from ._conversion import MadePicture, Picture, checked_size, name_in, options_in, picture_in
from ._conversion import required, samples_of
from ._engine import call, profiles_in_use
from ._framing import framed
from ._source import metered


class Cancel:
    """A flag that stops a render. Any thread may raise it; one flag may stand for many renders."""

    def __init__(self) -> None:
        self._raised = False
        self._flags: list[ctypes.c_int32] = []  # one for each render under way

    def set(self) -> None:
        """Stops the renders that were given this flag at their next stage, and those to come at once."""
        self._raised = True
        for flag in list(self._flags):
            flag.value = 1

    def clear(self) -> None:
        """Lowers the flag, for renders to come."""
        self._raised = False

    def is_set(self) -> bool:
        return self._raised

    @contextlib.contextmanager
    def _of_one_render(self) -> Iterator[ctypes.c_int32]:
        flag = ctypes.c_int32(0)
        self._flags.append(flag)  # before the look at _raised, which `set` writes before it looks here
        if self._raised:
            flag.value = 1
        try:
            yield flag
        finally:
            self._flags.remove(flag)


def _interruptible(render: Callable[[], Picture], flag: ctypes.c_int32) -> Picture:
    """Runs `render` so that Ctrl-C stops it. A call into C would hold the signal back to its end."""
    if threading.current_thread() is not threading.main_thread():
        return render()
    with ThreadPoolExecutor(1, "morva.render") as worker:
        try:
            return worker.submit(render).result()
        except BaseException:  # KeyboardInterrupt, or what the host's own signal handler raises
            flag.value = 1
            raise


def render(array: npt.ArrayLike, *, film: str = "everyday_400", lens: str = "plain",
           paper: str | None = None, cancel: Cancel | None = None, **options: object) -> Picture:
    """Renders a picture: the finished sheet, as that lens, film and darkroom would have made it.

    array    H x W x 3 floats of scene-linear light: Rec. 709 primaries, a mid grey at 0.18, 1.0 is no
             limit. Any float type, order and stride; read before the call returns, never changed.
    film, lens, paper  profile names (`list_profiles`); without a paper, the film's own.
    cancel   a flag that another thread may raise.
    options  keys as `morva options` lists them, values of any JSON kind, numpy's numbers and arrays too:
             `push=1`, `crop=(0, 0, 0.5, 1)`, `seed=7`, `stamp_text="May"`. As on the command line, the
             film comes in its own format unless `format` is given, and `crop_angle` without `crop`
             takes the largest crop. `src_exposure` meters the picture ("auto", "highlights", "shadows",
             "as_shot"); without it the picture stands as it is exposed.

    Returns the sheet, h x w x 3 float32, linear reflectance in 0..1. The same array, names and options
    give the same bytes.

    Raises ProfileError, OptionsError, NotPorted, EngineError, Cancelled or GpuLost (all MorvaError), and
    TypeError or ValueError for an array or an option that is none. Ctrl-C stops a render in the main
    thread. Renders may be called from many threads, which go on meanwhile; the library makes one at a
    time. For many at a time use processes.
    """
    if cancel is None:
        cancel = Cancel()
    elif not isinstance(cancel, Cancel):
        raise TypeError(f"cancel is a morva.Cancel, not {type(cancel).__name__}")
    picture = picture_in(array)
    height, width = picture.shape[:2]
    names = required(film, "film"), required(lens, "lens"), name_in(paper, "paper")
    text = options_in(metered(framed(options, width, height), picture))

    def run() -> Picture:
        made = MadePicture()
        with profiles_in_use:
            call("morva_render_ex", samples_of(picture), width, height, text, *names, ctypes.byref(flag),
                 made.record)
        return made.array()

    with cancel._of_one_render() as flag:
        return _interruptible(run, flag)


def resize(array: npt.ArrayLike, width: SupportsIndex, height: SupportsIndex) -> Picture:
    """Resamples a picture, H x W x 3 floats, to `height` x `width` x 3 with a Lanczos kernel."""
    picture = picture_in(array)
    made = MadePicture()
    call("morva_resize", samples_of(picture), picture.shape[1], picture.shape[0],
         checked_size(width, "width"), checked_size(height, "height"), made.record)
    return made.array()


def to_srgb(sheet: npt.ArrayLike) -> npt.NDArray[np.uint8]:
    """Linear light encoded for a screen: sRGB, 8 bits, same shape. What lies outside 0..1 is clipped."""
    linear = np.nan_to_num(np.asarray(sheet, np.float64), nan=0.0, posinf=1.0, neginf=0.0).clip(0, 1)
    curved = np.where(linear <= 0.0031308, 12.92 * linear, 1.055 * linear ** (1 / 2.4) - 0.055)
    return (curved * 255 + 0.5).astype(np.uint8)
