"""What can go wrong: one class for each result code of the library."""

from __future__ import annotations


class EngineUnusable(OSError):
    """libmorva_core is not found, cannot be loaded, or is too old for what was asked of it."""


class MorvaError(RuntimeError):
    """A call of the library failed. The text is the engine's own, unchanged.

    `code` is the result code of include/morva.h, 1 to 7; each subclass stands for one.
    """

    def __init__(self, message: str, code: int) -> None:
        super().__init__(message)
        self.code = code

    def __reduce__(self) -> tuple[type[MorvaError], tuple[str, int]]:
        return type(self), (str(self), self.code)  # so that a process pool can hand it on


class ArgumentError(MorvaError, ValueError):
    """Code 1: an empty or invalid argument."""


class ProfileError(MorvaError):
    """Code 2: a profile is missing or broken, or no profile directory was found."""


class OptionsError(MorvaError, ValueError):
    """Code 3: the options are not valid."""


class NotPorted(MorvaError, NotImplementedError):
    """Code 4: a feature that the library names but does not carry."""


class EngineError(MorvaError):
    """Code 5: out of memory, a file that cannot be decoded, or any other failure."""


class Cancelled(MorvaError):
    """Code 6: the render was cancelled."""


class GpuLost(MorvaError):
    """Code 7: the GPU stopped answering."""


_CLASS_OF_CODE: dict[int, type[MorvaError]] = {
    1: ArgumentError,
    2: ProfileError,
    3: OptionsError,
    4: NotPorted,
    5: EngineError,
    6: Cancelled,
    7: GpuLost,
}


def error_of_code(code: int, message: str) -> MorvaError:
    return _CLASS_OF_CODE.get(code, MorvaError)(message, code)
