"""The probe library seen from Python: images are handles, arrays are copied in and out."""

import ctypes

import numpy as np

ISA_NAMES = ("baseline", "avx2", "avx512")
BOUNDARIES = ("nearest", "reflect", "wrap", "constant")  # scipy's names, at our numbers
FILTERS = ("triangle", "lanczos", "bicubic", "box")


def _floats(array):
    return array.ctypes.data_as(ctypes.POINTER(ctypes.c_float))


def _doubles(array):
    return array.ctypes.data_as(ctypes.POINTER(ctypes.c_double))


class Picture:
    """An image of the engine."""

    def __init__(self, probe, handle):
        if not handle:
            raise RuntimeError("the engine refused the call")
        self._lib = probe.lib
        self.handle = handle

    def __del__(self):
        self._lib.probe_free(self.handle)

    def array(self):
        shape = (ctypes.c_int32 * 3)()
        self._lib.probe_shape(self.handle, shape)
        out = np.empty(tuple(shape), np.float32)
        self._lib.probe_read(self.handle, _floats(out))
        return out[:, :, 0] if out.shape[2] == 1 else out


class Probe:
    def __init__(self, path):
        self.lib = lib = ctypes.CDLL(path)
        image, real, whole = ctypes.c_void_p, ctypes.c_double, ctypes.c_int
        floats, doubles = ctypes.POINTER(ctypes.c_float), ctypes.POINTER(ctypes.c_double)
        size = ctypes.c_size_t

        def declare(name, result, *arguments):
            getattr(lib, name).restype = result
            getattr(lib, name).argtypes = arguments

        declare("probe_use_isa", whole, whole)
        declare("probe_image", image, floats, whole, whole, whole)
        declare("probe_free", None, image)
        declare("probe_shape", None, image, ctypes.POINTER(ctypes.c_int32))
        declare("probe_read", None, image, floats)
        declare("probe_correlate1d", ctypes.c_bool, floats, floats, whole, whole, ctypes.c_bool,
                doubles, size, whole)
        declare("probe_gaussian_kernel", None, real, doubles)
        declare("probe_gaussian_filter", image, image, real, whole)
        declare("probe_blur", image, image, real)
        declare("probe_resize", image, image, whole, whole, whole)
        declare("probe_grow_silver", image, image, whole, *[real] * 4)
        declare("probe_grow_dye", image, image, whole, *[real] * 5)
        declare("probe_pairwise_sum", real, doubles, size)
        declare("probe_standard_deviation", real, floats, size)

    def isas(self):
        """Numbers of the instruction sets that this machine has; the widest is left in use."""
        return [isa for isa in range(len(ISA_NAMES)) if self.lib.probe_use_isa(isa) == isa]

    def use_isa(self, isa):
        self.lib.probe_use_isa(isa)

    def picture(self, array):
        array = np.ascontiguousarray(array, np.float32)
        h, w = array.shape[:2]
        c = array.shape[2] if array.ndim == 3 else 1
        return Picture(self, self.lib.probe_image(_floats(array), h, w, c))

    def correlate1d(self, plane, kernel, along_rows, mode):
        plane = np.ascontiguousarray(plane, np.float32)
        kernel = np.ascontiguousarray(kernel, np.float64)
        out = np.empty_like(plane)
        if not self.lib.probe_correlate1d(_floats(plane), _floats(out), *plane.shape, along_rows,
                                          _doubles(kernel), kernel.size, mode):
            raise RuntimeError("the engine refused the kernel")
        return out

    def gaussian_kernel(self, sigma):
        kernel = np.empty(2 * int(sigma * 4.0 + 0.5) + 1)
        self.lib.probe_gaussian_kernel(sigma, _doubles(kernel))
        return kernel

    def gaussian_filter(self, picture, sigma, mode):
        return Picture(self, self.lib.probe_gaussian_filter(picture.handle, sigma, mode))

    def blur(self, picture, sigma):
        return Picture(self, self.lib.probe_blur(picture.handle, sigma))

    def resize(self, picture, w, h, filter_code):
        return Picture(self, self.lib.probe_resize(picture.handle, w, h, filter_code))

    def grow_silver(self, depth, per_side, *grains):
        return Picture(self, self.lib.probe_grow_silver(depth.handle, per_side, *grains))

    def grow_dye(self, density, per_side, *grains):
        return Picture(self, self.lib.probe_grow_dye(density.handle, per_side, *grains))

    def pairwise_sum(self, values):
        values = np.ascontiguousarray(values, np.float64)
        return self.lib.probe_pairwise_sum(_doubles(values), values.size)

    def standard_deviation(self, values):
        values = np.ascontiguousarray(values, np.float32)
        return self.lib.probe_standard_deviation(_floats(values), values.size)
