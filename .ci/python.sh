#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# CI: the Python package's tests against the freshly built library, then `pip install ./python`
# into a throw-away virtual environment, offline, with an import and one call from outside the
# source tree. Runs after the README's test command, which builds build/default/libqmath.so.
# Costs about 20 seconds (plus the apt-get install on a fresh machine).
set -euo pipefail
cd "$(dirname "$0")/.."
py=/usr/bin/python3  # Debian's interpreter, which python3-numpy and python3-pytest serve
lib="$PWD/build/default/libqmath.so"

need=()
[ -x "$py" ] || need+=(python3)
[ -x "$py" ] && "$py" -c 'import numpy' 2>/dev/null || need+=(python3-numpy)
[ -x "$py" ] && "$py" -c 'import pytest' 2>/dev/null || need+=(python3-pytest)
[ -x "$py" ] && "$py" -c 'import setuptools, wheel' 2>/dev/null || need+=(python3-setuptools python3-wheel)
[ -x "$py" ] && "$py" -m pip --version >/dev/null 2>&1 || need+=(python3-pip)
[ -x "$py" ] && "$py" -c 'import ensurepip, venv' 2>/dev/null || need+=(python3-venv)
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${need[@]}"
fi
[ -f "$lib" ] || { echo "python.sh: $lib is missing; run the README's test command first" >&2; exit 1; }

echo "== Python package: tests against $lib =="
log=$(mktemp)
venv=$(mktemp -d)
trap 'rm -rf "$log" "$venv"' EXIT
# pytest exits non-zero on a failure and with 5 when it collected nothing; the summary is checked too.
QMATH_LIBRARY="$lib" "$py" -m pytest -q -p no:cacheprovider python/tests | tee "$log"
grep -Eq '^[0-9]+ passed' <(tail -n 1 "$log" | sed 's/^=* *//') || { echo "python.sh: no test passed" >&2; exit 1; }

echo "== Python package: pip install ./python into a virtual environment, offline =="
"$py" -m venv --system-site-packages "$venv"
QMATH_LIBRARY="$lib" "$venv/bin/python" -m pip install -q --no-build-isolation --no-index ./python
cd "$venv"  # away from the source tree, without QMATH_LIBRARY: the installed package and its library
env -u QMATH_LIBRARY "$venv/bin/python" - <<'PY'
import os, sys
import numpy as np
import qmath
assert qmath.__file__.startswith(sys.prefix), qmath.__file__
assert os.path.dirname(qmath.library_path()) == os.path.dirname(qmath.__file__), qmath.library_path()
got = qmath.convert(np.array([300.7, -1.5]), np.uint16)
assert got.tolist() == [300, 65535], got
print(f"installed qmath {qmath.__version__} with {os.path.basename(qmath.library_path())}: convert gives {got.tolist()}")
PY
