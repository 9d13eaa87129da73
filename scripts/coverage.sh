#!/usr/bin/env bash
# Line and branch coverage of the library (geometry/) by the whole test suite,
# with clang's source-based coverage. Prints the per-file report and fails when
# the totals fall below the floors: trimming a test must not lower them.
set -euo pipefail
cd "$(dirname "$0")/.."

LINE_FLOOR="${LINE_FLOOR:-95}"
BRANCH_FLOOR="${BRANCH_FLOOR:-93}"

rm -rf build/coverage/profiles
cmake --workflow --preset coverage

profdata=build/coverage/plenar.profdata
llvm-profdata merge -sparse build/coverage/profiles/*.profraw -o "$profdata"
# The library and every test program: inline members of the headers are compiled
# into the programs that use them, so they count there.
library=$(find build/coverage -maxdepth 1 -name 'libPlenar.so.*.*.*' | head -n 1)
objects=()
for program in build/coverage/tests/*_test build/coverage/fuzz/fuzz_*; do
  [ -x "$program" ] && objects+=(-object "$program")
done
filter=(-ignore-filename-regex '^(.*/)?(tests|fuzz|examples|tools|bench|usr)/')

llvm-cov report "$library" "${objects[@]}" -instr-profile="$profdata" "${filter[@]}" -show-branch-summary | tee build/coverage/report.txt

# The TOTAL row: regions (3 columns), functions (3), lines (3), branches (3).
read -r line_cover branch_cover < <(awk '/^TOTAL/ { gsub("%", ""); print $10, $13 }' build/coverage/report.txt)
echo "geometry/ coverage: lines ${line_cover}% (floor ${LINE_FLOOR}%), branches ${branch_cover}% (floor ${BRANCH_FLOOR}%)"
awk -v l="$line_cover" -v b="$branch_cover" -v lf="$LINE_FLOOR" -v bf="$BRANCH_FLOOR" \
  'BEGIN { if (l + 0 < lf + 0 || b + 0 < bf + 0) { print "coverage below the floor"; exit 1 } }'
