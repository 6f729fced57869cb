#!/usr/bin/env bash
# Looks at the program with clang-tidy, for what .clang-tidy chooses; anything found fails.
#
#   scripts/tidy.sh             everything, about a quarter of an hour on two cores
#   scripts/tidy.sh PATTERN...  the files whose path matches one of the patterns
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh --tidy
cmake --preset dev >/dev/null
[[ $# -gt 0 ]] || set -- "$PWD/src/" "$PWD/sandbox/"
run-clang-tidy -quiet -p build/dev "$@" 2>/dev/null
echo "tidy: nothing found."
