#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs qmath into a temporary prefix and uses it as outside projects do: a CMake project
# through find_package(qmath 3), a C++ program through pkg-config, and the examples built on
# their own against the installed package. Reuses build/default when the tests built it.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
command -v pkg-config >/dev/null || need+=(pkg-config)
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
fi
launch=()
command -v ccache >/dev/null && launch=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

build=${QMATH_BUILD_DIR:-build/default}  # any configured tree of the top-level project
if [ ! -f "$build/CMakeCache.txt" ]; then
  build=build/install
  cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQMATH_BUILD_TESTS=OFF -DQMATH_BUILD_EXAMPLES=OFF \
    "${launch[@]}" >/dev/null
fi
cmake --build "$build" --target qmath -j2 >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
echo "== install into a temporary prefix =="
cmake --install "$build" --prefix "$prefix" >/dev/null
(cd "$prefix" && find . -type f -printf '  %P\n' -o -type l -printf '  %P -> %l\n' | sort)

echo "== consumer through find_package(qmath 3) =="
cmake -S tests/consumers/cmake -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "${launch[@]}" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/cmake_consumer"

echo "== consumer through pkg-config =="
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
echo "  pkg-config --modversion qmath: $(pkg-config --modversion qmath); --libs: $(pkg-config --libs qmath)"
c++ -std=c++11 -Wall -Wextra -pedantic -Werror tests/consumers/pkgconfig/main.cpp $(pkg-config --cflags --libs qmath) \
  -Wl,-rpath,"$(pkg-config --variable=libdir qmath)" -o "$work/pkgconfig_consumer"
"$work/pkgconfig_consumer"

echo "== qmath as a sub-project (add_subdirectory), GoogleTest and Google Benchmark hidden: configure only =="
cmake -S tests/consumers/subdirectory -B "$work/subdirectory" -G Ninja -DQMATH_SOURCE_DIR="$root" \
  -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON --no-warn-unused-cli >/dev/null
echo "  configured: qmath::qmath present, no tests, benchmarks or examples"

echo "== examples against the installed package =="
cmake -S examples -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "${launch[@]}" >/dev/null
cmake --build "$work/examples" >/dev/null
for job in convert arithmetic online bayer; do
  "$work/examples/qmath_example_$job" >"$work/$job.out" || { cat "$work/$job.out"; echo "example $job failed"; exit 1; }
  echo "  qmath_example_$job: ok"
done
"$work/examples/qmath_identity" | sed 's/^/  /'
cd "$root"
