#!/usr/bin/env bash
# Builds the library and the determinism battery (tools/determinism) in four
# configurations and checks that their outputs are byte-identical:
#   g++ -O0, g++ -O2, g++ -O3 -march=native, clang++ -O2.
# Each build has its own directory under build/ and uses CMAKE_BUILD_TYPE=None,
# so the flags below are the only optimisation flags. The library's own
# -ffp-contract=off reaches the battery through the library target.
#
# A difference is a bug in the library (an evaluation order not kept, a
# contraction, a constant folded differently), never a tolerance to widen.
set -euo pipefail
cd "$(dirname "$0")/.."

configs=(
  "gcc-O0|g++|-O0"
  "gcc-O2|g++|-O2"
  "gcc-O3-native|g++|-O3 -march=native"
  "clang-O2|clang++|-O2"
)

outputs=()
for config in "${configs[@]}"; do
  IFS='|' read -r name compiler flags <<<"$config"
  dir="build/determinism-$name"
  echo "== $name: $compiler $flags"
  cmake -S . -B "$dir" -G Ninja \
    -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_CXX_FLAGS="$flags" \
    -DPLENAR_BUILD_TESTS=OFF \
    -DPLENAR_BUILD_EXAMPLES=OFF \
    -DPLENAR_BUILD_DETERMINISM=ON \
    -DPLENAR_WARNINGS_AS_ERRORS=ON >/dev/null
  cmake --build "$dir" --target plenar_battery
  # The battery's own inline uses of the headers must be built without
  # contraction too: check its compile line.
  if ! grep -A4 'plenar_battery.dir/battery.cpp.o:' "$dir/build.ninja" | grep FLAGS | grep -q -- '-ffp-contract=off'; then
    echo "!! $name: -ffp-contract=off does not reach the build" >&2
    exit 1
  fi
  "$dir/tools/determinism/plenar_battery" >"$dir/battery.txt"
  outputs+=("$dir/battery.txt")
done

reference=${outputs[0]}
lines=$(wc -l <"$reference")
if [ "$lines" -lt 1000 ]; then
  echo "!! the battery printed only $lines lines" >&2
  exit 1
fi
status=0
for output in "${outputs[@]:1}"; do
  if cmp -s "$reference" "$output"; then
    echo "identical: $output"
  else
    echo "!! $output differs from $reference; first differing lines:"
    diff "$reference" "$output" | head -n 20 || true
    status=1
  fi
done
if [ $status -eq 0 ]; then
  echo "determinism passed: $lines results identical in ${#outputs[@]} builds"
fi
exit $status
