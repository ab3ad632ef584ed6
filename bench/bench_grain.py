#!/usr/bin/env python3
"""The growth of grain, nanoseconds a sub-sample, against NumPy and SciPy; one process, one thread.

usage: bench_grain.py PROBE_LIBRARY [--quick]

The peers make standard normal deviates and blur them, as many and as widely as the engine does, and
nothing else; the engine's time holds all the rest too: uniforms, the lognormal rate, Poisson counts,
light, and the means over each pixel's sub-samples. A time is the best of several runs, ours and the
peers' in turn, on a part of a 135 frame at 12 micrometres a pixel (--quick: one run of a smaller part).
"""

import argparse
import pathlib
import sys
import time

import numpy as np
import scipy
import scipy.ndimage

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "oracle"))
from numerics_probe import ISA_NAMES, Probe  # noqa: E402

WIDTH, PER_SIDE, SUB_UM = 3000, 6, 2.0

# name, our call, sigmas of the blurs in sub-samples
SILVER = [(f"silver, {size} um", (max(size / 28, 0.25), max(3.0, size / 2), 0.045),
           [max(3.0, size / 2) / SUB_UM]) for size in (6, 9, 14)]
DYE = [(f"dye, {size} um", (0.06, 0.3 * size, max(6.0, size), 0.016),
        [max(6.0, size) / SUB_UM, 0.3 * size / SUB_UM]) for size in (6, 8.4)]


def seconds(run):
    start = time.perf_counter()
    result = run()
    spent = time.perf_counter() - start
    del result
    return spent


def peers(rng, rows, sigmas):
    """Seconds for the deviates and for the blurs of rows x WIDTH pixels, by strips as ours."""
    normals = blurs = 0.0
    for first in range(0, rows, 256):
        shape = (min(256, rows - first) * PER_SIDE, WIDTH * PER_SIDE)
        start = time.perf_counter()
        field = rng.standard_normal(shape)
        normals += time.perf_counter() - start
        field = field.astype(np.float32)
        start = time.perf_counter()
        for sigma in sigmas:
            field = scipy.ndimage.gaussian_filter(field, sigma, mode="reflect")
        blurs += time.perf_counter() - start
    return normals, blurs


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("probe")
    parser.add_argument("--quick", action="store_true", help="one run of a smaller part")
    arguments = parser.parse_args()
    rows, runs = (256, 1) if arguments.quick else (1024, 3)

    probe = Probe(arguments.probe)
    rng = np.random.default_rng(1)
    shades = np.linspace(0.05, 2.0, WIDTH, dtype=np.float32) * np.ones((rows, 1), np.float32)
    density, depth = probe.picture(shades), probe.picture(shades * np.float32(2.302585) + np.float32(0.05))
    samples = rows * WIDTH * PER_SIDE ** 2
    print(f"numpy {np.__version__}, scipy {scipy.__version__}, {samples / 1e6:.0f} million sub-samples,"
          " ns a sub-sample")
    print(f"{'grains':14} {'set':9} {'ours':>7} {'normals':>8} {'blurs':>7} {'times as fast':>14}")
    cases = [(name, lambda g=grains: probe.grow_silver(depth, PER_SIDE, SUB_UM, *g), sigmas)
             for name, grains, sigmas in SILVER]
    cases += [(name, lambda g=grains: probe.grow_dye(density, PER_SIDE, SUB_UM, *g), sigmas)
              for name, grains, sigmas in DYE]
    sets = [isa for isa in probe.isas() if isa > 0] or [0]
    for name, run, sigmas in cases:
        ours = {isa: [] for isa in sets}
        theirs = []
        for _ in range(runs):
            for isa in sets:
                probe.use_isa(isa)
                ours[isa].append(seconds(run))
            theirs.append(peers(rng, rows, sigmas))
        normals, blurs = (1e9 / samples * min(part) for part in zip(*theirs))
        for isa in sets:
            mine = 1e9 / samples * min(ours[isa])
            print(f"{name:14} {ISA_NAMES[isa]:9} {mine:7.1f} {normals:8.1f} {blurs:7.1f}"
                  f" {(normals + blurs) / mine:14.2f}")


if __name__ == "__main__":
    main()
