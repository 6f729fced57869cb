#!/usr/bin/env bash
# What a `qv wait` costs while nothing happens, and how soon it is woken: bench/wait.sh
# [SECONDS]. The command that makes the change is part of the time to wake.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$here/row.sh"
heading
"$bin/qv-sandbox" -- python3 "$here/wait.py" "$qv" "$bin/qv-sandbox" "${1:-60}" 2>/dev/null
