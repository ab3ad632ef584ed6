#!/usr/bin/env python3
"""Filters and resampling against SciPy and Pillow, in one process and one thread each.

usage: bench_filters.py PROBE_LIBRARY [--quick]

A time is the best of several runs on a 3000 x 2000 plane of floats (--quick: two runs). Each of our runs
makes its own result, as the peers do.
"""

import argparse
import pathlib
import sys
import time

import numpy as np
import PIL
import PIL.Image
import scipy
import scipy.ndimage

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "oracle"))
from numerics_probe import FILTERS, ISA_NAMES, Probe  # noqa: E402

WIDTH, HEIGHT = 3000, 2000
PIL_FILTERS = (PIL.Image.BILINEAR, PIL.Image.LANCZOS, PIL.Image.BICUBIC, PIL.Image.BOX)


def best_ms(run, runs):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        result = run()
        times.append(time.perf_counter() - start)
        del result
    return 1e3 * min(times)


def cases(probe, plane, ours, theirs):
    """(name, least ratio asked for, our run, the peer's run)."""
    for sigma in (1.5, 6.0, 10.0):
        yield (f"gaussian_filter sigma {sigma:g}", 5.0,
               lambda s=sigma: probe.gaussian_filter(ours, s, 0),
               lambda s=sigma: scipy.ndimage.gaussian_filter(plane, s, mode="nearest"))
    yield ("blur_plane sigma 40", 25.0, lambda: probe.blur(ours, 40.0),
           lambda: scipy.ndimage.gaussian_filter(plane, 40.0, mode="nearest"))
    for label, size in (("by half", (WIDTH // 2, HEIGHT // 2)), ("by two", (WIDTH * 2, HEIGHT * 2))):
        for code, name in enumerate(FILTERS):
            yield (f"resize {label}, {name}", 1.5,
                   lambda s=size, f=code: probe.resize(ours, *s, f),
                   lambda s=size, f=code: theirs.resize(s, PIL_FILTERS[f]))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("probe")
    parser.add_argument("--quick", action="store_true", help="two runs of each instead of seven")
    arguments = parser.parse_args()
    runs = 2 if arguments.quick else 7

    probe = Probe(arguments.probe)
    isas = probe.isas()[::-1]
    plane = np.random.default_rng(1).random((HEIGHT, WIDTH), np.float32)
    ours, theirs = probe.picture(plane), PIL.Image.fromarray(plane, "F")
    print(f"{WIDTH} x {HEIGHT} floats, best of {runs}, ms and times the peer's speed; "
          f"scipy {scipy.__version__}, Pillow {PIL.__version__}")
    heads = "".join(f"{ISA_NAMES[isa]:>18}" for isa in isas)
    print(f"{'':<28}{'asked':>7}{'peer':>9}{heads}")
    slow = 0
    for name, asked, run, peer_run in cases(probe, plane, ours, theirs):
        peer = best_ms(peer_run, max(2, runs // 3))
        columns = ""
        for isa in isas:
            probe.use_isa(isa)
            mine = best_ms(run, runs)
            columns += f"{mine:>9.1f} ({peer / mine:5.1f}x)"
            slow += isa == isas[0] and peer / mine < asked
        print(f"{name:<28}{asked:>6.1f}x{peer:>9.1f}{columns}", flush=True)
    print("every ratio is reached" if slow == 0 else f"{slow} ratios are not reached")


if __name__ == "__main__":
    main()
