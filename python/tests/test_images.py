# SPDX-License-Identifier: MIT
"""Image arithmetic: every operand dtype pair into every destination dtype."""

import warnings

import numpy as np
import pytest

import qmath
from models import ALL, int_value, store, samples, trunc_div, value


def model(op, x, y, dt):
    dt = np.dtype(dt)
    if op == "divide":
        d = value(y)
        zero = (d == 0) | np.isnan(d)
        if dt.kind == "f":
            with np.errstate(all="ignore"):
                q = value(x) / np.where(zero, 1.0, d)
            return store(np.where(zero, 0.0, q), dt), zero.any()
        # Both reduced to the destination's width and signedness, then divided toward zero.
        n = int_value(x).astype(dt).astype(np.int64)
        t = int_value(y).astype(dt).astype(np.int64)
        zero |= t == 0
        q = trunc_div(n, np.where(zero, 1, t))
        return np.where(zero, 0, q).astype(dt), zero.any()
    fn = {"add": np.add, "subtract": np.subtract, "multiply": np.multiply}[op]
    if dt.kind == "f":
        with np.errstate(all="ignore"):
            return store(fn(value(x), value(y)), dt), False
    return fn(int_value(x), int_value(y)).astype(dt), False  # wraps at the destination's width


CALLS = {"add": qmath.add_images, "subtract": qmath.subtract_images,
         "multiply": qmath.multiply_images, "divide": qmath.divide_images}


@pytest.mark.parametrize("op", list(CALLS))
def test_every_type_pair(op, rng):
    failures = []
    operands = {t: samples(t, rng, 30)[:36] for t in ALL}
    for t1 in ALL:
        # operand 2 shuffled, so that every value meets others, zeros included
        for t2 in ALL:
            x, y = operands[t1], rng.permutation(operands[t2])
            for dst in ALL:
                with warnings.catch_warnings(record=True) as record:
                    warnings.simplefilter("always")
                    got = CALLS[op](x, y, dst)
                want, warns = model(op, x, y, dst)
                statuses = [w.message.status for w in record]
                if statuses != ([8003] if warns else []):
                    failures.append(f"{x.dtype}, {y.dtype} -> {np.dtype(dst)}: statuses {statuses}")
                if not np.array_equal(got, want, equal_nan=np.dtype(dst).kind == "f"):
                    i = np.flatnonzero(~((got == want) | (np.isnan(value(got)) & np.isnan(value(want)))))[0]
                    failures.append(f"{x.dtype}, {y.dtype} -> {np.dtype(dst)}: {x[i]!r} {op} {y[i]!r} "
                                    f"gave {got[i]!r}, want {want[i]!r}")
    assert not failures, "\n".join(failures[:20])


def test_two_dimensional_out_and_in_place():
    x = np.arange(12, dtype=np.int16).reshape(3, 4)
    y = np.full((3, 4), 30000, np.int16)
    out = np.empty((3, 4), np.int16)
    assert qmath.add_images(x, y, out=out) is out
    np.testing.assert_array_equal(out, (x.astype(np.int64) + 30000).astype(np.int16))
    qmath.multiply_images(x, x, out=x)
    np.testing.assert_array_equal(x, np.arange(12).reshape(3, 4) ** 2)
