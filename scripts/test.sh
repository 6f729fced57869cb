#!/usr/bin/env bash
# Builds everything the way a developer does, warnings as errors, and runs every test.
#
#   scripts/test.sh           the dev preset
#   scripts/test.sh asan      another preset of CMakePresets.json
set -euo pipefail

preset=${1:-dev}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset" --parallel "$(getconf _NPROCESSORS_ONLN)"
