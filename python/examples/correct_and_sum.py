#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A simulated camera: frames dark-subtracted, flat-fielded and summed by qmath, written as images.

    python3 correct_and_sum.py [--out DIR] [--frames N] [--size PIXELS]

Writes raw.pgm (one raw frame) and corrected.pgm (the corrected sum), which any image viewer
opens, and corrected_sum.npy (the sum itself, for numpy.load).
"""

import argparse
import os
import time

import numpy as np

import qmath


def simulate(size, rng):
    """A scene, a vignetting optical path, and a sensor with a dark offset and hot pixels."""
    y, x = np.mgrid[0:size, 0:size] / size - 0.5
    scene = 1500 + 1200 * np.exp(-((x - 0.15) ** 2 + (y + 0.1) ** 2) / 0.01) + 600 * (np.abs(x + 0.25) < 0.05)
    vignette = 1.0 - 1.4 * (x**2 + y**2)
    dark = 200 + rng.normal(0, 3, (size, size))
    dark[rng.integers(0, size, 40), rng.integers(0, size, 40)] += 8000  # hot pixels
    return scene, vignette, dark


def exposure(light, dark, rng):
    return np.clip(rng.poisson(light) + dark, 0, 65535).astype(np.uint16)


def write_pgm(path, image8):
    with open(path, "wb") as f:
        f.write(b"P5\n%d %d\n255\n" % (image8.shape[1], image8.shape[0]))
        f.write(image8.tobytes())


def to_8bit(image):
    """Scale to 0..255 for viewing, with qmath: subtract the floor, then multiply into uint8."""
    lo, hi = np.percentile(image, [0.5, 99.5])
    shifted = qmath.subtract(image, lo, np.float32)
    return qmath.clip(qmath.multiply(shifted, 255.0 / (hi - lo)), 0, 255, np.uint8)


def flatness(image, size):
    """Relative spread of a plain part of the scene (lower is flatter)."""
    patch = image[: size // 8, size // 2 :].astype(np.float64)
    return patch.std() / patch.mean()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--out", default=".")
    parser.add_argument("--frames", type=int, default=16)
    parser.add_argument("--size", type=int, default=512)
    args = parser.parse_args()
    rng = np.random.default_rng(1)
    size, n = args.size, args.frames

    scene, vignette, dark_level = simulate(size, rng)
    dark = exposure(np.zeros((size, size)), dark_level, rng)     # shutter closed
    flat = exposure(20000 * vignette, dark_level, rng) - dark    # uniform light through the optics
    print(f"qmath {'.'.join(map(str, qmath.library_version()))} from {qmath.library_path()}")

    out = np.zeros((size, size), np.uint32)  # a sum of 16-bit frames needs 32 bits
    frame = np.empty((size, size), np.uint16)  # the camera's buffer, refilled for every frame
    spent = 0.0
    with qmath.Online(frames=n, accumulate=True, dark=dark, flat=flat, flat_norm="mean") as online:
        for _ in range(n):
            frame[...] = exposure(scene * vignette, dark_level, rng)
            start = time.perf_counter()
            online.process(frame, out)
            spent += time.perf_counter() - start
        assert online.cycle_complete
    mean = out / n  # the average is the host's business

    os.makedirs(args.out, exist_ok=True)
    write_pgm(os.path.join(args.out, "raw.pgm"), to_8bit(frame))
    write_pgm(os.path.join(args.out, "corrected.pgm"), to_8bit(mean))
    np.save(os.path.join(args.out, "corrected_sum.npy"), out)
    print(f"{n} frames of {size} x {size}: {1e3 * spent / n:.2f} ms a frame in qmath")
    print(f"flatness of the sky (std / mean): raw {flatness(frame, size):.3f}, corrected {flatness(mean, size):.3f}")
    print(f"hot pixels above 8000 counts: raw {(frame > 8000).sum()}, corrected {(mean > 8000).sum()}")
    print(f"wrote raw.pgm, corrected.pgm and corrected_sum.npy into {os.path.abspath(args.out)}")


if __name__ == "__main__":
    main()
