# SPDX-License-Identifier: MIT
"""Online processing: the frame cycle, the per-pixel stages, orientation and keeping frames alive."""

import gc

import numpy as np
import pytest

import qmath
from models import store


def flat_factor(flat, norm):
    """The instance's factor frame: float32 1/flat, times the flat's mean or maximum, 0 where flat is 0."""
    f = flat.astype(np.float64)
    recip = np.where(f == 0, 0.0, 1.0 / np.where(f == 0, 1.0, f)).astype(np.float32)
    scale = {"none": None, "mean": f.mean(), "max": f.max()}[norm]
    return recip if scale is None else (recip.astype(np.float64) * scale).astype(np.float32)


@pytest.mark.parametrize("src, out_dtype, norm", [
    (np.uint16, np.uint32, "mean"),
    (np.uint16, np.float64, "max"),
    (np.uint8, np.uint16, "none"),
    (np.int32, np.float64, "mean"),
])
def test_dark_flat_cycle_sums_frames(src, out_dtype, norm, rng):
    shape, n = (6, 10), 3
    hi = 4000 if np.dtype(src).itemsize > 1 else 250
    frames = [rng.integers(0, hi, shape).astype(src) for _ in range(n + 1)]
    dark = rng.integers(0, 50, shape).astype(np.uint16)
    flat = rng.integers(0, 1000, shape).astype(np.uint16)
    flat[0, 0] = 0  # a zero flat pixel gives a factor of 0, not an error
    factor = flat_factor(flat, norm).astype(np.float64)
    out = np.full(shape, 99, out_dtype)
    want = np.zeros(shape, out_dtype)
    with qmath.Online(frames=n, accumulate=True, dark=dark, flat=flat, flat_norm=norm) as online:
        for k, frame in enumerate(frames, start=1):
            corrected = store((frame.astype(np.int64) - dark).astype(np.float64) * factor, out_dtype)
            want = corrected if k in (1, n + 1) else (want + corrected).astype(out_dtype)
            online.process(frame.copy(), out)
            assert (online.frame_number, online.cycle_complete) == ((k - 1) % n + 1, k == n)
            np.testing.assert_array_equal(out, want, err_msg=f"frame {k}")
        assert out[0, 0] == 0


# options, frame values, out dtype, expected out
STAGES = [
    ({"threshold": 100}, [99, 100, 101, 5000], np.uint8, [0, 0, 1, 1]),
    ({"clip": (200, 100)}, [0, 100, 101, 5000], np.uint16, [200, 200, 100, 100]),
    ({"clip": (10.7, 3000)}, [0, 10, 11, 5000], np.int32, [10, 10, 11, 3000]),
    ({"log10": True, "gain": np.ones(4)}, [0, 1, 1000, 5000], np.uint16, [0, 0, 3, 3]),
    ({"log10": True, "gain": np.full(4, 10.0)}, [1, 10, 100, 5000], np.float64,
     np.log10(np.array([1, 10, 100, 5000]) * 10.0)),
    ({"dark": np.full(4, 1200, np.int32)}, [1000, 1200, 1201, 0], np.uint16, [65336, 0, 1, 64336]),
    ({"dark": np.full(4, 1200, np.int32)}, [1000, 1200, 1201, 0], np.float32, [-200, 0, 1, -1200]),
    ({"flat": np.array([2, 2, 4, 0], np.uint8), "flat_norm": "max"}, [100, 101, 7, 9], np.uint16, [200, 202, 7, 0]),
]


@pytest.mark.parametrize("options, values, out_dtype, want", STAGES)
def test_final_stages(options, values, out_dtype, want):
    frame = np.array(values, np.uint16)
    out = np.zeros(4, out_dtype)
    with qmath.Online(**options) as online:
        online.process(frame, out)
    np.testing.assert_allclose(out, want, rtol=1e-15)


@pytest.mark.parametrize("frame, options, out_dtype, want", [
    (np.array([-1], np.int32), {"flat": np.ones(1, np.float32)}, np.float64, 4294967295.0),  # read unsigned
    (np.array([-1], np.int32), {}, np.float64, -1.0),                                  # plain copy: signed
    (np.array([-1], np.int16), {"dark": np.zeros(1, np.int32)}, np.int32, 65535),                # 16-bit read unsigned
    (np.array([[[10, 20, 31], [255, 255, 255]]], np.uint8), {}, np.uint16, [[20, 255]]),  # colour averaged
])
def test_source_reading(frame, options, out_dtype, want):
    out = np.zeros(frame.shape[:2] if frame.ndim == 3 else frame.shape, out_dtype)
    with qmath.Online(**options) as online:
        np.testing.assert_array_equal(online.process(frame, out), want)


@pytest.mark.parametrize("options, orient", [
    ({"flip_vertical": True}, lambda f: f[::-1]),
    ({"mirror_horizontal": True}, lambda f: f[:, ::-1]),
    ({"flip_vertical": True, "mirror_horizontal": True}, lambda f: f[::-1, ::-1]),
    ({"transpose": True}, lambda f: f.T),
    ({"transpose": True, "flip_vertical": True}, lambda f: f[::-1].T),
])
@pytest.mark.parametrize("shape", [(5, 5), (3, 4)])
def test_orientation_rewrites_frame_in_place(options, orient, shape):
    original = np.arange(np.prod(shape), dtype=np.uint16).reshape(shape)
    frame, out = original.copy(), np.zeros(shape, np.float32)
    with qmath.Online(**options) as online:
        online.process(frame, out)
    # the buffer holds the oriented frame row after row (a transposed W x H frame keeps its shape)
    np.testing.assert_array_equal(frame.ravel(), orient(original).ravel())
    np.testing.assert_array_equal(out.ravel(), orient(original).ravel())


def test_colour_out_copies_a_colour_frame_whatever_the_options():
    frame = np.arange(24, dtype=np.uint8).reshape(2, 4, 3)
    out = np.zeros_like(frame)
    with qmath.Online(threshold=3, accumulate=True) as online:
        np.testing.assert_array_equal(online.process(frame, out), frame)


def test_frames_and_references_stay_alive(rng):
    """The instance keeps addresses: the package must keep what they point at."""
    shape = (8, 8)
    out = np.zeros(shape, np.int32)
    online = qmath.Online(dark=np.full(shape, 7, np.uint16))  # a temporary
    gc.collect()
    buffer = np.zeros(shape, np.uint16)
    for k in range(4):
        buffer[...] = k * 100  # the camera refills the attached buffer
        online.process(buffer, out)
        np.testing.assert_array_equal(out, k * 100 - 7)
        fresh = rng.integers(0, 1000, shape).astype(np.uint16)
        online.process(fresh.copy(), out)  # a new array each time, dropped at once
        gc.collect()
        np.testing.assert_array_equal(out, fresh.astype(np.int32) - 7)
    online.reset()
    online.configure(dark_subtract=False, frames=2, accumulate=True)
    online.process(buffer, out)
    online.process(buffer, out)
    np.testing.assert_array_equal(out, 2 * buffer.astype(np.int32))
    online.close()
