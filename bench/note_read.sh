#!/usr/bin/env bash
# The cost of a page of a 16 MiB note against the bare exchange of the same bytes by curl.
# Prints one table of ratios.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bin=${here%/*}/build/bench
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

# serve KIND: a bridge at KIND/mcp-1.sock that always answers with a note of that kind.
serve() {
  mkdir "$work/$1"
  python3 "$here/big_note.py" "$1" >"$work/$1.reply"
  "$bin/bench_bridge" "$work/$1/mcp-1.sock" "$work/$1.reply" &
  until [[ -S $work/$1/mcp-1.sock ]]; do sleep 0.02; done
}

# compare KIND FLAGS WANTED. The lowest times are compared: the processes on both ends of the
# socket share the cores with whatever else runs, and only that makes an exchange slower.
compare() {
  export QUORVEL_MCP_SOCKET=$work/$1/mcp-1.sock
  hyperfine --shell=none --warmup 5 --runs 60 --export-json "$work/times.json" \
    "$bin/qv note read big $2" "curl -s --unix-socket $QUORVEL_MCP_SOCKET http://bridge/" \
    >/dev/null 2>&1
  local ratio
  ratio=$(jq '[.results[].min] as [$a, $b] | $a / $b * 100 | round / 100' "$work/times.json")
  printf '%-58s %10s   %s\n' "qv note read $2 : curl, $1" "$ratio" "$3"
}

export QUORVEL_SESSION_ID=PANE-1 QUORVEL_COLLAB_SOCKET=$work/none
printf '%-58s %10s   %s\n' measured ratio wanted
serve prose
compare prose '--offset 100000 --limit 20' 'at most 1.5'
compare prose '--offset 1 --limit 2000' 'at most 1.5'
compare prose '--offset 200000 --limit 2000' 'at most 1.5'
for kind in code french line; do
  serve "$kind"
  compare "$kind" '--offset 1 --limit 2000' ''
done
