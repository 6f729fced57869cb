#!/usr/bin/env bash
# Builds what is installed and what it is measured against, and prints every table.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/setup.sh --bench
cmake --preset bench >/dev/null
cmake --build --preset bench
for table in bench/*.sh; do
  [[ $table == bench/run.sh ]] || { echo; echo "== $table"; bash "$table"; }
done
