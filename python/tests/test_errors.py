# SPDX-License-Identifier: MIT
"""Wrong calls are refused before the library sees them; failing statuses become exceptions."""

import os
import subprocess
import sys
import warnings

import numpy as np
import pytest

import qmath

a = np.arange(12, dtype=np.uint16).reshape(3, 4)
f32 = np.ones((2, 2), np.float32)


def read_only():
    r = a.copy()
    r.flags.writeable = False
    return r


WRONG = [
    (lambda: qmath.convert(a[:, ::2]), ValueError, "not C-contiguous"),
    (lambda: qmath.convert(a.T), ValueError, "not C-contiguous"),
    (lambda: qmath.convert(a.astype(np.float16)), TypeError, "dtype float16"),
    (lambda: qmath.convert(a.astype(np.int64)), TypeError, "dtype int64"),
    (lambda: qmath.convert(a.astype(">u2")), TypeError, "byte-swapped"),
    (lambda: qmath.convert(a, np.complex64), TypeError, "not supported"),
    (lambda: qmath.convert([1, 2, 3]), TypeError, "numpy array, not list"),
    (lambda: qmath.convert(np.zeros((2, 2, 2), np.uint16)), ValueError, "1-D or 2-D"),
    (lambda: qmath.convert(np.frombuffer(b"\0" * 9, np.uint16, 4, 1)), ValueError, "aligned"),
    (lambda: qmath.add(a, 1, out=np.zeros((4, 3), np.uint16)), ValueError, "shape (4, 3)"),
    (lambda: qmath.add(a, 1, np.int8, out=np.zeros((3, 4), np.uint16)), TypeError, "contradicts"),
    (lambda: qmath.add(a, 1, out=read_only()), ValueError, "read-only"),
    (lambda: qmath.add(a, a), TypeError, "not an array"),
    (lambda: qmath.add(a, "1"), TypeError, "real number"),
    (lambda: qmath.convert(a, np.uint8, out=a.view(np.uint8)[:, :4]), ValueError, "not C-contiguous"),
    (lambda: qmath.convert(a.ravel()[:6], out=a.ravel()[3:9]), ValueError, "overlaps"),
    (lambda: qmath.add_images(a, a[:2]), ValueError, "y has shape (2, 4)"),
    (lambda: qmath.Online().process(f32, f32), TypeError, "frame has dtype float32"),
    (lambda: qmath.Online().process(a, np.zeros((4, 3), np.uint16)), ValueError, "pixels"),
    (lambda: qmath.Online(dark=f32).process(a, a.copy()), ValueError, "dark frame has shape (2, 2)"),
    (lambda: qmath.Online(dark_subtract=True).process(a, a.copy()), ValueError, "no dark frame"),
    (lambda: qmath.Online(flip_vertical=True).process(read_only(), a.copy()), ValueError, "read-only"),
    (lambda: qmath.Online(log10=True, clip=(1, 2)), ValueError, "log10 cannot"),
    (lambda: qmath.Online(threshold=1, clip=(1, 2)), ValueError, "threshold and clip"),
    (lambda: qmath.Online(frames=-1), ValueError, "frames must"),
    (lambda: qmath.Online(flat_norm="median", flat=f32), ValueError, "flat_norm"),
    (lambda: qmath.bayer_bin(a.astype(np.int32)), TypeError, "expected uint16"),
    (lambda: qmath.bayer_interpolate(a, phase=0), ValueError, "phase"),
    (lambda: qmath.bayer_interpolate(a, gains=(1, 2)), ValueError, "triples"),
    (lambda: qmath.bayer_interpolate(a.astype(np.float32)), TypeError, "expected uint8"),
]


@pytest.mark.parametrize("call, error, words", WRONG, ids=[w[2] for w in WRONG])
def test_wrong_calls_raise_before_the_library(call, error, words):
    with pytest.raises(error, match=pytest.importorskip("re").escape(words)):
        call()


def test_closed_instance():
    online = qmath.Online()
    with online:
        pass
    with pytest.raises(ValueError, match="closed"):
        online.process(a, a.copy())


def test_failing_status_raises_with_its_text():
    with pytest.raises(qmath.QmathError) as e:
        qmath.convert(np.zeros((0, 4), np.uint16))
    assert (e.value.status, e.value.name, e.value.call) == (8000, "qmeMissingImage", "convert")
    assert "8000" in str(e.value) and e.value.text in str(e.value)


def test_table_full_is_5010_and_slots_come_back():
    taken = []
    with pytest.raises(qmath.QmathError) as e:
        for _ in range(256):
            taken.append(qmath.Online())
    assert e.value.status == 5010 and "no free instance" in str(e.value)
    for online in taken:
        online.close()
    qmath.Online().close()


def test_8003_is_a_warning_that_can_be_made_an_error():
    zero = np.array([4, 0], np.int16)
    with pytest.warns(qmath.QmathWarning, match="divide_images returned 8003") as record:
        out = qmath.divide_images(np.array([9, 9], np.int16), zero)
    assert record[0].filename == __file__  # points at the caller's line
    np.testing.assert_array_equal(out, [2, 0])
    with warnings.catch_warnings():
        warnings.simplefilter("error", qmath.QmathWarning)
        with pytest.raises(qmath.QmathWarning):
            qmath.log10(zero)


def test_status_text_prefers_the_library_and_covers_every_status():
    assert set(qmath.STATUS) == {0, 5010, 5020, *range(8000, 8007)}

    class Lib:
        @staticmethod
        def QmStatusText(status):
            return f"text {status}".encode()

    assert qmath.status_text(8004, Lib()) == "text 8004"
    assert qmath.status_text(8004, object()) == qmath.STATUS[8004][1]
    assert qmath.status_text(1234, object()) == "unknown status"


def test_identity():
    ident = qmath.identity()
    assert ident == ("General and Online Math", 0x03000000, 6, 1, (3, 0, 10, 0))


def test_an_explicit_library_that_cannot_load_is_reported():
    env = dict(os.environ, QMATH_LIBRARY="/nonexistent/libqmath.so")
    code = "import qmath; qmath.identity()"
    run = subprocess.run([sys.executable, "-c", code], env=env, capture_output=True, text=True,
                         cwd=os.path.join(os.path.dirname(__file__), os.pardir))
    assert run.returncode != 0
    assert "cannot load the qmath library" in run.stderr and "/nonexistent/libqmath.so" in run.stderr
