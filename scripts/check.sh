#!/usr/bin/env bash
# The whole check, as CI runs it: configure, build (warnings are errors) and run
# every test in the release preset, then again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --workflow --preset release
cmake --workflow --preset sanitize
