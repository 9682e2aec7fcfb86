# SPDX-License-Identifier: MIT
"""Reference computations in plain numpy, written from the module's rules, not from the package."""

import numpy as np

INTS = [np.int8, np.int16, np.int32, np.uint8, np.uint16, np.uint32]
FLOATS = [np.float32, np.float64]
ALL = INTS + FLOATS


def samples(dtype, rng, n=40):
    """Random values of a dtype with its boundaries and, for floats, the awkward ones."""
    dt = np.dtype(dtype)
    if dt.kind == "f":
        special = [0.0, -0.0, 0.5, -0.5, 2.7, -2.9, 65536.7, -1.5, 3e9, -3e9, 1e300, np.nan, np.inf, -np.inf]
        with np.errstate(over="ignore"):
            return np.concatenate([np.array(special), rng.normal(0, 1000, n)]).astype(dt)
    info = np.iinfo(dt)
    edge = [info.min, info.max, 0, 1, info.max // 2 + 1, info.min + 1] + ([-1, -2] if info.min < 0 else [2, 3])
    rand = rng.integers(info.min, info.max, n, dtype=np.int64, endpoint=True)
    return np.concatenate([np.array(edge, np.int64), rand]).astype(dt)


def value(x):
    """An element as the arithmetic reads it, in float64: uint32 is read as signed."""
    return (x.view(np.int32) if x.dtype == np.uint32 else x).astype(np.float64)


def truncated(v):
    """Truncation toward zero to int64; NaN, infinities and values beyond int64 give int64's minimum."""
    t = np.trunc(v)
    bad = ~np.isfinite(t) | (t >= 2.0**63) | (t < -(2.0**63))
    return np.where(bad, -(2.0**63), t).astype(np.int64)


def store(v, dtype):
    """A float64 result stored: rounded for floats, truncated then cut to the low bits for integers."""
    dt = np.dtype(dtype)
    with np.errstate(all="ignore"):
        return v.astype(dt) if dt.kind == "f" else truncated(v).astype(dt)


def int_value(x):
    """An operand as image arithmetic enters it into integer arithmetic (int64 holding 32 bits)."""
    if x.dtype.kind == "f":
        return (truncated(x.astype(np.float64)) & 0xFFFFFFFF).astype(np.uint32).view(np.int32).astype(np.int64)
    return (x.view(np.int32) if x.dtype == np.uint32 else x).astype(np.int64)


def trunc_div(n, d):
    """n / d truncated toward zero, for int64 arrays with d != 0."""
    q = np.abs(n) // np.abs(d)
    return np.where((n < 0) != (d < 0), -q, q)
