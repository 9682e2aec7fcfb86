# SPDX-License-Identifier: MIT
"""Finding and loading the shared library, its prototypes, the descriptor record and statuses."""

import ctypes
import ctypes.util
import os
import sys
import threading
import warnings

__all__ = [
    "QmdDataStruct", "QmathError", "QmathWarning", "STATUS", "check", "library", "library_path",
    "load", "status_text",
]


class QmdDataStruct(ctypes.Structure):
    """The image descriptor: nine 32-bit words (40 bytes on 64-bit hosts)."""

    _fields_ = [
        ("pData", ctypes.c_void_p),
        ("nWidth", ctypes.c_uint32),  # elements per row, also the row stride
        ("nHeight", ctypes.c_uint32),
        ("eType", ctypes.c_int32),
        ("nDepth", ctypes.c_uint32),
        ("nReserved", ctypes.c_uint32 * 4),
    ]


# Every status the library returns: (name, meaning).
STATUS = {
    0: ("qmeSuccess", "success"),
    5010: ("qmeNoFreeInstance", "no free instance: all 255 instance slots are in use"),
    5020: ("qmeStatisticUnavailable", "statistic not available for this element type"),
    8000: ("qmeMissingImage", "a required image is missing, has a null data pointer or no elements"),
    8001: ("qmeUnsupportedType", "element type not supported by this operation"),
    8002: ("qmeContradictoryOptions", "contradictory online options"),
    8003: ("qmeElementNotComputed",
           "some elements could not be computed and were set to 0; the others were computed"),
    8004: ("qmeCountMismatch", "the images do not have the same number of elements"),
    8005: ("qmeUnknownProcess", "process code unknown, or accepted but not handled"),
    8006: ("qmeUnsupportedSourceType", "element type not supported as online source frame"),
}

_u32p = ctypes.POINTER(ctypes.c_uint32)
_desc = ctypes.POINTER(QmdDataStruct)
_PROTOTYPES = {
    "GetDeviceCount": [_u32p],
    "GetDeviceID": [ctypes.c_char_p, _u32p, _u32p, ctypes.c_uint32],
    "MathVerOfDLL": [ctypes.c_uint32, _u32p, _u32p, _u32p, _u32p],
    "MathCreate": [ctypes.c_uint32, ctypes.c_uint32, _u32p],
    "MathDelete": [ctypes.c_uint32],
    "MathReset": [ctypes.c_uint32],
    "MathSetProcess": [ctypes.c_uint32, ctypes.c_int32, ctypes.c_uint8],
    "MathSetConstant": [ctypes.c_uint32, ctypes.c_int32, ctypes.c_double],
    "MathSetData": [ctypes.c_uint32, ctypes.c_int32, _desc],
    "MathProcessData": [ctypes.c_uint32, _desc],
    "MathBayerSimple": [_desc, _desc, ctypes.c_uint16],
    "MathBayerInterpolate": [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32, ctypes.c_void_p,
                             ctypes.c_uint32, ctypes.c_uint32, ctypes.c_uint16],
}
_BAYER_ARGS = [_desc, _desc, ctypes.c_uint16, ctypes.c_double, ctypes.c_double, ctypes.c_double,
               ctypes.c_int32, ctypes.c_int32, ctypes.c_int32, ctypes.c_int16, ctypes.c_uint16]
# The typed interpolating members have C++ linkage: their symbols carry the argument types.
BAYER_MEMBERS = {
    "U8": "_Z22MathBayerInterpolateU8P13QmdDataStructS0_tdddiiist",
    "U16": "_Z23MathBayerInterpolateU16P13QmdDataStructS0_tdddiiist",
    "I16": "_Z23MathBayerInterpolateI16P13QmdDataStructS0_tdddiiist",
    "U32": "_Z23MathBayerInterpolateU32P13QmdDataStructS0_tdddiiist",
    "I32": "_Z23MathBayerInterpolateI32P13QmdDataStructS0_tdddiiist",
}

if sys.platform == "win32":
    _FILE_NAMES = ("qmath.dll",)
elif sys.platform == "darwin":
    _FILE_NAMES = ("libqmath.3.dylib", "libqmath.dylib")
else:
    _FILE_NAMES = ("libqmath.so.3", "libqmath.so")

_HERE = os.path.dirname(os.path.abspath(__file__))
_lock = threading.Lock()
_lib = None
_path = None


def _candidates(path):
    """Where to look, in order; an explicit path or QMATH_LIBRARY is final (no silent fall-back)."""
    if path is not None:
        return [os.fspath(path)], True
    env = os.environ.get("QMATH_LIBRARY")
    if env:
        return [env], True
    found = [os.path.join(_HERE, n) for n in _FILE_NAMES if os.path.exists(os.path.join(_HERE, n))]
    system = ctypes.util.find_library("qmath")
    found += [system] if system else []
    found += [n for n in _FILE_NAMES if n not in found]
    # Imported from a source checkout (python/qmath inside the repository): its default build.
    build = os.path.join(_HERE, os.pardir, os.pardir, "build", "default", _FILE_NAMES[-1])
    if os.path.exists(build):
        found.append(os.path.normpath(build))
    return found, False


def _declare(lib):
    for name, argtypes in _PROTOTYPES.items():
        fn = getattr(lib, name)
        fn.argtypes = argtypes
        fn.restype = ctypes.c_int32
    for symbol in BAYER_MEMBERS.values():
        fn = getattr(lib, symbol, None)
        if fn is not None:
            fn.argtypes = _BAYER_ARGS
            fn.restype = ctypes.c_int32
    text = getattr(lib, "QmStatusText", None)
    if text is not None:
        text.argtypes = [ctypes.c_int32]
        text.restype = ctypes.c_char_p
    return lib


def load(path=None):
    """Load the library and return it (a ctypes.CDLL with every prototype declared).

    Looks at, in order: `path`, the environment variable QMATH_LIBRARY, this package's own folder,
    the system's loader, and the build/default folder of a source checkout. Calling it again with
    a path replaces the library that later calls use; objects already made keep theirs.
    """
    global _lib, _path
    with _lock:
        if path is None and _lib is not None:
            return _lib
        names, final = _candidates(path)
        errors = []
        for name in names:
            try:
                lib = ctypes.CDLL(name)
            except OSError as e:
                errors.append(f"  {name}: {e}")
                continue
            if not hasattr(lib, "MathCreate"):
                errors.append(f"  {name}: not the qmath library (no MathCreate)")
                continue
            _lib, _path = _declare(lib), name
            return _lib
        how = "" if final else " (set QMATH_LIBRARY to the file, or pass its path to qmath.load)"
        raise OSError("cannot load the qmath library" + how + ":\n" + "\n".join(errors))


def library():
    """The loaded library (loading it on first use)."""
    return _lib if _lib is not None else load()


def library_path():
    """The file or name the library was loaded from."""
    library()
    return _path


def status_text(status, lib=None):
    """The meaning of a status, from the library when it offers one, else from the table above."""
    lib = lib if lib is not None else _lib
    fn = getattr(lib, "QmStatusText", None) if lib is not None else None
    if fn is not None:
        text = fn(status)
        if text:
            return text.decode("utf-8", "replace")
    return STATUS.get(status, (None, "unknown status"))[1]


class _StatusInfo:
    def _init_status(self, status, call, lib):
        self.status = int(status)
        self.name = STATUS.get(self.status, ("unknown",))[0]
        self.text = status_text(self.status, lib)
        self.call = call
        return f"{call} returned {self.status} ({self.name}): {self.text}"


class QmathError(_StatusInfo, RuntimeError):
    """A call of the library failed. Carries .status, .name, .text and .call."""

    def __init__(self, status, call="qmath", lib=None):
        RuntimeError.__init__(self, self._init_status(status, call, lib))


class QmathWarning(_StatusInfo, UserWarning):
    """The library computed every element it could and set the others to 0 (status 8003)."""

    def __init__(self, status, call="qmath", lib=None):
        UserWarning.__init__(self, self._init_status(status, call, lib))


def _caller_stacklevel():
    # The first frame outside this package is the user's line the warning should point at.
    level, frame = 1, sys._getframe(1)
    while frame is not None and os.path.dirname(os.path.abspath(frame.f_code.co_filename)) == _HERE:
        frame, level = frame.f_back, level + 1
    return level


def check(status, call, lib=None):
    """Raise QmathError for a failing status; warn with QmathWarning for 8003."""
    if status == 0:
        return
    if status == 8003:
        warnings.warn(QmathWarning(status, call, lib), stacklevel=_caller_stacklevel())
        return
    raise QmathError(status, call, lib)
