#!/usr/bin/env bash
# The cost of a page of a 16 MiB note against the bare exchange of the same bytes by curl.
# Prints one table of ratios.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
bin=${here%/*}/build/bench
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

python3 "$here/big_note.py" >"$work/note.reply"
"$bin/bench_bridge" "$work/mcp-1.sock" "$work/note.reply" &
until [[ -S $work/mcp-1.sock ]]; do sleep 0.02; done
export QUORVEL_SESSION_ID=PANE-1 QUORVEL_MCP_SOCKET=$work/mcp-1.sock QUORVEL_COLLAB_SOCKET=$work/none

# The lowest times are compared: the processes on both ends of the socket share the cores
# with whatever else runs, and only that makes an exchange slower.
curl="curl -s --unix-socket $work/mcp-1.sock http://bridge/"
printf '%-44s %10s   %s\n' measured ratio wanted
for flags in '--offset 100000 --limit 20' '--offset 1 --limit 2000' '--offset 200000 --limit 2000'; do
  hyperfine --shell=none --warmup 5 --runs 100 --export-json "$work/times.json" \
    "$bin/qv note read big $flags" "$curl" >/dev/null 2>&1
  ratio=$(jq '[.results[].min] as [$a, $b] | $a / $b * 100 | round / 100' "$work/times.json")
  printf '%-44s %10s   %s\n' "qv note read $flags : curl" "$ratio" 'at most 1.5'
done
