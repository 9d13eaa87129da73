#!/usr/bin/env bash
# The whole check, as CI runs it: configure, build (warnings are errors) and run
# every test in the release preset, then again under AddressSanitizer and
# UndefinedBehaviorSanitizer, then with clang++; then the determinism battery
# across compilers and optimisation levels, and a bounded fuzzing run.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/check-format.sh
./scripts/tidy.sh

cmake --workflow --preset release
cmake --workflow --preset sanitize
cmake --workflow --preset clang

# Line and branch coverage of geometry/ by the tests, with floors.
./scripts/coverage.sh

# Mutation testing: a sample of mutants of the audited files, drawn anew for each
# commit; each must be killed by a test or explained in tests/equivalent-mutants.txt.
python3 tools/mutate --audited --sample "${MUTANT_SAMPLE:-6}" --seed "$(git rev-parse HEAD 2>/dev/null || echo unversioned)"

# Bit-identical results from g++ -O0/-O2/-O3 -march=native and clang++ -O2.
./scripts/determinism.sh

# No crash, sanitizer report or hang on any input: every fuzz target for a
# bounded time (about 30 s each).
FUZZ_SECONDS="${FUZZ_SECONDS:-30}" ./scripts/fuzz.sh

# The API reference and guide must render without a doxygen warning.
cmake --build --preset release --target docs

# The Debian package must install with apt-get and serve a client (needs root).
if [ "$(id -u)" = 0 ]; then
  ./scripts/check-deb.sh
fi
