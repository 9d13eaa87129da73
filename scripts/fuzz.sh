#!/usr/bin/env bash
# Builds the libFuzzer targets (clang++, AddressSanitizer + UndefinedBehaviorSanitizer)
# through the `fuzz` preset and runs each of them for a bounded time, seeded from
# fuzz/corpus/<target>/. Any crash, sanitizer report, hang (-timeout) or runaway
# memory (-rss_limit_mb) fails the run; the input that caused it is kept under
# build/fuzz/artifacts/.
#
#   scripts/fuzz.sh                 every target, FUZZ_SECONDS (default 30) each
#   scripts/fuzz.sh fuzz_vectors    just the named targets
#   FUZZ_SECONDS=600 scripts/fuzz.sh
#
# Reproduce a failure with: build/fuzz/fuzz/<target> <artifact>
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-30}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for source in fuzz/fuzz_*.cpp; do
    targets+=("$(basename "$source" .cpp)")
  done
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

work=build/fuzz/run
artifacts=build/fuzz/artifacts
mkdir -p "$artifacts"
failed=()
for target in "${targets[@]}"; do
  # The fuzzer grows a working copy of the corpus; the checked-in seeds stay small.
  corpus="$work/$target"
  mkdir -p "$corpus"
  if [ -d "fuzz/corpus/$target" ]; then
    cp -n fuzz/corpus/"$target"/* "$corpus"/ 2>/dev/null || true
  fi
  # A hang is work without end; the library's own work caps bound its slowest
  # calls to about 1.5 s in a release build, which the sanitizers stretch to some
  # 15 s. The timeout sits well above that.
  echo "== $target: ${seconds}s"
  if ! "build/fuzz/fuzz/$target" "$corpus" \
      -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2048 -max_len=4096 \
      -print_final_stats=1 -artifact_prefix="$artifacts/$target-" \
      >"$work/$target.log" 2>&1; then
    echo "!! $target failed; the end of its log:"
    tail -n 60 "$work/$target.log"
    failed+=("$target")
  else
    grep -E '^stat::number_of_executed_units|^Done' "$work/$target.log" || true
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzing failed: ${failed[*]} (inputs under $artifacts)"
  exit 1
fi
echo "fuzzing passed: ${targets[*]}"
