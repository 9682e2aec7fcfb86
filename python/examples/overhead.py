#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What one Python call costs beside the library's own time, on a 2048 x 2048 frame.

    python3 overhead.py [--size 2048] [--repeat 60]

Each pair is timed interleaved in the same run, in alternating order (medians): the package's call, and the bare
MathProcessData on an instance set up beforehand (one ctypes call, the closest to the library's
own time that Python can see). A numpy copy of the same bytes is the memory baseline.
"""

import argparse
import ctypes
import statistics
import time

import numpy as np

import qmath


def median_pair(a, b, repeat):
    ta, tb = [], []
    for i in range(repeat):
        # the first call of a pair runs slower (the timing loop's own traffic): alternate the order
        for fn, times in ((a, ta), (b, tb))[:: 1 if i % 2 else -1]:
            start = time.perf_counter()
            fn()
            times.append(time.perf_counter() - start)
    # the median of the paired differences is less shaken by the machine's other load than
    # the difference of the medians
    return statistics.median(ta), statistics.median(tb), statistics.median(x - y for x, y in zip(ta, tb))


def bare_scalar(lib, code, src, dst):
    """An instance set up for one scalar operation: the returned callable is the library call alone."""
    inst = qmath._ops.Instance(lib)
    s, d = qmath.describe(src, "x"), qmath.describe(dst, "out", writable=True)
    lib.MathSetProcess(inst.handle, code, 1)
    lib.MathSetData(inst.handle, 0, ctypes.byref(s))
    inst.keep = (s, d, src, dst)
    return inst, lambda: lib.MathProcessData(inst.handle, ctypes.byref(d))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--size", type=int, default=2048)
    parser.add_argument("--repeat", type=int, default=60)
    args = parser.parse_args()
    lib = qmath.library()
    rng = np.random.default_rng(3)
    shape = (args.size, args.size)
    frame = rng.integers(0, 4096, shape).astype(np.uint16)
    dark = rng.integers(0, 100, shape).astype(np.uint16)
    out32 = np.empty(shape, np.float32)
    outu32 = np.empty(shape, np.uint32)
    copy_dst = np.empty_like(out32)

    print(f"{args.size} x {args.size} frame, medians of {args.repeat} interleaved calls, library {qmath.library_path()}")
    rows = []
    inst, bare = bare_scalar(lib, 509, frame, out32)
    rows.append(("convert uint16 -> float32", *median_pair(lambda: qmath.convert(frame, out=out32), bare, args.repeat)))

    online = qmath.Online(dark=dark)
    online.process(frame, outu32)
    h = online._inst.handle
    d = qmath.describe(outu32, "out", writable=True)
    rows.append(("Online.process dark, uint16 -> uint32",
                 *median_pair(lambda: online.process(frame, outu32),
                              lambda: lib.MathProcessData(h, ctypes.byref(d)), args.repeat)))

    rows.append(("the library against itself (noise floor)", *median_pair(bare, bare, args.repeat)))

    tiny_in, tiny_out = np.ones(1, np.uint16), np.empty(1, np.float32)
    tiny, tiny_bare = bare_scalar(lib, 509, tiny_in, tiny_out)
    rows.append(("convert of 1 element (the cost of a call)",
                 *median_pair(lambda: qmath.convert(tiny_in, out=tiny_out), tiny_bare, args.repeat * 20)))
    memcpy = median_pair(lambda: np.copyto(copy_dst, out32), lambda: None, args.repeat)[0]

    print(f"{'call':42} {'Python':>10} {'library':>10} {'overhead (paired)':>18}")
    for name, py, bare_t, diff in rows:
        print(f"{name:42} {py * 1e6:8.1f} us {bare_t * 1e6:8.1f} us {diff * 1e6:8.1f} us"
              f"  ({100 * diff / bare_t:.2f} %)")
    print(f"{'numpy copy of 16 MB (memory baseline)':42} {memcpy * 1e6:8.1f} us")
    online.close()
    inst.close()
    tiny.close()


if __name__ == "__main__":
    main()
