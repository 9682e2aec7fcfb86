# SPDX-License-Identifier: MIT
"""Colour from Bayer mosaics: 2 x 2 binning and bilinear interpolation."""

import ctypes

import numpy as np

from . import _arrays
from ._library import BAYER_MEMBERS, check, library

_MEMBERS = {np.dtype(np.uint8): "U8", np.dtype(np.uint16): "U16", np.dtype(np.int16): "I16",
            np.dtype(np.uint32): "U32", np.dtype(np.int32): "I32"}


def _int(value, name, lo, hi):
    if not isinstance(value, (int, np.integer)) or isinstance(value, bool) or not lo <= value <= hi:
        raise ValueError(f"{name} must be an integer from {lo} to {hi}, not {value!r}")
    return int(value)


def _colour_out(out, shape):
    if out is None:
        return np.zeros(shape + (3,), np.uint8)
    if not (isinstance(out, np.ndarray) and _arrays.is_colour(out)):
        raise TypeError("out must be a colour array: shape (H, W, 3), dtype uint8")
    if out.shape[:2] != shape:
        raise ValueError(f"out has {out.shape[:2]} pixels, expected {shape}")
    return out


def _ordered(out, order):
    if order == "bgr":
        return out
    if order == "rgb":
        out[...] = out[..., ::-1]  # numpy copies through a buffer when the two overlap
        return out
    raise ValueError(f"order must be 'bgr' or 'rgb', not {order!r}")


def bayer_bin(mosaic, shift=0, *, order="bgr", out=None):
    """Bin each 2 x 2 cell of a uint16 mosaic (G R / B G) into one colour pixel.

    Returns an (H // 2, W // 2, 3) uint8 array in blue-green-red order (order="rgb" for
    red-green-blue). Blue is the cell's lower left sample, red its upper right, green the mean of
    the two greens; each channel is stored as the low 8 bits of the value shifted right by
    `shift` mod 32 (not clipped: use a shift that brings the data into 8 bits). The last output
    row is not written (zeros in a new array).
    """
    shift = _int(shift, "shift", 0, 65535)
    src = _arrays.describe(mosaic, "mosaic", dtypes=(np.uint16,))
    shape = (int(src.nHeight) // 2, int(src.nWidth) // 2)
    out = _colour_out(out, shape)
    dst = _arrays.describe(out, "out", writable=True, colour=_arrays.COLOUR)
    lib = library()
    check(lib.MathBayerSimple(ctypes.byref(dst), ctypes.byref(src), shift), "bayer_bin", lib)
    return _ordered(out, order)


def bayer_interpolate(mosaic, *, shift=0, gains=(1.0, 1.0, 1.0), offsets=(0, 0, 0), phase=2,
                      order="bgr", out=None):
    """Bilinear colour reconstruction of a mosaic of uint8, uint16, int16, uint32 or int32 samples.

    `phase` is the layout of the mosaic (rows and columns counted from 0):

        phase 1: R G / G B    phase 2: G B / R G    phase 3: B G / G R    phase 4: G R / B G

    The first row and the first and last columns are always read as phase 2. `gains` and
    `offsets` are (red, green, blue). With shift > 0 a channel is 0 where its offset is at least
    the sample, else ((sample - offset) * gain) >> shift for red and green and (sample * gain) >>
    shift for blue; with shift 0 it is (sample - offset) * gain taken as unsigned. Each channel is
    clipped to 255. Returns an (H, W, 3) uint8 array in blue-green-red order (order="rgb" for
    red-green-blue); the last row is not written (zeros in a new array).
    """
    member = _MEMBERS.get(getattr(mosaic, "dtype", None))
    src = _arrays.describe(mosaic, "mosaic", dtypes=tuple(_MEMBERS))
    if src.nWidth < 2:
        raise ValueError("mosaic must be at least 2 samples wide")
    shift = _int(shift, "shift", 0, 65535)
    phase = _int(phase, "phase", 1, 4)
    try:
        g1, g2, g3 = (float(g) for g in gains)
        o1, o2, o3 = (_int(o, "each offset", -2**31, 2**31 - 1) for o in offsets)
    except (TypeError, ValueError) as e:
        raise ValueError(f"gains and offsets are (red, green, blue) triples: {e}") from None
    out = _colour_out(out, (int(src.nHeight), int(src.nWidth)))
    dst = _arrays.describe(out, "out", writable=True, colour=_arrays.COLOUR)
    lib = library()
    fn = getattr(lib, BAYER_MEMBERS[member], None)
    if fn is None:
        raise OSError(f"the loaded library has no MathBayerInterpolate{member}")
    status = fn(ctypes.byref(dst), ctypes.byref(src), shift, g1, g2, g3, o1, o2, o3, 0, phase)
    check(status, "bayer_interpolate", lib)
    return _ordered(out, order)
