#!/usr/bin/env bash
# Measures the program as this machine builds it, or the one that is given, against its peers,
# prints every table, and writes the figures down in docs/performance.md: bench/run.sh [QV].
# Takes a quarter to half an hour on two cores, in which nothing else should run.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/setup.sh --bench
cmake --preset bench >/dev/null
cmake --build --preset bench
sync  # what was compiled is not to be written while something is measured
export QV BENCH_ROWS=$PWD/build/bench/rows.tsv
QV=$(realpath "${1:-build/bench/qv}")
: >"$BENCH_ROWS"
for table in board note_read build wait crowd; do
  echo
  echo "== $table"
  bash "bench/$table.sh"
done
python3 bench/page.py "$QV" <"$BENCH_ROWS"
