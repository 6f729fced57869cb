#!/usr/bin/env bash
# Simulates coordinated builds in made-up worlds for so many seconds, on every core, each
# from other seeds; the first world in which a promise is not kept is told, and ends it all.
#
#   scripts/simulate.sh SECONDS
set -euo pipefail

seconds=${1:?how many seconds?}
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh
cmake -S . -B build/simulate -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/simulate --target simulation

seed=$(date +%s)
processes=()
for ((i = 0; i < $(getconf _NPROCESSORS_ONLN); i++)); do
  build/simulate/simulation "$seconds" "$((seed * 1000000000 + i * 100000000))" &
  processes+=($!)
done
failed=0
for process in "${processes[@]}"; do wait "$process" || failed=1; done
exit "$failed"
