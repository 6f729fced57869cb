#!/usr/bin/env bash
# The cost of a board command against its peers, every pair measured side by side in one
# run. Needs what `scripts/setup.sh --bench` installs. Prints one table of ratios.
set -euo pipefail

bin=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/bench
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

main() {
  serve small '{"kind":"written","message":"Claimed T-1.","threadTag":"T-abc123"}'
  python3 "$(dirname "${BASH_SOURCE[0]}")/backlog.py" >"$work/backlog.json"
  serve backlog "$(cat "$work/backlog.json")"
  export QUORVEL_SESSION_ID=PANE-1 QUORVEL_COLLAB_TOKEN=t QUORVEL_MCP_SOCKET=$work/none
  local request='{"protocolVersion":1,"token":"t","sessionID":"PANE-1","method":"claim_task","taskID":"T-1"}'

  printf '%-58s %10s   %s\n' measured ratio wanted
  compare 1000 "$bin/qv --version" "$bin/bench_empty" 'at most 1.35, 1.1 aimed for'
  export QUORVEL_COLLAB_SOCKET=$work/small.sock
  compare 500 "$bin/qv task claim T-1" "$bin/bench_client $work/small.sock '$request'" 'at most 1.5'
  compare 200 "$bin/qv task claim T-1" \
    "curl -s --unix-socket $work/small.sock http://bridge/" 'at most 0.25'
  export QUORVEL_COLLAB_SOCKET=$work/backlog.sock
  compare 10 "$bin/qv task list" "jq -S . $work/backlog.json" 'at most 0.1'
  compare 10 "$bin/qv task list --json" "jq -S . $work/backlog.json" 'at most 0.1'
  memory 'peak memory, task list / reply' "$bin/qv" task list
  memory 'peak memory, task list --json / reply' "$bin/qv" task list --json
}

# serve NAME REPLY: a bridge at NAME.sock that always answers REPLY.
serve() {
  printf '%s' "$2" >"$work/$1.reply"
  "$bin/bench_bridge" "$work/$1.sock" "$work/$1.reply" &
  until [[ -S $work/$1.sock ]]; do sleep 0.02; done
}

# compare RUNS COMMAND PEER WANTED: the ratio of the two mean times.
compare() {
  hyperfine --shell=none --warmup 5 --runs "$1" --export-json "$work/times.json" "$2" "$3" \
    >/dev/null 2>&1
  jq -r --arg name "$(label "$2") : $(label "$3")" --arg wanted "$4" \
    '[.results[].mean] as [$a, $b] | [$name, ($a / $b * 100 | round / 100), $wanted] | @tsv' \
    "$work/times.json" | awk -F '\t' '{ printf "%-58s %10s   %s\n", $1, $2, $3 }'
}

# label COMMAND: its program's name and its first words.
label() {
  local words=($1)
  echo "${words[0]##*/} ${words[*]:1:3}" | sed "s|$work/||g" | cut -c 1-32
}

# memory NAME COMMAND...: the largest resident set over the reply's size.
memory() {
  local name=$1
  shift
  python3 - "$name" "$(stat -c %s "$work/backlog.json")" "$@" <<'PYTHON'
import os, resource, subprocess, sys
subprocess.run(sys.argv[3:], stdout=subprocess.DEVNULL, check=True)
unit = 1 if sys.platform == "darwin" else 1024
peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * unit
print(f"{sys.argv[1]:<58} {peak / int(sys.argv[2]):>10.2f}   at most 8")
PYTHON
}

main
