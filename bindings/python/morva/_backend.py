"""Where renders run: the CPU, or a GPU once one is chosen."""

from __future__ import annotations

import ctypes
from typing import NamedTuple

from ._conversion import required
from ._engine import CGpuProbe, CGpuState, call, function, text_of

_STATUS = ("ready", "no hardware adapter", "no adapter that can be used", "failed")
_LOSS = ("none", "hung", "reset", "removed", "driver error", "out of memory")


class GpuProbe(NamedTuple):
    ready: bool
    status: str  #: "ready", "no hardware adapter", "no adapter that can be used" or "failed"
    name: str  #: the adapter in use
    adapters: tuple[str, ...]  #: the hardware adapters that there are
    error: str  #: of a failure


class GpuState(NamedTuple):
    generation: int  #: devices built after a loss or a retry
    lost: bool  #: given up until `gpu_retry`
    recoveries: int  #: devices replaced by themselves since this was last read
    reason: str  #: of the last loss: "none", "hung", "reset", "removed", "driver error", "out of memory"
    report: str  #: what the device was doing, lines of text


def set_backend(name: str) -> None:
    """Selects "cpu", "gpu" (the fastest hardware) or "gpu-warp" (a device that runs on the CPU).

    ArgumentError for another name; EngineError when there is no such device, which leaves the CPU. Waits
    for a render to end.
    """
    call("morva_set_backend", required(name, "the backend"))


def backend_name() -> str:
    """"CPU", or what the GPU in use is."""
    buffer = ctypes.create_string_buffer(1024)
    function("morva_backend_name")(buffer, len(buffer))
    return buffer.value.decode("utf-8", "replace")


def release_gpu() -> None:
    """The CPU renders again and the device is given back to the system."""
    function("morva_release_gpu")()


def probe() -> GpuProbe:
    """Looks for a GPU and, where there is one, selects it and builds all that it needs."""
    out = CGpuProbe()
    function("morva_gpu_probe")(ctypes.byref(out))
    name, adapters, error = (
        text.decode("utf-8", "replace") for text in (out.name, out.adapters, out.error))
    status = _STATUS[out.status] if 0 <= out.status < len(_STATUS) else f"status {out.status}"
    return GpuProbe(out.status == 0, status, name, tuple(filter(None, adapters.split("; "))), error)


def gpu_state() -> GpuState:
    """Whether the GPU still answers. Never waits for a render; reading clears `recoveries`."""
    out = CGpuState()
    function("morva_gpu_state")(ctypes.byref(out))
    reason = _LOSS[out.reason] if out.reason < len(_LOSS) else f"reason {out.reason}"
    return GpuState(out.generation, out.lost != 0, out.recoveries, reason,
                    out.report.decode("utf-8", "replace"))


def gpu_retry() -> None:
    """A new device in place of the one given up. GpuLost when that fails too."""
    call("morva_gpu_retry")


def set_profiling(on: bool) -> None:
    """Whether renders on the GPU leave a report; off at first."""
    function("morva_set_profiling")(1 if on else 0)


def profile_report() -> str:
    """Where the time of the last such render went, as Markdown."""
    return text_of("morva_profile_report")
