#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares two builds of the benchmark suite: each path's ratio to the memcpy of its own run,
before and after, side by side (medians of repetitions; the two binaries take turns, so a load
that comes and goes touches both alike).

    python3 bench/compare.py OLD_BINARY NEW_BINARY [--filter REGEX] [--repetitions N] [--rounds N]
"""
import argparse
import statistics
import sys

from table import measure


def ratios(binary, pattern, repetitions, min_time):
    _, rows = measure(binary, pattern, repetitions, min_time)
    return {key: value / base for key, (value, base) in rows.items()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("old")
    parser.add_argument("new")
    parser.add_argument("--filter", default=".")
    parser.add_argument("--repetitions", type=int, default=3)
    parser.add_argument("--rounds", type=int, default=1, help="turns each binary takes (the median is kept)")
    parser.add_argument("--min-time", default="0.1")
    args = parser.parse_args()
    runs = {"old": [], "new": []}
    for _ in range(args.rounds):
        for which in ("old", "new"):
            runs[which].append(ratios(getattr(args, which), args.filter, args.repetitions, args.min_time))
    keys = [k for k in runs["new"][0] if k in runs["old"][0]]
    print(f"ratios to memcpy of the same run, medians of {args.repetitions} repetitions x {args.rounds} rounds")
    print()
    print("| path | side | before | after | after / before |")
    print("| --- | ---: | ---: | ---: | ---: |")
    for key in keys:
        old = statistics.median(r[key] for r in runs["old"])
        new = statistics.median(r[key] for r in runs["new"])
        print(f"| {key[0]} | {key[1]} | {old:.2f} | {new:.2f} | {new / old:.2f} |")
    return 0


if __name__ == "__main__":
    sys.exit(main())
