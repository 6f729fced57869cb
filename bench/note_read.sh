#!/usr/bin/env bash
# The cost of a page of a 16 MiB note against the bare exchange of the same bytes by curl.
# Prints one table of ratios.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$here/row.sh"
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

# serve KIND: a bridge at KIND/mcp-1.sock that always answers with a note of that kind.
serve() {
  mkdir "$work/$1"
  python3 "$here/big_note.py" "$1" >"$work/$1.reply"
  "$bin/bench_bridge" "$work/$1/mcp-1.sock" "$work/$1.reply" &
  until [[ -S $work/$1/mcp-1.sock ]]; do sleep 0.02; done
}

# compare KIND FLAGS AT-MOST. The lowest times are compared: the processes on both ends of the
# socket share the cores with whatever else runs, and only that makes an exchange slower.
compare() {
  export QUORVEL_MCP_SOCKET=$work/$1/mcp-1.sock
  hyperfine --shell=none --warmup 5 --runs 60 --export-json "$work/times.json" \
    "$qv note read big $2" "curl -s --unix-socket $QUORVEL_MCP_SOCKET http://bridge/" \
    >/dev/null 2>&1
  local times
  read -r -a times < <(jq -r '[.results[].min] | @tsv' "$work/times.json")
  row "qv note read $2, 16 MiB, $1" 'curl --unix-socket' "$(calc "${times[0]} / ${times[1]}")" "$3"
}

export QUORVEL_SESSION_ID=PANE-1 QUORVEL_COLLAB_SOCKET=$work/none
heading
serve prose
compare prose '--offset 200000 --limit 20' 1.5
for kind in prose code french line; do
  [[ $kind == prose ]] || serve "$kind"
  compare "$kind" '--limit 2000' 2.5
done
