#!/usr/bin/env bash
# What a `qv wait` costs while nothing happens, and how soon it is woken: bench/wait.sh
# [SECONDS]. The command that makes the change is part of the time to wake.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bin=$here/../build/bench
printf '%-44s %10s   %s\n' measured value wanted
"$bin/qv-sandbox" -- python3 "$here/wait.py" "$bin/qv-sandbox" "${1:-60}" 2>/dev/null
