# SPDX-License-Identifier: MIT
"""Bayer reconstruction: binning, and interpolation by phase, sample type, gain, offset and shift."""

import numpy as np
import pytest

import qmath

# Where red and blue sit in each phase (row parity, column parity); green takes the other two.
PHASES = {1: ((0, 0), (1, 1)), 2: ((1, 0), (0, 1)), 3: ((1, 1), (0, 0)), 4: ((0, 1), (1, 0))}


def mosaic(phase, red, green, blue, shape, dtype):
    m = np.full(shape, green, dtype)
    (rr, rc), (br, bc) = PHASES[phase]
    m[rr::2, rc::2] = red
    m[br::2, bc::2] = blue
    return m


@pytest.mark.parametrize("shift", [0, 4, 33])
@pytest.mark.parametrize("order", ["bgr", "rgb"])
def test_bin_cells(shift, order, rng):
    m = rng.integers(0, 4096, (6, 8)).astype(np.uint16)
    a0, a1, b0, b1 = (m[r::2, c::2].astype(np.uint32) for r, c in ((0, 0), (0, 1), (1, 0), (1, 1)))
    bgr = np.stack([b0, (a0 + b1) // 2, a1], axis=-1) >> (shift % 32) & 0xFF
    bgr[-1] = 0  # the last output row is not written
    got = qmath.bayer_bin(m, shift, order=order)
    np.testing.assert_array_equal(got, bgr if order == "bgr" else bgr[..., ::-1])


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.int16, np.uint32, np.int32])
@pytest.mark.parametrize("phase", [1, 2, 3, 4])
def test_interpolate_recovers_constant_planes(dtype, phase):
    m = mosaic(phase, 200, 100, 50, (7, 9), dtype)
    got = qmath.bayer_interpolate(m, phase=phase, gains=(1.0, 0.5, 2.0), offsets=(10, 0, 0))
    # red (200 - 10) * 1.0, green 100 * 0.5, blue 50 * 2.0, in blue-green-red order
    np.testing.assert_array_equal(got[1:-1, 1:-1], np.broadcast_to([100, 50, 190], (5, 7, 3)))
    assert not got[-1].any()  # the last row is not written
    rgb = qmath.bayer_interpolate(m, phase=phase, gains=(1.0, 0.5, 2.0), offsets=(10, 0, 0), order="rgb")
    np.testing.assert_array_equal(rgb, got[..., ::-1])


@pytest.mark.parametrize("shift, offsets, want_bgr", [
    (0, (0, 0, 0), [255, 255, 255]),      # 1000 clipped to 255
    (2, (0, 0, 0), [250, 250, 250]),      # 1000 >> 2
    (2, (500, 0, 500), [250, 250, 125]),  # red loses its offset, blue only compares with it
    (0, (0, 2000, 0), [255, 255, 255]),   # without a shift a sample below its offset wraps high
    (1, (0, 2000, 0), [255, 0, 255]),     # with one it gives 0
])
def test_channel_rule(shift, offsets, want_bgr):
    m = mosaic(2, 1000, 1000, 1000, (4, 6), np.uint16)
    got = qmath.bayer_interpolate(m, shift=shift, offsets=offsets)
    np.testing.assert_array_equal(got[1, 2], want_bgr)
