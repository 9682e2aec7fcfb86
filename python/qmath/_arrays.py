# SPDX-License-Identifier: MIT
"""numpy arrays as descriptors: the dtype table and the checks made before any call."""

import numpy as np

from ._library import QmdDataStruct

# Element type codes of the eight numeric dtypes, and of colour (H, W, 3) uint8 pixels.
DTYPES = {
    np.dtype(np.int8): 1,
    np.dtype(np.int16): 2,
    np.dtype(np.int32): 3,
    np.dtype(np.float32): 4,
    np.dtype(np.float64): 5,
    np.dtype(np.uint8): 6,
    np.dtype(np.uint16): 7,
    np.dtype(np.uint32): 8,
}
COLOUR = 11         # blue, green, red bytes
COLOUR_SOURCE = 15  # the same pixels, as an online source reduced to one 8-bit value
_NAMES = ", ".join(d.name for d in DTYPES)
_INT32_MAX = 2**31 - 1


def element_type(dtype):
    """The library's element type code of a numpy dtype (TypeError when it has none)."""
    dt = np.dtype(dtype)
    code = DTYPES.get(dt)
    if code is None:
        if dt.newbyteorder("=") in DTYPES and not dt.isnative:
            raise TypeError(f"dtype {dt.str} is byte-swapped; the library reads native byte order")
        raise TypeError(f"dtype {dt} is not supported; use one of {_NAMES}")
    return code


def as_dtype(dtype):
    """dtype as a numpy dtype the library supports."""
    dt = np.dtype(dtype)
    element_type(dt)
    return dt


def is_colour(arr):
    return arr.ndim == 3 and arr.shape[2] == 3 and arr.dtype == np.uint8


def describe(arr, role, *, writable=False, colour=None, dtypes=None):
    """A descriptor of `arr` after checking everything the library cannot see.

    `colour` is the type code an (H, W, 3) uint8 array gets (None: colour not accepted here);
    `dtypes`, if given, restricts the accepted numeric dtypes. Raises TypeError for an array of
    the wrong kind or dtype, ValueError for a layout the library would misread.
    """
    if not isinstance(arr, np.ndarray):
        raise TypeError(f"{role} must be a numpy array, not {type(arr).__name__}")
    dt = arr.dtype
    if not dt.isnative:
        raise TypeError(f"{role} is byte-swapped (dtype {dt.str}); the library reads native byte "
                        f"order: use {role}.astype({role}.dtype.newbyteorder('='))")
    if colour is not None and is_colour(arr):
        code = colour
    else:
        code = DTYPES.get(dt)
        if code is None or (dtypes is not None and dt not in dtypes):
            allowed = ", ".join(np.dtype(d).name for d in dtypes) if dtypes is not None else _NAMES
            extra = " or colour (H, W, 3) uint8" if colour is not None else ""
            raise TypeError(f"{role} has dtype {dt}; expected {allowed}{extra}")
        if arr.ndim > 2:
            raise ValueError(f"{role} must be 1-D or 2-D{' (or colour (H, W, 3) uint8)' if colour else ''}, "
                             f"not of shape {arr.shape}")
    if arr.ndim == 0:
        raise ValueError(f"{role} must be an array of at least one dimension, not a scalar")
    if not arr.flags.c_contiguous:
        raise ValueError(f"{role} is not C-contiguous (a strided view such as a[:, ::2] or a transpose); "
                         f"the library reads rows back to back: pass np.ascontiguousarray({role})")
    if not arr.flags.aligned:
        raise ValueError(f"{role} is not aligned to its element size; pass a copy ({role}.copy())")
    if writable and not arr.flags.writeable:
        raise ValueError(f"{role} is read-only, but the library writes into it")
    height, width = (1, arr.shape[0]) if arr.ndim == 1 else arr.shape[:2]
    if width * height > _INT32_MAX:
        raise ValueError(f"{role} has {width * height} elements; the library counts at most {_INT32_MAX}")
    return QmdDataStruct(arr.ctypes.data, width, height, code, 1)


def output(out, dtype, shape, default, zeros=False):
    """`out` checked against the shape and dtype asked for, or a new array."""
    if out is None:
        dt = np.dtype(default) if dtype is None else as_dtype(dtype)
        return np.zeros(shape, dt) if zeros else np.empty(shape, dt)
    if not isinstance(out, np.ndarray):
        raise TypeError(f"out must be a numpy array, not {type(out).__name__}")
    if dtype is not None and np.dtype(dtype) != out.dtype:
        raise TypeError(f"dtype={np.dtype(dtype)} contradicts out of dtype {out.dtype}")
    if out.shape != tuple(shape):
        raise ValueError(f"out has shape {out.shape}, expected {tuple(shape)}")
    return out


def same_shape(role_a, a, role_b, b):
    if a.shape != b.shape:
        raise ValueError(f"{role_b} has shape {b.shape}, but {role_a} has shape {a.shape}")


def no_partial_overlap(out, arr, role):
    """The library reads element i before writing element i: only an exact overlap is safe."""
    if np.may_share_memory(out, arr) and not (
            out.ctypes.data == arr.ctypes.data and out.itemsize == arr.itemsize):
        raise ValueError(f"out overlaps {role} without being the same buffer of the same element size")
