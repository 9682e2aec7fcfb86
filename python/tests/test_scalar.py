# SPDX-License-Identifier: MIT
"""convert and the scalar operations, every source dtype into every destination dtype."""

import warnings

import numpy as np
import pytest

import qmath
from models import ALL, samples, store, value


def convert_model(x, dt):
    dt = np.dtype(dt)
    if x.dtype.kind != "f" and dt.kind != "f":
        return x.astype(dt)  # integer to integer moves bits: numpy's modular cast
    return store(value(x), dt)


def where(cond, a, b):
    with np.errstate(invalid="ignore"):
        return np.where(cond, a, b)


# name, call, model of the float64 result (None: 0 there), whether a non-positive element warns
OPS = [
    ("convert", lambda x, dt: qmath.convert(x, dt), None),
    ("add", lambda x, dt: qmath.add(x, -2.5, dt), lambda v: v - 2.5),
    ("subtract", lambda x, dt: qmath.subtract(x, 1000.25, dt), lambda v: v - 1000.25),
    ("multiply", lambda x, dt: qmath.multiply(x, -3.5, dt), lambda v: v * -3.5),
    ("divide", lambda x, dt: qmath.divide(x, 2.5, dt), lambda v: v / 2.5),
    ("divide by 0", lambda x, dt: qmath.divide(x, -0.0, dt), lambda v: np.zeros_like(v)),
    ("clip", lambda x, dt: qmath.clip(x, -100.5, 1000.25, dt),
     lambda v: where(np.isnan(v) | (v < -100.5), -100.5, where(v > 1000.25, 1000.25, v))),
    ("clip lo > hi", lambda x, dt: qmath.clip(x, 3, 1, dt), lambda v: where(np.isnan(v) | (v < 3), 3.0, 1.0)),
    ("band", lambda x, dt: qmath.band(x, -10, 300, dt), lambda v: where((v > -10) & (v < 300), 1.0, 0.0)),
    ("reciprocal", lambda x, dt: qmath.reciprocal(x, dt),
     lambda v: where((v == 0) | np.isnan(v), 0.0, 1.0 / where(v == 0, 1.0, v))),
]


@pytest.mark.parametrize("name, call, model", OPS, ids=[o[0] for o in OPS])
def test_every_dtype_pair(name, call, model, rng):
    failures = []
    for src in ALL:
        x = samples(src, rng)
        for dst in ALL:
            with warnings.catch_warnings():
                warnings.simplefilter("error")  # none of these operations may warn
                got = call(x, dst)
            with np.errstate(all="ignore"):
                want = convert_model(x, dst) if model is None else store(model(value(x)), dst)
            assert got.dtype == np.dtype(dst) and got.shape == x.shape
            if not np.array_equal(got, want, equal_nan=np.dtype(dst).kind == "f"):
                bad = np.flatnonzero(~((got == want) | (np.isnan(value(got)) & np.isnan(value(want)))))
                i = bad[0]
                failures.append(f"{np.dtype(src)}->{np.dtype(dst)}: x={x[i]!r} got {got[i]!r} want {want[i]!r}")
    assert not failures, "\n".join(failures)


def test_log10_every_dtype_pair(rng):
    for src in ALL:
        x = samples(src, rng)
        v = value(x)
        positive = v > 0
        for dst in ALL:
            with pytest.warns(qmath.QmathWarning) as record:
                got = qmath.log10(x, dst)
            assert record[0].message.status == 8003
            with np.errstate(all="ignore"):
                want = store(np.where(positive, np.log10(np.where(positive, v, 1.0)), 0.0), dst)
            if np.dtype(dst).kind == "f":
                np.testing.assert_array_max_ulp(got, want, maxulp=1)  # logarithms: last bit only
            else:
                np.testing.assert_array_equal(got, want, err_msg=f"{np.dtype(src)}->{np.dtype(dst)}")


def test_exact_powers_of_ten():
    x = 10.0 ** np.arange(-3, 16)
    np.testing.assert_array_equal(qmath.log10(x), np.arange(-3, 16))
    np.testing.assert_array_equal(qmath.log10(np.array([1, 10, 100, 10**9], np.uint32), np.int8), [0, 1, 2, 9])


@pytest.mark.parametrize("call, fn", [(qmath.ln_of_last, np.log), (qmath.sqrt_of_last, np.sqrt)])
@pytest.mark.parametrize("last, warns", [(7.5, False), (0.0, True), (-3.0, True), (np.nan, True)])
def test_last_element_only(call, fn, last, warns):
    x = np.array([-5.0, 100.0, last])
    out = np.full(3, 7.0)
    with warnings.catch_warnings(record=True) as record:
        warnings.simplefilter("always")
        assert call(x, out=out) is out
        np.testing.assert_array_equal(call(x, np.int16)[1:], [0, 0])  # a new result starts from zeros
    assert [w.message.status for w in record] == ([8003, 8003] if warns else [])
    want = fn(last) if last > 0 else 0.0
    np.testing.assert_array_max_ulp(out, [want, 7.0, 7.0], maxulp=1)


@pytest.mark.parametrize("dtype", ALL)
def test_in_place(dtype, rng):
    x = samples(dtype, rng)
    want = qmath.multiply(x, 3.0)
    assert qmath.multiply(x, 3.0, out=x) is x
    np.testing.assert_array_equal(x, want)


def test_two_dimensional_and_uint32_read_signed():
    x = np.array([[0xFFFFFFFF, 1], [0x80000000, 5]], np.uint32)
    np.testing.assert_array_equal(qmath.convert(x, np.float64), [[-1.0, 1.0], [-2.0**31, 5.0]])
    np.testing.assert_array_equal(qmath.convert(x), x)


def test_threads_use_instances_of_their_own(rng):
    import threading

    x = [rng.integers(0, 60000, 5000).astype(np.uint16) for _ in range(4)]
    results, errors = {}, []

    def work(k):
        try:
            for _ in range(50):
                results[k] = qmath.add(x[k], k, np.uint32)
        except Exception as e:  # pragma: no cover - reported below
            errors.append(e)

    threads = [threading.Thread(target=work, args=(k,)) for k in range(4)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert not errors
    for k in range(4):
        np.testing.assert_array_equal(results[k], x[k].astype(np.uint32) + k)
