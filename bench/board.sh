#!/usr/bin/env bash
# The cost of a board command against its peers, every pair measured side by side in one
# run. Needs what `scripts/setup.sh --bench` installs. Prints one table of ratios.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$here/row.sh"
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

main() {
  printf '{"kind":"written","message":"Claimed T-1.","threadTag":"T-abc123"}' >"$work/small.reply"
  python3 "$here/backlog.py" prose >"$work/prose.reply"
  python3 "$here/backlog.py" minimal >"$work/minimal.reply"
  export QUORVEL_SESSION_ID=PANE-1 QUORVEL_COLLAB_TOKEN=t QUORVEL_MCP_SOCKET=$work/none
  local request='{"protocolVersion":1,"token":"t","sessionID":"PANE-1","method":"claim_task","taskID":"T-1"}'

  heading
  ask small
  compare 1000 'qv --version' 'an empty C program' "$bin/bench_empty" 0.50
  compare 500 'qv task claim T-1' 'a minimal C client' \
    "$bin/bench_client $work/small.sock '$request'" 0.75
  compare 200 'qv task claim T-1' 'curl --unix-socket' \
    "curl -s --unix-socket $work/small.sock http://bridge/" 0.08
  ask prose
  compare 30 'qv task list' 'jq -S .' "jq -S . $work/prose.reply" 0.07 ', 16 MiB of prose'
  compare 30 'qv task list --json' 'jq -S .' "jq -S . $work/prose.reply" 0.08 ', 16 MiB of prose'
  ask minimal
  compare 10 'qv task list' 'jq -S .' "jq -S . $work/minimal.reply" '' ', 16 MiB, minimal tasks'
  compare 10 'qv task list --json' 'jq -S .' "jq -S . $work/minimal.reply" '' \
    ', 16 MiB, minimal tasks'
  memory prose 'task list' '' 'prose'
  memory prose 'task list --json' '' 'prose'
  memory minimal 'task list' 7 'minimal tasks'
  memory minimal 'task list --json' '' 'minimal tasks'
}

# ask NAME: from now on the bridge is one that always answers with NAME.reply.
ask() {
  export QUORVEL_COLLAB_SOCKET=$work/$1.sock
  "$bin/bench_bridge" "$work/$1.sock" "$work/$1.reply" &
  until [[ -S $work/$1.sock ]]; do sleep 0.02; done
}

# compare RUNS COMMAND PEER PEER-COMMAND AT-MOST [REMARK]: the ratio of the two median times, by
# turns.
compare() {
  local mine peer times
  read -ra mine <<<"${2#qv }"
  eval "peer=($4)"
  read -r -a times < <("$bin/bench_versus" "$1" : "$qv" "${mine[@]}" : "${peer[@]}")
  row "$2${6:-}" "$3" "$(calc "${times[0]} / ${times[1]}" 3)" "$5"
}

# memory REPLY COMMAND AT-MOST NAME: the most memory it holds with that reply.
memory() {
  export QUORVEL_COLLAB_SOCKET=$work/$1.sock
  row "peak memory of qv $2, $4" 'the reply, 16 MiB' \
    "$(python3 "$here/peak_memory.py" "$work/$1.reply" "$qv" $2)" "$3"
}

main
