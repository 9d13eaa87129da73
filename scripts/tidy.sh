#!/usr/bin/env bash
# clang-tidy over the library's sources with the checks of .clang-tidy (which
# says why each family is on). Any finding fails.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake -S . -B build/tidy -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_COMPILER=clang++ \
  -DPLENAR_BUILD_TESTS=OFF -DPLENAR_BUILD_EXAMPLES=OFF -DPLENAR_BUILD_DOCS=OFF >/dev/null
run-clang-tidy -quiet -p build/tidy "$PWD/geometry/.*\.cpp" >build/tidy/report.txt 2>&1 || {
  grep -E "(warning|error):" build/tidy/report.txt | sort -u
  echo "clang-tidy: findings in geometry/"
  exit 1
}
echo "clang-tidy: geometry/ is clean"
