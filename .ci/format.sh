#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Every C and C++ file of the repository is formatted by .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v clang-format >/dev/null || { apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq clang-format; }
git ls-files -- '*.c' '*.cc' '*.cpp' '*.h' '*.hpp' | xargs clang-format --dry-run --Werror
echo "format: clean"
