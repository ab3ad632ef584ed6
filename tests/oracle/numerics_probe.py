"""The probe library seen from Python: images are handles, arrays are copied in and out."""

import ctypes

import numpy as np

ISA_NAMES = ("baseline", "avx2", "avx512")
BOUNDARIES = ("nearest", "reflect", "wrap", "constant")  # scipy's names, at our numbers
FILTERS = ("triangle", "lanczos", "bicubic", "box")


class Picture:
    """An image of the engine."""

    def __init__(self, lib, handle):
        self._lib, self._as_parameter_ = lib, handle

    def __del__(self):
        self._lib.probe_free(self)

    def array(self):
        shape = (ctypes.c_int32 * 3)()
        self._lib.probe_shape(self, shape)
        out = np.empty(tuple(shape), np.float32)
        self._lib.probe_read(self, out)
        return out[:, :, 0] if out.shape[2] == 1 else out


class Probe:
    """Has each call of the library as a method of its name."""

    def __init__(self, path):
        self.lib = lib = ctypes.CDLL(path)
        image, real, whole, size = ctypes.c_void_p, ctypes.c_double, ctypes.c_int, ctypes.c_size_t
        floats, doubles = (np.ctypeslib.ndpointer(kind, flags="C") for kind in (np.float32, np.float64))
        for name, result, *arguments in (
                ("use_isa", whole, whole), ("image", image, floats, whole, whole, whole), ("free", None, image),
                ("shape", None, image, ctypes.POINTER(ctypes.c_int32)), ("read", None, image, floats),
                ("correlate1d", None, floats, floats, whole, whole, ctypes.c_bool, doubles, size, whole),
                ("gaussian_kernel", None, real, doubles), ("gaussian_filter", image, image, real, whole),
                ("blur", image, image, real), ("resize", image, image, whole, whole, whole),
                ("grow_silver", image, image, whole, *[real] * 4), ("grow_dye", image, image, whole, *[real] * 5),
                ("pairwise_sum", real, doubles, size), ("standard_deviation", real, floats, size)):
            call = getattr(lib, "probe_" + name)
            call.restype, call.argtypes = result, arguments
            if result is image:
                call.errcheck = lambda handle, *_: Picture(lib, handle)
            setattr(self, name, call)

    def isas(self):
        """Numbers of the instruction sets that this machine has; the widest is left in use."""
        return [isa for isa in range(len(ISA_NAMES)) if self.use_isa(isa) == isa]

    def picture(self, array):
        array = np.ascontiguousarray(array, np.float32)
        return self.image(array, *array.shape[:2], array.shape[2] if array.ndim == 3 else 1)
