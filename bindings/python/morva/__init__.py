"""Morva: a photograph as a film, a lens and a darkroom would have made it.

    import morva
    from PIL import Image

    photo = morva.load_linear("photo.jpg")
    sheet = morva.render(photo, film="silver_400", paper="bw_warm", src_exposure="auto", push=1)
    Image.fromarray(morva.to_srgb(sheet)).save("print.png")

Pictures are numpy arrays, height x width x 3, of linear light. Every failure that the engine tells
is a MorvaError with its `code` and its own text; EngineUnusable, an OSError, means that there is no
engine to tell one. All functions may be called from any thread.
"""

from ._backend import GpuProbe, GpuState, backend_name, gpu_retry, gpu_state, probe, profile_report
from ._backend import release_gpu, set_backend, set_profiling
from ._engine import engine_file
from ._engine import function as _function
from ._errors import ArgumentError, Cancelled, EngineError, EngineUnusable, GpuLost, MorvaError
from ._errors import NotPorted, OptionsError, ProfileError
from ._files import ImageInfo, decode, image_info, load_linear
from ._plans import CropAspects, FrameCaps, OutputSize, crop_aspects, frame_caps, option_keys
from ._plans import output_size, rack_facts
from ._profiles import Profile, list_profiles, profiles_dir, profiles_load, profiles_user_dir
from ._render import Cancel, render, resize, to_srgb
from ._source import SourceStats, source_gain, source_stats


def version() -> str:
    """The version of the library."""
    return str(_function("morva_version")().decode("utf-8"))


__all__ = [
    "ArgumentError", "Cancel", "Cancelled", "CropAspects", "EngineError", "EngineUnusable",
    "FrameCaps", "GpuLost", "GpuProbe", "GpuState", "ImageInfo", "MorvaError", "NotPorted",
    "OptionsError", "OutputSize", "Profile", "ProfileError", "SourceStats", "backend_name",
    "crop_aspects", "decode", "engine_file", "frame_caps", "gpu_retry", "gpu_state", "image_info",
    "list_profiles", "load_linear", "option_keys", "output_size", "probe", "profile_report",
    "profiles_dir", "profiles_load", "profiles_user_dir", "rack_facts", "release_gpu", "render",
    "resize", "set_backend", "set_profiling", "source_gain", "source_stats", "to_srgb", "version",
]
