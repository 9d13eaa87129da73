#!/usr/bin/env bash
# Every C++ file of the project must be formatted with the project's .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
bad=0
while IFS= read -r -d '' f; do
  if ! clang-format --dry-run -Werror "$f" >/dev/null 2>&1; then
    echo "not formatted: $f"
    bad=1
  fi
done < <(git ls-files -z '*.h' '*.cpp')
exit $bad
