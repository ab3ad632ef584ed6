#!/usr/bin/env python3
"""Sums and the standard deviation against numpy."""

import sys

import numpy as np

from held_values import Held
from numerics_probe import Probe


def main():
    probe, held, rng = Probe(sys.argv[1]), Held(), np.random.default_rng(22)
    print("numpy", np.__version__)
    # numpy sums a long array in pieces of its buffer; a large one lets the pairwise order through.
    np.setbufsize(8_000_000)
    sizes = list(range(0, 1001)) + [1023, 1024, 1025, 4099, 8191, 8192, 8193, 65537, 1000003, 5000001]
    for n in sizes:
        values = rng.standard_normal(n) * 10.0 ** rng.uniform(-8, 8, n)
        held.equal(probe.pairwise_sum(values), np.sum(values), f"pairwise_sum of {n}")
    print(f"pairwise_sum: {len(sizes)} sizes from 0 to {max(sizes)} bit for bit")

    worst = 0.0
    for n in (1, 2, 7, 8, 9, 127, 128, 129, 1000, 65537, 1000003):
        # A spread small beside the mean, where sums of squares about zero would fail.
        values = (1000.0 + rng.standard_normal(n)).astype(np.float32)
        theirs = np.std(values.astype(np.float64))
        worst = max(worst, abs(probe.standard_deviation(values) - theirs) / max(theirs, 1e-30))
    held.check(probe.standard_deviation([]) == 0.0, "standard_deviation of nothing")
    held.check(worst <= 1e-13, f"standard_deviation is {worst} from numpy's, relative")
    print(f"standard_deviation: within {worst:.1e} of numpy's, relative")
    held.finish()


if __name__ == "__main__":
    main()
