#!/usr/bin/env bash
# Looks at the program with clang-tidy, for what .clang-tidy chooses; anything found fails.
#
#   scripts/tidy.sh             src and sandbox, about a quarter of an hour on two cores
#   scripts/tidy.sh PATTERN...  the files whose path matches one of the patterns
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# look_at FILE: says what was found there, and nothing about a file that is clean.
look_at() {
  local found
  found=$(clang-tidy --quiet -p build/tidy "$1" 2>&1) && return
  echo "$found" | grep -Ev '^[0-9]+ warnings? (generated|treated as error)'
  return 1
}

scripts/setup.sh --tidy
# It cannot read what another compiler has made of headers.
cmake --preset dev -B build/tidy -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
[[ $# -gt 0 ]] || set -- "$PWD/src/" "$PWD/sandbox/"
files=$(sed -n 's/^ *"file": "\(.*\)".*/\1/p' build/tidy/compile_commands.json |
  grep -E "$(IFS='|' && echo "$*")") || {
  echo "tidy: no file matches." >&2
  exit 1
}
export -f look_at
echo "$files" | xargs -P "$(getconf _NPROCESSORS_ONLN)" -I {} bash -c 'look_at "$1"' look_at {}
echo "tidy: nothing found."
