#!/usr/bin/env bash
# Builds the program of an earlier commit as build/earlier/qv, for the test that runs two
# versions over one ledger. Usage: scripts/earlier.sh [COMMIT]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
commit=${1:-3e3feb5}
source=build/earlier/source
rm -rf "$source"
mkdir -p "$source"
git archive "$commit" | tar -x -C "$source"
cmake -S "$source" -B build/earlier -DCMAKE_BUILD_TYPE=Debug -DQV_TESTS=OFF >/dev/null
cmake --build build/earlier --target qv
