#!/usr/bin/env python3
"""pil_resize against Pillow's resize of mode F, on every instruction set of this machine."""

import sys

import numpy as np
import PIL
import PIL.Image

from held_values import Held
from numerics_probe import FILTERS, ISA_NAMES, Probe

PIL_FILTERS = (PIL.Image.BILINEAR, PIL.Image.LANCZOS, PIL.Image.BICUBIC, PIL.Image.BOX)
LANCZOS = FILTERS.index("lanczos")

# (source, result), each (w, h): up, down, one axis alone, odd and tiny sizes, both ways at once.
SIZES = [((2, 2), (4, 4)), ((1, 1), (7, 5)), ((7, 5), (1, 1)), ((64, 48), (32, 24)), ((64, 48), (128, 96)),
         ((61, 37), (17, 113)), ((61, 37), (113, 17)), ((61, 37), (61, 16)), ((61, 37), (61, 80)),
         ((61, 37), (19, 37)), ((61, 37), (200, 37)), ((1, 90), (1, 31)), ((90, 1), (31, 1)),
         ((15, 17), (16, 16)), ((331, 211), (330, 210)), ((331, 211), (332, 212)), ((701, 97), (23, 5)),
         ((300, 200), (1100, 700)), ((1100, 700), (333, 222)), ((1301, 67), (650, 33))]


def hold_resize(probe, isas, held, rng):
    exact = dict.fromkeys(FILTERS, 0)
    worst = dict.fromkeys(FILTERS, 0)
    for (w, h), (new_w, new_h) in SIZES:
        for plane in (rng.random((h, w), np.float32),
                      (rng.standard_normal((h, w)) * 100).astype(np.float32)):
            for code, name in enumerate(FILTERS):
                what = f"{name} {w} x {h} -> {new_w} x {new_h}"
                theirs = np.asarray(PIL.Image.fromarray(plane, "F").resize((new_w, new_h),
                                                                           PIL_FILTERS[code]))
                results = []
                for isa in isas:
                    probe.use_isa(isa)
                    results.append(probe.resize(probe.picture(plane), new_w, new_h, code).array())
                    held.equal(results[-1], results[0], f"{what}: {ISA_NAMES[isa]}")
                if code != LANCZOS:
                    held.equal(results[0], theirs, what)
                # The sine under Lanczos' taps may differ in its last bit; beside a sum that nearly cancels,
                # that is measured against the largest sample.
                apart = np.max(np.abs(results[0].astype(np.float64) - theirs)) / np.max(np.abs(plane))
                held.check(apart <= 2.0**-23, f"{what}: {apart} of the largest sample")
                exact[name] += np.array_equal(results[0], theirs)
                worst[name] = max(worst[name], apart)
    for name in FILTERS:
        print(f"pil_resize {name}: {exact[name]} of {2 * len(SIZES)} planes bit for bit, largest "
              f"difference {worst[name]:.1e} of the largest sample")


def hold_channels(probe, isas, held, rng):
    count = 0
    for channels in (2, 3, 4):
        picture = rng.random((43, 91, channels), np.float32)
        for size in ((91, 20), (200, 43), (37, 101), (640, 12)):
            for code in range(len(FILTERS)):
                for isa in isas:
                    probe.use_isa(isa)
                    whole = probe.resize(probe.picture(picture), *size, code).array()
                    for k in range(channels):
                        single = probe.resize(probe.picture(picture[:, :, k]), *size, code).array()
                        held.equal(whole[:, :, k], single, f"channel {k} of {channels} to {size}")
                        count += 1
    print(f"resize_image: {count} channels as planes of their own")


def main():
    probe = Probe(sys.argv[1])
    isas, held, rng = probe.isas(), Held(), np.random.default_rng(21)
    print("Pillow", PIL.__version__, "against", ", ".join(ISA_NAMES[isa] for isa in isas))
    hold_resize(probe, isas, held, rng)
    hold_channels(probe, isas, held, rng)
    held.finish()


if __name__ == "__main__":
    main()
