#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The public header alone, as every C and C++ dialect a host may use, with gcc and clang, warnings
# as errors. Prints the matrix; fails on the first dialect that does not compile.
set -euo pipefail
cd "$(dirname "$0")/.."

need=()
command -v gcc >/dev/null || need+=(gcc)
command -v g++ >/dev/null || need+=(g++)
command -v clang >/dev/null || need+=(clang)
if [ ${#need[@]} -gt 0 ]; then
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
fi

echo "== the public header alone in every C and C++ dialect, gcc and clang =="
flags=(-Wall -Wextra -pedantic -Werror -fsyntax-only -Iinclude)
fail=0
printf '%-8s' ""; for s in c89 c99 c11 c++98 c++11 c++17 c++20; do printf '%-7s' "$s"; done; echo
for cc in gcc clang; do
  printf '%-8s' "$cc"
  for std in c89 c99 c11 c++98 c++11 c++17 c++20; do
    case $std in
      c++*) lang=c++; [ "$cc" = gcc ] && comp=g++ || comp=clang++ ;;
      *) lang=c; comp=$cc ;;
    esac
    if printf '#include "qmath/qmath.h"\n' | "$comp" -x "$lang" -std="$std" "${flags[@]}" - 2>/tmp/qmath_header_$$.log; then
      printf '%-7s' ok
    else
      printf '%-7s' FAIL; fail=1; cat /tmp/qmath_header_$$.log >&2
    fi
  done
  echo
done
rm -f /tmp/qmath_header_$$.log
exit $fail
