#!/usr/bin/env bash
# Lets system calls and allocations fail, and kills the program in between; what comes of it
# is judged. Linux alone.
#
#   scripts/faults.sh          some of all that there is, for two minutes; the seed is said
#   scripts/faults.sh --all    everything, as far as it can be with the program that is shipped
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh --checks
cmake --preset dev
cmake --build --preset dev --target qv starve
if [[ ${1:-} != --all ]]; then
  exec tests/faults/sweep.py "$@"
fi

cmake --preset release
cmake --build --preset release --target qv
exec tests/faults/sweep.py --all --shipped
