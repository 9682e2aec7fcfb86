#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# CI: builds the fuzz target (clang, libFuzzer, address and undefined-behaviour sanitizers) and
# runs it for a fixed time (QMATH_FUZZ_SECONDS, default 300) from the seed corpus with a fixed
# seed. Any finding (crash, sanitizer report, leak, broken guard, undocumented status, a failed
# call that wrote) fails the step; libFuzzer leaves the input as crash-* in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."

need=()
command -v clang++ >/dev/null || need+=(clang)
ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1 || need+=(libclang-rt-14-dev)
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
fi

echo "== fuzz target: build =="
cmake --preset fuzz
cmake --build --preset fuzz

echo "== fuzz target: ${QMATH_FUZZ_SECONDS:-300} s from the seed corpus =="
# The committed seeds are unpacked and only read; new inputs go to a scratch corpus (the first
# directory).
seeds=build/fuzz/seeds
scratch=build/fuzz/corpus
findings=build/fuzz/findings
mkdir -p "$seeds" "$scratch" "$findings"
tar -xzf fuzz/seed_corpus.tar.gz -C "$seeds"
QMATH_FUZZ_REPORT=1 ./build/fuzz/fuzz/qmath_fuzz "$scratch" "$seeds" \
  -dict=fuzz/qmath.dict -seed=1 -max_total_time="${QMATH_FUZZ_SECONDS:-300}" -timeout=20 \
  -rss_limit_mb=2048 -max_len=1024 -len_control=0 -print_final_stats=1 -artifact_prefix="$findings/"
