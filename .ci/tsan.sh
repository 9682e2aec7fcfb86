#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# CI: the thread-sanitizer run (clang): instances driven through every family from several threads
# at once, and instances created and deleted concurrently. Builds the library and that one test.
set -euo pipefail
cd "$(dirname "$0")/.."

need=()
command -v clang++ >/dev/null || need+=(clang)
ls /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.tsan-x86_64.a >/dev/null 2>&1 || need+=(libclang-rt-14-dev)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev)
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
fi

echo "== thread sanitizer =="
cmake --workflow --preset tsan
