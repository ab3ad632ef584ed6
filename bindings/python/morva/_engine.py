"""The engine, which is a C library: where it is, its records, its functions.

It is loaded at the first call, not by the import, and once whatever threads ask for it.
"""

from __future__ import annotations

import ctypes
import os
import pathlib
import sys
import threading
from collections.abc import Callable, Iterator
from ctypes import POINTER, Structure, c_bool, c_char, c_char_p, c_double, c_float, c_int32, c_int64
from ctypes import c_uint8, c_uint32, c_uint64, c_void_p
from typing import Any

from ._errors import EngineUnusable, error_of_code


class CError(Structure):
    _fields_ = [("code", c_int32), ("message", c_char * 1024)]


class CImage(Structure):
    _fields_ = [("data", c_void_p), ("width", c_int32), ("height", c_int32), ("channels", c_int32)]


class CImageInfo(Structure):
    _fields_ = [
        ("width", c_int32), ("height", c_int32), ("is_raw", c_bool), ("camera", c_char * 128),
        ("lens", c_char * 128), ("focal_mm", c_double), ("f_number", c_double),
        ("exposure_s", c_double), ("iso", c_int32), ("date", c_char * 32),
    ]


class CSourceStats(Structure):
    _fields_ = [("width", c_int32), ("height", c_int32), ("p10", c_double), ("p50", c_double),
                ("p995", c_double)]


class CGpuProbe(Structure):
    _fields_ = [("status", c_int32), ("name", c_char * 256), ("adapters", c_char * 1024),
                ("error", c_char * 1024)]


class CGpuState(Structure):
    _fields_ = [
        ("generation", c_uint32), ("lost", c_uint32), ("recoveries", c_uint32), ("reason", c_uint32),
        ("hresult", c_uint32), ("requested_bytes", c_uint64), ("available_bytes", c_uint64),
        ("report", c_char * 4096),
    ]


_text, _error, _image = c_char_p, POINTER(CError), POINTER(CImage)
_samples, _size, _int32s = POINTER(c_float), [c_int32, c_int32], POINTER(c_int32)

# Results that are codes are checked by `call`; the others are answers.
_FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {
    "morva_version": (c_char_p, []),
    "morva_free": (None, [_image]),
    "morva_free_bytes": (None, [c_void_p]),
    "morva_render_ex": (
        c_int32, [_samples, *_size, _text, _text, _text, _text, _int32s, _image, _error]),
    "morva_option_keys": (c_int32, [_text, c_int32]),
    "morva_profiles_load": (c_int32, [_text, _error]),
    "morva_profiles_user_dir": (c_int32, [_text, _error]),
    "morva_image_info": (c_int32, [_text, POINTER(CImageInfo), _error]),
    "morva_load_linear": (c_int32, [_text, _text, c_int32, _image, _int32s, _error]),
    "morva_decode_bgra8": (
        c_int32, [_text, c_int64, POINTER(POINTER(c_uint8)), _int32s, _int32s, _error]),
    "morva_resize": (c_int32, [_samples, *_size, *_size, _image, _error]),
    "morva_output_size": (c_int32, [_text, _text, _text, *_size, _int32s, _int32s, _error]),
    "morva_frame_caps": (c_int32, [*_size, _text, _text, _int32s, _int32s, _error]),
    "morva_crop_aspects": (
        c_int32, [_text, _text, POINTER(c_double), POINTER(c_double), _error]),
    "morva_rack_facts": (
        c_int32, [_text, _text, _text, _text, *_size, *_size, _text, c_int32, _error]),
    "morva_crop_fit_to_angle": (
        c_int32, [POINTER(c_double), c_int32, c_double, *_size, c_int32, POINTER(c_double),
                  POINTER(c_double)]),
    "morva_source_stats": (None, [_samples, *_size, POINTER(CSourceStats)]),
    "morva_source_gain": (c_double, [_text, POINTER(CSourceStats)]),
    "morva_set_backend": (c_int32, [_text, _error]),
    "morva_backend_name": (c_int32, [_text, c_int32]),
    "morva_release_gpu": (None, []),
    "morva_gpu_probe": (c_int32, [POINTER(CGpuProbe)]),
    "morva_gpu_state": (None, [POINTER(CGpuState)]),
    "morva_gpu_retry": (c_int32, [_error]),
    "morva_set_profiling": (c_int32, [c_int32]),
    "morva_profile_report": (c_int32, [_text, c_int32]),
}

if sys.platform == "win32":
    _FILE_NAMES = ["morva_core.dll"]
elif sys.platform == "darwin":
    _FILE_NAMES = ["libmorva_core.0.dylib", "libmorva_core.dylib"]
else:
    _FILE_NAMES = ["libmorva_core.so.0", "libmorva_core.so"]


def _places() -> Iterator[pathlib.Path]:
    """Files that may be the library, the likeliest first; without those that the loader finds."""
    package = pathlib.Path(__file__).resolve().parent
    written_down = package / "library_folder.txt"  # by the install, relative to the package
    folders = [package]
    if written_down.is_file():
        folders.append(package / written_down.read_text(encoding="utf-8").strip())
    checkout = package.parents[2]
    if (checkout / "include" / "morva.h").is_file():
        folders.append(checkout / "build")
    for folder in folders:
        for name in _FILE_NAMES:
            yield folder / name


def _named_by_environment() -> pathlib.Path | None:
    named = os.environ.get("MORVA_LIBRARY")
    if not named:
        return None
    path = pathlib.Path(named)
    if path.is_dir():
        path = next((path / name for name in _FILE_NAMES if (path / name).is_file()), path)
    if not path.is_file():
        raise EngineUnusable(f"MORVA_LIBRARY names no library: {named}")
    return path


def _open_engine() -> ctypes.CDLL:
    looked_at = []
    named = _named_by_environment()
    for place in _places() if named is None else [named]:
        if place.is_file():
            try:
                return ctypes.CDLL(str(place.resolve()))
            except OSError as error:
                raise EngineUnusable(f"{place} cannot be loaded: {error}") from None
        looked_at.append(str(place))
    for name in _FILE_NAMES:
        try:
            return ctypes.CDLL(name)
        except OSError:
            looked_at.append(f"{name} (the system's loader)")
    raise EngineUnusable(
        "libmorva_core is not found. Set MORVA_LIBRARY to the file, build the checkout, or install "
        "it. Looked at: " + ", ".join(looked_at))


class _Shared:
    """Many may hold it at a time, or one alone who waits for the many."""

    def __init__(self) -> None:
        self._changed = threading.Condition()
        self._holders = 0
        self._waiting = 0

    def __enter__(self) -> None:
        with self._changed:
            self._changed.wait_for(lambda: self._waiting == 0)
            self._holders += 1

    def __exit__(self, *_: object) -> None:
        with self._changed:
            self._holders -= 1
            self._changed.notify_all()

    def alone(self, action: Callable[[], None]) -> None:
        with self._changed:
            self._waiting += 1
            try:
                self._changed.wait_for(lambda: self._holders == 0)
                action()
            finally:
                self._waiting -= 1
                self._changed.notify_all()


# Held by every call that reads profiles: the store may not be changed under one.
profiles_in_use = _Shared()

_loading = threading.Lock()
_loaded: ctypes.CDLL | None = None


def _load() -> ctypes.CDLL:
    global _loaded
    with _loading:
        if _loaded is None:
            library = _open_engine()
            for name, (result, arguments) in _FUNCTIONS.items():
                try:
                    function = library[name]
                except AttributeError:
                    continue  # an older library; told when it is asked for
                function.restype, function.argtypes = result, arguments
                setattr(library, name, function)
            _loaded = library
        return _loaded


def function(name: str) -> Any:
    """An export, with its types. EngineUnusable where the library is older than it."""
    library = _loaded or _load()
    found = library.__dict__.get(name)
    if found is None:
        raise EngineUnusable(f"{engine_file()} has no {name}: it is older than this package")
    return found


def call(name: str, *arguments: Any) -> None:
    """Calls an export whose last argument is a MorvaError; raises what it tells."""
    error = CError()
    code = function(name)(*arguments, ctypes.byref(error))
    if code != 0:
        raise error_of_code(code, error.message.decode("utf-8", "replace"))


def text_of(name: str) -> str:
    """The whole text of an export that takes a buffer and tells the text's length."""
    ask = function(name)
    buffer = ctypes.create_string_buffer(4096)
    length = ask(buffer, len(buffer))
    if length >= len(buffer):
        buffer = ctypes.create_string_buffer(length + 1)
        ask(buffer, len(buffer))
    return buffer.value.decode("utf-8", "replace")


class _DlInfo(Structure):
    _fields_ = [("fname", c_char_p), ("fbase", c_void_p), ("sname", c_char_p), ("saddr", c_void_p)]


def engine_file() -> pathlib.Path:
    """The file of the loaded library, links resolved; its profiles lie beside it."""
    library = _load()
    path = library._name
    known = next((library.__dict__[name] for name in _FUNCTIONS if name in library.__dict__), None)
    if sys.platform != "win32" and known is not None:
        info = _DlInfo()
        address = ctypes.cast(known, c_void_p)
        if ctypes.CDLL(None).dladdr(address, ctypes.byref(info)) and info.fname:
            path = os.fsdecode(info.fname)
    return pathlib.Path(path).resolve()
