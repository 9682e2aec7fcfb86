# SPDX-License-Identifier: MIT
"""qmath for numpy: the "General and Online Math" module's image operations on numpy arrays.

    >>> import numpy as np, qmath
    >>> qmath.convert(np.array([300.7, -1.5]), np.uint16)   # truncation toward zero, then wrap
    array([  300, 65535], dtype=uint16)

Arrays go in C-contiguous and in native byte order, as int8, int16, int32, float32, float64,
uint8, uint16, uint32, or colour (H, W, 3) uint8 in blue-green-red order; anything else raises
TypeError or ValueError before the library is called. A failing status raises QmathError; status
8003 (some elements could not be computed and were set to 0) issues a QmathWarning instead.

The library is found by qmath.load(path), else QMATH_LIBRARY, else this package's folder, else
the system's loader (libqmath.so.3), else the build/default folder of a source checkout.
"""

from ._arrays import DTYPES, element_type
from ._bayer import bayer_bin, bayer_interpolate
from ._library import (STATUS, QmathError, QmathWarning, QmdDataStruct, library, library_path, load,
                       status_text)
from ._online import Online
from ._ops import (Identity, add, add_images, band, clip, convert, divide, divide_images, identity,
                   library_version, ln_of_last, log10, multiply, multiply_images, reciprocal,
                   sqrt_of_last, subtract, subtract_images)
from ._arrays import describe

__version__ = "3.0.10.0"

for _public in (Identity, Online, QmathError, QmathWarning, QmdDataStruct):
    _public.__module__ = __name__  # shown as qmath.QmathError, not by the private module
del _public

__all__ = [
    "DTYPES", "STATUS", "Identity", "Online", "QmathError", "QmathWarning", "QmdDataStruct", "add",
    "add_images", "band", "bayer_bin", "bayer_interpolate", "clip", "convert", "describe", "divide",
    "divide_images", "element_type", "identity", "library", "library_path", "library_version", "ln_of_last",
    "load", "log10", "multiply", "multiply_images", "reciprocal", "sqrt_of_last", "status_text", "subtract",
    "subtract_images",
]
