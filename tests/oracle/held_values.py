"""Counts what was held against a peer and prints the first difference."""

import sys

import numpy as np


def ulps_apart(ours, theirs):
    """Largest distance in steps of single precision; the arrays are finite."""
    def ordered(array):
        bits = np.ascontiguousarray(array, np.float32).view(np.int32).astype(np.int64)
        return np.where(bits < 0, -(bits & 0x7FFFFFFF), bits)
    return int(np.abs(ordered(ours) - ordered(theirs)).max(initial=0))


class Held:
    def __init__(self):
        self.failures = 0

    def equal(self, ours, theirs, what):
        """Bit for bit, apart from the payload of a NaN."""
        ours, theirs = np.asarray(ours), np.asarray(theirs)
        if ours.shape == theirs.shape and np.array_equal(ours, theirs, equal_nan=True) and \
                np.array_equal(np.signbit(ours), np.signbit(theirs)):
            return
        self.fail(f"{what}: {ours.shape} against {theirs.shape}"
                  if ours.shape != theirs.shape else
                  f"{what}: largest difference {np.nanmax(np.abs(ours - theirs))}")

    def check(self, condition, what):
        if not condition:
            self.fail(what)

    def fail(self, what):
        self.failures += 1
        if self.failures <= 20:
            print("DIFFERS", what)

    def finish(self):
        print(f"{self.failures} differences" if self.failures else "all of it holds")
        sys.exit(1 if self.failures else 0)
