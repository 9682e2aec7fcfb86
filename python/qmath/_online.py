# SPDX-License-Identifier: MIT
"""Online frame processing: one instance that corrects and sums a stream of camera frames."""

import ctypes

import numpy as np

from . import _arrays
from ._library import check
from ._ops import Instance

_OPTION_CODES = {
    "dark_subtract": 9001, "flat_field": 9002, "accumulate": 9003, "transpose": 9004,
    "flip_vertical": 9005, "mirror_horizontal": 9006, "log10": 9007, "threshold": 9008, "clip": 9009,
}
_FLAT_CODES = {None: 9001, "none": 9001, "mean": 9005, "max": 9006}
_REFERENCE_CODES = {"dark": 9000, "gain": 9003}
_NEEDS = (("dark_subtract", "dark"), ("flat_field", "flat"), ("log10", "gain"))
_SOURCE_DTYPES = tuple(np.dtype(d) for d in (np.uint8, np.uint16, np.int16, np.uint32, np.int32))
_ORIENTATION = ("transpose", "flip_vertical", "mirror_horizontal")
_KEEP = object()


def _pixels(arr):
    return arr.shape[:2] if _arrays.is_colour(arr) else arr.shape


class Online:
    """One online instance: per frame, dark subtraction, flat field, then log10, threshold or
    clip, written into an output or summed over a cycle of frames.

    Keyword options (all optional, the same as configure() takes):

    - frames: frames per cycle (default 1). With accumulate=True, frame 1 of a cycle overwrites
      `out` and frames 2 to N add into it in out's own dtype (integers wrap: sum into uint32 or
      float64); after frame N (`cycle_complete` is True) `out` holds the sum of the N corrected
      frames, and the next frame starts a new sum. No averaging is done.
    - dark: a dark frame (any supported dtype, kept as int32), subtracted from every frame.
    - flat, flat_norm: a flat-field frame; each frame is multiplied by 1/flat ("none", the
      default), mean(flat)/flat ("mean") or max(flat)/flat ("max"); a zero flat pixel gives 0.
    - gain: a gain frame (kept as float32), used by log10.
    - log10: the result is log10(value * gain) (a value of 0 gives 0 in integer outputs).
    - threshold=A: the result is 1 where the value is greater than A, else 0.
    - clip=(A, B): the value clamped to [A, B] (B is tested first).
    - flip_vertical, mirror_horizontal, transpose: orientation steps. They REWRITE THE FRAME
      IN PLACE before the arithmetic, at every call (refill the frame between calls). A
      transposed frame that is not square keeps its shape: its buffer then holds W rows of H.
    - dark_subtract, flat_field: switch the use of an attached dark or flat frame off or on
      (attaching one switches it on).

    Frames are uint8, uint16, int16 (read as uint16), uint32, int32 (read as uint32 except after
    dark subtraction) or colour (H, W, 3) uint8, read as trunc((b + g + r + 0.5) / 3). A colour
    `out` makes process() a plain copy of a colour frame, whatever the options. References
    are copied into the instance when attached; the frame being processed is kept alive here.

    Use it as a context manager, or call close(), to give the instance back.
    """

    def __init__(self, **options):
        self._inst = Instance()
        self._lib = self._inst.lib
        self._on = dict.fromkeys(_OPTION_CODES, False)
        self._threshold = None
        self._clip = None
        self._frames = 1
        self._counter = 0
        self._shapes = {}
        self._source = None
        self.frame_number = 0
        self.cycle_complete = False
        check(self._lib.MathSetProcess(self._inst.handle, 9000, 1), "MathSetProcess", self._lib)
        self.configure(**options)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def close(self):
        """Delete the instance (its reference frames with it)."""
        self._inst.close()
        self._source = None

    def _handle(self):
        if self._inst.handle is None:
            raise ValueError("this Online instance is closed")
        return self._inst.handle

    @property
    def frames(self):
        return self._frames

    @property
    def options(self):
        """The options that are on, with the threshold and clip bounds."""
        on = {k: v for k, v in self._on.items() if v}
        if self._on["threshold"]:
            on["threshold"] = self._threshold
        if self._on["clip"]:
            on["clip"] = self._clip
        return on

    def configure(self, *, frames=None, dark=None, flat=None, flat_norm=None, gain=None,
                  accumulate=None, dark_subtract=None, flat_field=None, log10=None,
                  threshold=_KEEP, clip=_KEEP, flip_vertical=None, mirror_horizontal=None,
                  transpose=None):
        """Change the given options; the others stay as they are. See the class for their meaning."""
        h = self._handle()
        lib = self._lib
        want = dict(self._on)
        for name, value in (("accumulate", accumulate), ("dark_subtract", dark_subtract),
                            ("flat_field", flat_field), ("log10", log10), ("flip_vertical", flip_vertical),
                            ("mirror_horizontal", mirror_horizontal), ("transpose", transpose)):
            if value is not None:
                want[name] = bool(value)
        a = b = None
        if threshold is not _KEEP:
            want["threshold"] = threshold is not None
            a = None if threshold is None else float(threshold)
        if clip is not _KEEP:
            want["clip"] = clip is not None
            if clip is not None:
                try:
                    a, b = (float(v) for v in clip)
                except (TypeError, ValueError):
                    raise TypeError(f"clip must be a pair (lo, hi) of numbers, not {clip!r}") from None
        if dark is not None and dark_subtract is None:
            want["dark_subtract"] = True
        if flat is not None and flat_field is None:
            want["flat_field"] = True
        if flat_norm not in _FLAT_CODES:
            raise ValueError(f"flat_norm must be 'none', 'mean' or 'max', not {flat_norm!r}")
        if flat is None and flat_norm is not None:
            raise ValueError("flat_norm is given without a flat frame")
        if want["log10"] and (want["threshold"] or want["clip"]):
            raise ValueError("log10 cannot be combined with threshold or clip")
        if want["threshold"] and want["clip"]:
            raise ValueError("threshold and clip cannot both be on (they share the constant A)")
        if frames is not None and not (isinstance(frames, (int, np.integer)) and 0 <= frames < 2**32):
            raise ValueError(f"frames must be an integer from 0 to 2**32 - 1, not {frames!r}")

        refs = [(role, arr) for role, arr in (("dark", dark), ("flat", flat), ("gain", gain)) if arr is not None]
        descs = [(role, arr, _arrays.describe(arr, role)) for role, arr in refs]  # all checked first
        for role, arr, desc in descs:
            code = _FLAT_CODES[flat_norm] if role == "flat" else _REFERENCE_CODES[role]
            check(lib.MathSetData(h, code, ctypes.byref(desc)), f"MathSetData({role})", lib)
            self._shapes[role] = arr.shape
        if a is not None:
            lib.MathSetConstant(h, 2, a)
            self._threshold, self._clip = (a, None) if b is None else (None, (a, b))
        if b is not None:
            lib.MathSetConstant(h, 3, b)
        if frames is not None:
            lib.MathSetConstant(h, 9002, float(frames))
            self._frames, self._counter = int(frames), 0
        for name, code in _OPTION_CODES.items():
            if want[name] != self._on[name]:
                check(lib.MathSetProcess(h, code, want[name]), "MathSetProcess", lib)
                self._on[name] = want[name]
                if name == "accumulate":
                    self._counter = 0

    def reset(self):
        """Restart the cycle: the next frame is frame 1 and overwrites the output."""
        self._lib.MathReset(self._handle())
        self._counter = 0

    def process(self, frame, out):
        """Process one frame into `out` (overwritten, or added to when accumulating); returns out.

        After the call, `frame_number` is the frame's place in the cycle (1 to frames) and
        `cycle_complete` tells whether it ended the cycle (out then holds the whole sum).
        """
        h = self._handle()
        lib = self._lib
        colour_out = isinstance(out, np.ndarray) and _arrays.is_colour(out)
        dst = _arrays.describe(out, "out", writable=True, colour=_arrays.COLOUR)
        if colour_out:
            if not (isinstance(frame, np.ndarray) and _arrays.is_colour(frame)):
                raise TypeError("a colour out (H, W, 3) uint8 takes a colour frame (a plain copy)")
            src = _arrays.describe(frame, "frame", colour=_arrays.COLOUR)
        else:
            orients = any(self._on[k] for k in _ORIENTATION)
            src = _arrays.describe(frame, "frame", writable=orients, colour=_arrays.COLOUR_SOURCE,
                                   dtypes=_SOURCE_DTYPES)
            for option, role in _NEEDS:
                if not self._on[option]:
                    continue
                if role not in self._shapes:
                    raise ValueError(f"{option} is on but no {role} frame is attached")
                if self._shapes[role] != _pixels(out):
                    raise ValueError(f"the {role} frame has shape {self._shapes[role]}, "
                                     f"but out has {_pixels(out)} pixels")
        if _pixels(frame) != _pixels(out):
            raise ValueError(f"frame has {_pixels(frame)} pixels, but out has {_pixels(out)}")
        key = (src.pData, src.nWidth, src.nHeight, src.eType)
        if self._source is None or self._source[0] is not frame or self._source[2] != key:
            check(lib.MathSetData(h, 9004, ctypes.byref(src)), "MathSetData(frame)", lib)
            self._source = (frame, src, key)  # the instance holds the descriptor's address
        self._counter = (self._counter + 1) & 0xFFFFFFFF
        self.frame_number = self._counter
        status = lib.MathProcessData(h, ctypes.byref(dst))
        self.cycle_complete = self._counter >= self._frames
        if self.cycle_complete:
            self._counter = 0
        check(status, "Online.process", lib)
        return out
