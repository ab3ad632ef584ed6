#!/usr/bin/env python3
"""Our numerics against their peers, on every instruction set of this machine: numerics_oracle.py LIBRARY SUBJECT

filters: correlate1d and the Gaussian filter against scipy.ndimage; resize: pil_resize against Pillow's resize of
mode F; sums: sums and the standard deviation against numpy."""

import sys

import numpy as np
import PIL.Image
import scipy.ndimage

from numerics_probe import BOUNDARIES, FILTERS, ISA_NAMES, Probe

SIZES = (1, 2, 3, 5, 7, 15, 16, 17, 31, 37, 64, 65, 129)
RADII = (0, 1, 2, 5, 16, 23, 100)
SIGMAS = (0.1, 0.12, 0.13, 0.3, 0.5, 0.8, 1.0, 1.5, 2.0, 3.3, 6.0, 10.0, 17.0, 31.5, 60.0)
PIL_FILTERS = (PIL.Image.BILINEAR, PIL.Image.LANCZOS, PIL.Image.BICUBIC, PIL.Image.BOX)
# (source, result), each (w, h): up, down, one axis alone, odd and tiny sizes, both ways at once.
RESIZES = (((2, 2), (4, 4)), ((1, 1), (7, 5)), ((7, 5), (1, 1)), ((64, 48), (32, 24)), ((64, 48), (128, 96)),
           ((61, 37), (17, 113)), ((61, 37), (113, 17)), ((61, 37), (61, 16)), ((61, 37), (61, 80)),
           ((61, 37), (19, 37)), ((61, 37), (200, 37)), ((1, 90), (1, 31)), ((90, 1), (31, 1)),
           ((15, 17), (16, 16)), ((331, 211), (330, 210)), ((331, 211), (332, 212)), ((701, 97), (23, 5)),
           ((300, 200), (1100, 700)), ((1100, 700), (333, 222)), ((1301, 67), (650, 33)))


def check(condition, what):
    if not condition:
        sys.exit("DIFFERS " + what)


def equal(ours, theirs, what):
    """Bit for bit, apart from the payload of a NaN."""
    ours, theirs = np.asarray(ours), np.asarray(theirs)
    check(ours.shape == theirs.shape, f"{what}: {ours.shape} against {theirs.shape}")
    check(np.array_equal(ours, theirs, equal_nan=True) and np.array_equal(np.signbit(ours), np.signbit(theirs)),
          f"{what}: largest difference {np.nanmax(np.abs(ours - theirs), initial=0)}")


def ulps_apart(ours, theirs):
    """Largest distance in steps of single precision; the arrays are finite."""
    def ordered(array):
        bits = np.ascontiguousarray(array, np.float32).view(np.int32).astype(np.int64)
        return np.where(bits < 0, -(bits & 0x7FFFFFFF), bits)
    return int(np.abs(ordered(ours) - ordered(theirs)).max(initial=0))


def on_every_isa(probe, isas, make, what):
    """What `make` comes to, the same on every set."""
    results = []
    for isa in isas:
        probe.use_isa(isa)
        results.append(make())
        equal(results[-1], results[0], f"{what}: {ISA_NAMES[isa]}")
    return results[0]


def hold_channels(probe, isas, picture, call, what):
    """An interleaved picture comes out as its channels do one by one."""
    for channels in (2, 3, 4):
        whole = on_every_isa(probe, isas, lambda: call(probe.picture(picture[:, :, :channels])).array(), what)
        for k in range(channels):
            single = on_every_isa(probe, isas, lambda: call(probe.picture(picture[:, :, k])).array(), what)
            equal(whole[:, :, k], single, f"{what}: channel {k} of {channels}")


def hold_correlate1d(probe, isas, rng):
    """Both sides get the very same taps, so every bit must agree."""
    planes = [(h, w) for h in SIZES for w in SIZES if h in (1, 3, 17) or w in (1, 2, 16) or h == w]
    planes += [(1, 1009), (1009, 1), (61, 331), (331, 61), (200, 16 * 17 + 3)]
    for h, w in planes:
        # Scene-linear values over many stops, with dark pixels below zero.
        plane = (rng.standard_normal((h, w)) * 10.0 ** rng.uniform(-4, 3, (h, w))).astype(np.float32)
        ours = np.empty_like(plane)
        for radius in RADII:
            wing = rng.standard_normal(radius)
            kernel = np.concatenate([wing, rng.standard_normal(1), wing[::-1]])
            for mode, name in enumerate(BOUNDARIES):
                for along_rows in (False, True):
                    theirs = scipy.ndimage.correlate1d(plane, kernel, axis=int(along_rows), mode=name)
                    for isa in isas:
                        probe.use_isa(isa)
                        ours.fill(77.0)
                        probe.correlate1d(plane, ours, h, w, along_rows, kernel, kernel.size, mode)
                        equal(ours, theirs, f"correlate1d {h} x {w}, radius {radius}, {name}, rows {along_rows}, "
                                            f"{ISA_NAMES[isa]}")


def hold_filters(probe, isas, rng):
    """Numpy's exp may differ from ours in the last bit of a tap, and so may the sums."""
    hold_correlate1d(probe, isas, rng)
    for sigma in SIGMAS:
        theirs = scipy.ndimage._filters._gaussian_kernel1d(sigma, 0, int(4.0 * sigma + 0.5))
        ours = np.empty_like(theirs)
        probe.gaussian_kernel(sigma, ours)
        worst = np.max(np.abs(ours - theirs) / theirs)
        check(worst <= 4e-16 * 2, f"a Gaussian tap of sigma {sigma} is off by {worst} of itself")
        for h, w in ((1, 1), (1, 41), (41, 1), (2, 3), (17, 16), (61, 67), (240, 331)):
            plane = rng.random((h, w), np.float32)
            for mode, name in enumerate(BOUNDARIES):
                what = f"gaussian {h} x {w}, sigma {sigma}, {name}"
                ours = on_every_isa(
                    probe, isas, lambda: probe.gaussian_filter(probe.picture(plane), sigma, mode).array(), what)
                apart = ulps_apart(ours, scipy.ndimage.gaussian_filter(plane, sigma, mode=name))
                check(apart <= 1, f"{what}: {apart} ulp from scipy's")
    for sigma in (0.7, 4.0, 13.0, 300.0):
        hold_channels(probe, isas, rng.random((53, 71, 4), np.float32), lambda p: probe.blur(p, sigma),
                      f"blur of sigma {sigma}")


def hold_resize(probe, isas, rng):
    for (w, h), size in RESIZES:
        for plane in (rng.random((h, w), np.float32),
                      (rng.standard_normal((h, w)) * 100).astype(np.float32)):
            for code, name in enumerate(FILTERS):
                what = f"{name} {w} x {h} -> {size}"
                theirs = np.asarray(PIL.Image.fromarray(plane, "F").resize(size, PIL_FILTERS[code]))
                ours = on_every_isa(probe, isas, lambda: probe.resize(probe.picture(plane), *size, code).array(), what)
                if name != "lanczos":
                    equal(ours, theirs, what)
                # The sine under Lanczos' taps may differ in its last bit; beside a sum that nearly cancels, that
                # is measured against the largest sample.
                apart = np.max(np.abs(ours.astype(np.float64) - theirs)) / np.max(np.abs(plane))
                check(apart <= 2.0**-23, f"{what}: {apart} of the largest sample")
    for size in ((91, 20), (200, 43), (37, 101), (640, 12)):
        for code, name in enumerate(FILTERS):
            hold_channels(probe, isas, rng.random((43, 91, 4), np.float32), lambda p: probe.resize(p, *size, code),
                          f"{name} to {size}")


def hold_sums(probe, isas, rng):
    # numpy sums a long array in pieces of its buffer; a large one lets the pairwise order through.
    np.setbufsize(8_000_000)
    for n in (*range(1001), 1023, 1024, 1025, 4099, 8191, 8192, 8193, 65537, 1000003, 5000001):
        values = rng.standard_normal(n) * 10.0 ** rng.uniform(-8, 8, n)
        equal(probe.pairwise_sum(values, n), np.sum(values), f"pairwise_sum of {n}")
    check(probe.standard_deviation(np.empty(0, np.float32), 0) == 0.0, "standard_deviation of nothing")
    for n in (1, 2, 7, 8, 9, 127, 128, 129, 1000, 65537, 1000003):
        # A spread small beside the mean, where sums of squares about zero would fail.
        values = (1000.0 + rng.standard_normal(n)).astype(np.float32)
        theirs = np.std(values.astype(np.float64))
        apart = abs(probe.standard_deviation(values, n) - theirs) / max(theirs, 1e-30)
        check(apart <= 1e-13, f"standard_deviation of {n} is {apart} from numpy's, relative")


if __name__ == "__main__":
    PROBE = Probe(sys.argv[1])
    HOLD = {"filters": hold_filters, "resize": hold_resize, "sums": hold_sums}
    HOLD[sys.argv[2]](PROBE, PROBE.isas(), np.random.default_rng(20))
