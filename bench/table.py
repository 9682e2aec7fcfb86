#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the benchmark suite and prints one table: each path at each frame side, its bytes per
second, the memcpy of the same side in the same run, and their ratio (medians of repetitions).

    python3 bench/table.py [path/to/qmath_bench] [--filter REGEX] [--repetitions N]
"""
import argparse
import json
import subprocess
import sys


def measure(binary, pattern=".", repetitions=3, min_time="0.1"):
    """Runs the benchmarks matching `pattern` beside the memcpy baseline. Returns the run's context
    and {(path, side): (bytes per second, memcpy bytes per second of that side)}, medians."""
    command = [binary, f"--benchmark_filter=BM_Memcpy|{pattern}", f"--benchmark_repetitions={repetitions}",
               "--benchmark_report_aggregates_only=true", f"--benchmark_min_time={min_time}",
               "--benchmark_format=json"]
    results = json.loads(subprocess.run(command, capture_output=True, text=True, check=True).stdout)
    medians = {b["run_name"]: b["bytes_per_second"] for b in results["benchmarks"]
               if b.get("aggregate_name") == "median" and "bytes_per_second" in b}
    memcpy = {name.rsplit("/", 1)[1]: value for name, value in medians.items() if name.startswith("BM_Memcpy/")}
    rows = {}
    for name, value in medians.items():
        parts = name.split("/")
        side = next((p for p in parts[1:] if p in memcpy), None)
        if side is None or name.startswith("BM_Memcpy/"):
            continue
        rows[("/".join(p for p in parts if p != side).removeprefix("BM_"), side)] = (value, memcpy[side])
    return results["context"], rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("binary", nargs="?", default="build/bench/bench/qmath_bench")
    parser.add_argument("--filter", default=".", help="benchmarks to run (the memcpy baseline always runs)")
    parser.add_argument("--repetitions", type=int, default=3)
    parser.add_argument("--min-time", default="0.1")
    args = parser.parse_args()
    context, rows = measure(args.binary, args.filter, args.repetitions, args.min_time)
    print(f"{context.get('host_name', '')}: {context.get('num_cpus')} CPUs at {context.get('mhz_per_cpu')} MHz, "
          f"medians of {args.repetitions} repetitions")
    print()
    print("| path | side | GB/s | memcpy GB/s | ratio |")
    print("| --- | ---: | ---: | ---: | ---: |")
    for (path, side), (value, base) in rows.items():
        print(f"| {path} | {side} | {value / 1e9:.1f} | {base / 1e9:.1f} | {value / base:.2f} |")
    return 0


if __name__ == "__main__":
    sys.exit(main())
