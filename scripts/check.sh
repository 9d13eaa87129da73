#!/usr/bin/env bash
# The whole check, as CI runs it: configure, build (warnings are errors) and run
# every test in the release preset, then again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --workflow --preset release
cmake --workflow --preset sanitize

# The API reference and guide must render without a doxygen warning.
cmake --build --preset release --target docs

# The Debian package must install with apt-get and serve a client (needs root).
if [ "$(id -u)" = 0 ]; then
  ./scripts/check-deb.sh
fi
