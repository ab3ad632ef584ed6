#!/usr/bin/env python3
"""correlate1d and the Gaussian filter against scipy.ndimage, on every instruction set of this machine."""

import sys

import numpy as np
import scipy
import scipy.ndimage

from held_values import Held, ulps_apart
from numerics_probe import BOUNDARIES, ISA_NAMES, Probe

SIZES = (1, 2, 3, 5, 7, 15, 16, 17, 31, 37, 64, 65, 129)
RADII = (0, 1, 2, 5, 16, 23, 100)
SIGMAS = (0.1, 0.12, 0.13, 0.3, 0.5, 0.8, 1.0, 1.5, 2.0, 3.3, 6.0, 10.0, 17.0, 31.5, 60.0)


def random_plane(rng, h, w):
    """Scene-linear values over many stops, with dark pixels below zero."""
    return (rng.standard_normal((h, w)) * 10.0 ** rng.uniform(-4, 3, (h, w))).astype(np.float32)


def hold_correlate1d(probe, isas, held, rng):
    """Both sides get the very same taps, so every bit must agree."""
    count = 0
    planes = [(h, w) for h in SIZES for w in SIZES if h in (1, 3, 17) or w in (1, 2, 16) or h == w]
    planes += [(1, 1009), (1009, 1), (61, 331), (331, 61), (200, 16 * 17 + 3)]
    for h, w in planes:
        plane = random_plane(rng, h, w)
        for radius in RADII:
            wing = rng.standard_normal(radius)
            kernel = np.concatenate([wing, rng.standard_normal(1), wing[::-1]])
            for mode, name in enumerate(BOUNDARIES):
                for along_rows in (False, True):
                    theirs = scipy.ndimage.correlate1d(plane, kernel, axis=int(along_rows), mode=name)
                    for isa in isas:
                        probe.use_isa(isa)
                        ours = probe.correlate1d(plane, kernel, along_rows, mode)
                        held.equal(ours, theirs, f"correlate1d {h} x {w}, radius {radius}, {name}, "
                                                 f"rows {along_rows}, {ISA_NAMES[isa]}")
                        count += 1
    print(f"correlate1d: {count} planes bit for bit, {len(planes)} sizes, radius up to {max(RADII)}")


def hold_gaussian(probe, isas, held, rng):
    """Numpy's exp may differ from ours in the last bit of a tap, and so may the sums."""
    worst, exact, count, worst_tap = 0, 0, 0, 0.0
    for sigma in SIGMAS:
        theirs = scipy.ndimage._filters._gaussian_kernel1d(sigma, 0, int(4.0 * sigma + 0.5))
        worst_tap = max(worst_tap, np.max(np.abs(probe.gaussian_kernel(sigma) - theirs) / theirs))
        for h, w in ((1, 1), (1, 41), (41, 1), (2, 3), (17, 16), (61, 67), (240, 331)):
            plane = rng.random((h, w), np.float32)
            for mode, name in enumerate(BOUNDARIES):
                theirs = scipy.ndimage.gaussian_filter(plane, sigma, mode=name)
                what, results = f"gaussian {h} x {w}, sigma {sigma}, {name}", []
                for isa in isas:
                    probe.use_isa(isa)
                    results.append(probe.gaussian_filter(probe.picture(plane), sigma, mode).array())
                    held.equal(results[-1], results[0], f"{what}: {ISA_NAMES[isa]}")
                apart = ulps_apart(results[0], theirs)
                count += 1
                exact += apart == 0
                held.check(apart <= 1, f"{what}: {apart} ulp from scipy's")
                worst = max(worst, apart)
    held.check(worst_tap <= 4e-16 * 2, f"a Gaussian tap is off by {worst_tap} of itself")
    print(f"gaussian_kernel: taps within {worst_tap:.1e} of scipy's, relative")
    print(f"gaussian_filter: {exact} of {count} planes bit for bit, sigma {SIGMAS[0]} to {SIGMAS[-1]}; "
          f"largest difference {worst} ulp of a float")


def hold_channels(probe, isas, held, rng):
    """An interleaved picture is blurred as its channels are one by one, whichever way the blur takes."""
    count = 0
    for channels in (2, 3, 4):
        picture = rng.random((53, 71, channels), np.float32)
        for sigma in (0.7, 4.0, 13.0, 300.0):
            for isa in isas:
                probe.use_isa(isa)
                whole = probe.blur(probe.picture(picture), sigma).array()
                for k in range(channels):
                    single = probe.blur(probe.picture(picture[:, :, k]), sigma).array()
                    held.equal(whole[:, :, k], single, f"blur of channel {k}, sigma {sigma}")
                    count += 1
    print(f"blur_image: {count} channels as planes of their own")


def main():
    probe = Probe(sys.argv[1])
    isas, held, rng = probe.isas(), Held(), np.random.default_rng(20)
    print("scipy", scipy.__version__, "against", ", ".join(ISA_NAMES[isa] for isa in isas))
    hold_correlate1d(probe, isas, held, rng)
    hold_gaussian(probe, isas, held, rng)
    hold_channels(probe, isas, held, rng)
    held.finish()


if __name__ == "__main__":
    main()
