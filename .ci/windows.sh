#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Windows: cross-builds qmath.dll and its test host for x86_64 and i686 with mingw-w64, checks the
# i686 export table (plain names, every function cleaning its own arguments off the stack) and
# runs the x86_64 host under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

need=()
command -v x86_64-w64-mingw32-g++ >/dev/null || need+=(g++-mingw-w64-x86-64 gcc-mingw-w64-x86-64)
command -v i686-w64-mingw32-g++ >/dev/null || need+=(g++-mingw-w64-i686 gcc-mingw-w64-i686)
command -v wine64 >/dev/null || [ -x /usr/lib/wine/wine64 ] || need+=(wine64)
command -v ninja >/dev/null || need+=(ninja-build)
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${need[@]}"
fi
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

for preset in windows-x64 windows-x86; do
  echo "== $preset: qmath.dll and the test host =="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j2 | tail -n 1
done

echo "== i686 export table =="
dll=build/windows-x86/qmath.dll
objdump=i686-w64-mingw32-objdump
# Argument bytes each export removes from the stack on return (ret N): the callee-cleans rule.
declare -A args=(
  [GetDeviceCount]=4 [GetDeviceID]=16 [MathVerOfDLL]=20 [MathCreate]=12 [MathDelete]=4 [MathReset]=4
  [MathSetProcess]=12 [MathSetConstant]=16 [MathSetData]=12 [MathProcessData]=8 [MathBayerSimple]=12
  [MathBayerInterpolate]=28 [QmStatusText]=4
  [_Z22MathBayerInterpolateU8P13QmdDataStructS0_tdddiiist]=56
  [_Z23MathBayerInterpolateU16P13QmdDataStructS0_tdddiiist]=56
  [_Z23MathBayerInterpolateI16P13QmdDataStructS0_tdddiiist]=56
  [_Z23MathBayerInterpolateU32P13QmdDataStructS0_tdddiiist]=56
  [_Z23MathBayerInterpolateI32P13QmdDataStructS0_tdddiiist]=56)

# "[Ordinal/Name Pointer] Table" lines are "[ n] name"; the export address table's are
# "[ n] +base[ m] rva Export RVA": the same n joins a name to its address.
table=$($objdump -p "$dll")
base=$(awk '/^ImageBase/ {print $2}' <<<"$table")
mapfile -t names < <(sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$table" |
  sed -n 's/^\t\[ *\([0-9]*\)\] \(.*\)$/\1 \2/p')
declare -A rva_of=()
while read -r n rva; do rva_of[$n]=$rva; done < <(sed -n '/Export Address Table -- Ordinal Base/,/^$/p' <<<"$table" |
  sed -n 's/^\t\[ *\([0-9]*\)\] +base\[ *[0-9]*\] \([0-9a-f]*\) Export RVA$/\1 \2/p')
fail=0
[ ${#names[@]} -eq ${#args[@]} ] || { echo "expected ${#args[@]} exports, found ${#names[@]}"; fail=1; }
printf '  %-58s %-10s %s\n' name rva "returns with"
for entry in "${names[@]}"; do
  name=${entry#* } rva=${rva_of[${entry%% *}]:-0}
  start=$(printf '0x%x' $((0x$base + 0x$rva)))
  # The function's own returns: ret with the argument bytes (or a jump to a routine that has them).
  rets=$($objdump -d --no-show-raw-insn --start-address="$start" --stop-address=$(printf '0x%x' $((start + 4096))) "$dll" |
    awk '/\tret/ && !found {print $2 " " $3; found = 1}')
  want=${args[$name]:-}
  expect=$(printf 'ret $0x%x' "${want:-0}")
  if [ -z "$want" ] || [[ $name == *@* ]] || [ "$rets" != "$expect" ]; then fail=1; mark="FAIL"; else mark=""; fi
  printf '  %-58s %-10s %-12s %s\n' "$name" "$rva" "$rets" "$mark"
done
[ $fail -eq 0 ] || { echo "i686 export table check failed"; exit 1; }

echo "== x86_64 host under Wine =="
export WINEPREFIX=$(mktemp -d) WINEDEBUG=-all
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
wineserver=$(command -v wineserver || echo /usr/lib/wine/wineserver64)
trap '"$wineserver" -k >/dev/null 2>&1 || true; rm -rf "$WINEPREFIX"' EXIT
"$wine" wineboot --init >/dev/null 2>&1 || true  # a fresh prefix; its set-up chatter is not ours
(cd build/windows-x64 && "$wine" qmath_windows_host.exe qmath.dll)
echo "== dependencies of the DLLs (system DLLs only) =="
for d in build/windows-x64/qmath.dll build/windows-x86/qmath.dll; do
  echo "  $d: $(x86_64-w64-mingw32-objdump -p "$d" | awk '/DLL Name/ {print $3}' | sort -u | tr '\n' ' ')"
done
