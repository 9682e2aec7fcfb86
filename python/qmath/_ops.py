# SPDX-License-Identifier: MIT
"""Identity, conversion, the scalar operations and image arithmetic."""

import ctypes
import threading
from collections import namedtuple

import numpy as np

from . import _arrays
from ._library import check, library

Identity = namedtuple("Identity", "name id1 id2 device_count version")


def identity():
    """The module's name, its two identifiers, its device count and its version (a 4-tuple)."""
    lib = library()
    name = ctypes.create_string_buffer(64)
    id1, id2, count = ctypes.c_uint32(), ctypes.c_uint32(), ctypes.c_uint32()
    check(lib.GetDeviceID(name, ctypes.byref(id1), ctypes.byref(id2), 0), "GetDeviceID", lib)
    check(lib.GetDeviceCount(ctypes.byref(count)), "GetDeviceCount", lib)
    return Identity(name.value.decode("ascii", "replace"), id1.value, id2.value, count.value,
                    library_version())


def library_version():
    """The library's version as (major, minor, build, revision)."""
    lib = library()
    parts = [ctypes.c_uint32() for _ in range(4)]
    check(lib.MathVerOfDLL(0, *[ctypes.byref(p) for p in parts]), "MathVerOfDLL", lib)
    return tuple(p.value for p in parts)


class Instance:
    """One instance of the library's table, deleted when closed or collected."""

    def __init__(self, lib=None):
        self.lib = lib if lib is not None else library()
        self.handle = None
        handle = ctypes.c_uint32()
        check(self.lib.MathCreate(0, 0, ctypes.byref(handle)), "MathCreate", self.lib)
        self.handle = handle.value
        self.keep = ()  # arrays and descriptors whose addresses the instance holds

    def close(self):
        if self.handle is not None:
            self.lib.MathDelete(self.handle)
            self.handle = None
            self.keep = ()

    def __del__(self):
        try:
            self.close()
        except Exception:  # interpreter shutdown: the library may already be gone
            pass


# Stateless calls run on one instance per thread (distinct instances may run in distinct threads).
_local = threading.local()


def _instance(lib):
    inst = getattr(_local, "instance", None)
    if inst is None or inst.lib is not lib:
        inst = _local.instance = Instance(lib)
    return inst


def _constant(value, name):
    if isinstance(value, np.ndarray) and value.ndim > 0:
        raise TypeError(f"{name} must be a number, not an array (for two arrays use the *_images functions)")
    if isinstance(value, (str, bytes)):
        raise TypeError(f"{name} must be a real number, not {type(value).__name__}")
    try:
        return float(value)
    except (TypeError, ValueError):
        raise TypeError(f"{name} must be a real number, not {type(value).__name__}") from None


def _scalar(code, call, x, a, b, dtype, out, zeros=False):
    lib = library()
    src = _arrays.describe(x, "x")
    out = _arrays.output(out, dtype, x.shape, x.dtype, zeros)
    dst = _arrays.describe(out, "out", writable=True)
    _arrays.no_partial_overlap(out, x, "x")
    inst = _instance(lib)
    h = inst.handle
    inst.keep = (x, src)
    check(lib.MathSetProcess(h, code, 1), "MathSetProcess", lib)
    lib.MathSetConstant(h, 2, a)
    lib.MathSetConstant(h, 3, b)
    lib.MathSetData(h, 0, ctypes.byref(src))
    check(lib.MathProcessData(h, ctypes.byref(dst)), call, lib)
    return out


_DOC_TAIL = """
    The result has dtype `dtype` (default: the dtype of x) or is written into `out` (same shape
    as x; it may be x itself). The computation is in floating point, and an integer result is
    the value truncated toward zero of which the low bits are kept: 300.0 into uint8 gives 44,
    -1.0 into uint16 gives 65535, and a NaN, an infinity or a value beyond 64 bits gives 0.
    uint32 elements are read as signed (0xFFFFFFFF is -1)."""


def _doc(text):
    def wrap(fn):
        fn.__doc__ = text + _DOC_TAIL
        return fn
    return wrap


@_doc("""Convert x to another dtype.

    Integer to integer moves bits: a narrower dtype keeps the low bits, a wider one is extended by
    the source's signedness (so int16 -1 gives uint32 0xFFFFFFFF, as numpy's astype).""")
def convert(x, dtype=None, out=None):
    return _scalar(509, "convert", x, 0.0, 0.0, dtype, out)


@_doc("""Clip x to [lo, hi]: lo where x < lo, else hi where x > hi (so a NaN gives lo).""")
def clip(x, lo, hi, dtype=None, out=None):
    return _scalar(256, "clip", x, _constant(lo, "lo"), _constant(hi, "hi"), dtype, out)


@_doc("""Band mask: 1 where lo < x < hi (both strict), else 0.""")
def band(x, lo, hi, dtype=None, out=None):
    return _scalar(500, "band", x, _constant(lo, "lo"), _constant(hi, "hi"), dtype, out)


@_doc("""x + a for every element.""")
def add(x, a, dtype=None, out=None):
    return _scalar(501, "add", x, _constant(a, "a"), 0.0, dtype, out)


@_doc("""x - a for every element.""")
def subtract(x, a, dtype=None, out=None):
    return _scalar(502, "subtract", x, _constant(a, "a"), 0.0, dtype, out)


@_doc("""x * a for every element.""")
def multiply(x, a, dtype=None, out=None):
    return _scalar(503, "multiply", x, _constant(a, "a"), 0.0, dtype, out)


@_doc("""x / a for every element; a divisor of 0 (or NaN) gives 0 everywhere, without a warning.""")
def divide(x, a, dtype=None, out=None):
    return _scalar(504, "divide", x, _constant(a, "a"), 0.0, dtype, out)


@_doc("""Decimal logarithm of every element. An element that is not positive gives 0 and a
    QmathWarning (status 8003); the others are computed.""")
def log10(x, dtype=None, out=None):
    return _scalar(505, "log10", x, 0.0, 0.0, dtype, out)


@_doc("""Natural logarithm of the LAST element of x, written to element 0 of the result.

    The other elements of the result are left as they were (zeros in a new array). A last
    element that is not positive gives 0 and a QmathWarning (status 8003).""")
def ln_of_last(x, dtype=None, out=None):
    return _scalar(506, "ln_of_last", x, 0.0, 0.0, dtype, out, zeros=True)


@_doc("""Square root of the LAST element of x, written to element 0 of the result.

    The other elements of the result are left as they were (zeros in a new array). A last
    element that is not positive (0 included) gives 0 and a QmathWarning (status 8003).""")
def sqrt_of_last(x, dtype=None, out=None):
    return _scalar(507, "sqrt_of_last", x, 0.0, 0.0, dtype, out, zeros=True)


@_doc("""1 / x for every element; 0 where x is 0, without a warning. Into an integer dtype only
    1 and -1 survive.""")
def reciprocal(x, dtype=None, out=None):
    return _scalar(508, "reciprocal", x, 0.0, 0.0, dtype, out)


def _images(code, call, x, y, dtype, out):
    lib = library()
    op1 = _arrays.describe(x, "x")
    op2 = _arrays.describe(y, "y")
    _arrays.same_shape("x", x, "y", y)
    out = _arrays.output(out, dtype, x.shape, x.dtype)
    dst = _arrays.describe(out, "out", writable=True)
    _arrays.no_partial_overlap(out, x, "x")
    _arrays.no_partial_overlap(out, y, "y")
    inst = _instance(lib)
    h = inst.handle
    inst.keep = (x, y, op1, op2)
    check(lib.MathSetProcess(h, code, 1), "MathSetProcess", lib)
    lib.MathSetData(h, 0, ctypes.byref(op1))
    lib.MathSetData(h, 1, ctypes.byref(op2))
    check(lib.MathProcessData(h, ctypes.byref(dst)), call, lib)
    return out


_IMAGES_TAIL = """
    x and y have the same shape and any supported dtypes; the result has dtype `dtype` (default:
    the dtype of x) or is written into `out`. Into an integer dtype the operands enter as integers
    (floats truncated toward zero, uint32 read as signed) and the result wraps at the dtype's
    width, as numpy's modular casts do; into float32 or float64 they are combined in double."""


def add_images(x, y, dtype=None, out=None):
    return _images(1, "add_images", x, y, dtype, out)


def subtract_images(x, y, dtype=None, out=None):
    return _images(2, "subtract_images", x, y, dtype, out)


def multiply_images(x, y, dtype=None, out=None):
    return _images(4, "multiply_images", x, y, dtype, out)


def divide_images(x, y, dtype=None, out=None):
    return _images(3, "divide_images", x, y, dtype, out)


add_images.__doc__ = "x + y element by element." + _IMAGES_TAIL
subtract_images.__doc__ = "x - y element by element." + _IMAGES_TAIL
multiply_images.__doc__ = "x * y element by element." + _IMAGES_TAIL
divide_images.__doc__ = """x / y element by element, truncated toward zero into integer dtypes.

    Where y is 0 or NaN (or, into an integer dtype, becomes 0 once truncated and cut to the
    dtype's width) the element is 0 and a QmathWarning (status 8003) is issued; the others are
    computed.""" + _IMAGES_TAIL
