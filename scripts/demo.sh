#!/usr/bin/env bash
# Shows qv at work: sets up, builds, and plays a short session in the practice app, every
# command with its output as an agent would read it.
set -euo pipefail

main() {
  cd "$(dirname "${BASH_SOURCE[0]}")/.."
  case ${1:-} in
    --first-pane) first_pane ;;
    --second-pane) second_pane ;;
    --outside) outside "$2" ;;
    *) demo ;;
  esac
}

demo() {
  scripts/setup.sh
  cmake --preset release --log-level=WARNING >/dev/null
  cmake --build --preset release
  build/release/qv-sandbox -- scripts/demo.sh --first-pane
  cat <<'END'

That was a practice app, not Quorvel. To look around in one yourself:

  build/release/qv-sandbox          a shell inside a pane; begin with `qv --help`
  build/release/qv-sandbox pane     in a second terminal: another pane of the same Thread
END
}

first_pane() {
  say "A terminal takes a seat on the board. This is what an agent is told:"
  run 'qv board register --role builder'
  say "It says what the board is working toward, and files work."
  run 'qv board goal "Ship the importer" --purpose "people can bring their data along"'
  run 'qv task add "Read the old format" --body "One pass. Done when the sample files load."'
  run 'qv task add "Write the guide" --waitsOn T-1'
  run 'qv task list'
  say "A task that waits on another cannot be taken, and a refusal says so."
  run 'qv task claim T-2'
  run 'qv task claim T-1'
  run 'qv task update T-1 --progress "Table of contents done; next: the records."'
  run 'qv task read T-1'

  run 'qv task complete T-1 --summary "The old format loads; all 12 sample files compared."'

  say "A second terminal joins the Thread and waits. That costs nothing until it is needed."
  qv-sandbox pane -- scripts/demo.sh --second-pane 2>/dev/null | beside &
  until qv board agents --json | grep -q '"idle": true' || ! kill -0 $!; do sleep 0.1; done
  sleep 0.6
  say "The first one hands it the next task, and that wakes it."
  run 'qv squad assign T-2 SV6'
  wait
  run 'qv task list --include all'

  say "Notes are shared text. A long one is read page by page."
  run 'seq 1 200 | sed "s/^/record /" | qv note create findings - --description "what the files hold"'
  run 'qv note list'
  run 'qv note read findings --offset 98 --limit 5'

  say "A secret is used without being seen: the command gets a path to an unlinked file."
  run 'qv secret list'
  run 'qv secret exec PRACTICE_API_KEY -- wc -c {PRACTICE_API_KEY}'

  say "An agent that no pane was opened for is admitted with the code on the person's screen."
  env -i PATH="$PATH" HOME="$QV_SANDBOX" QUORVEL_SESSION_ID=visitor \
    scripts/demo.sh --outside "$(qv-sandbox person code)" | beside

  say "A script reads the same board as JSON."
  run 'qv board plan --json'

  if [[ -x /usr/bin/git ]]; then
    builds
  fi
}

# Three panes build on two cores, in a repository and with a ledger of their own. The tool is
# the sandbox's stand-in, which takes as long on every machine.
builds() {
  say "Builds go through qv as well. The second one here is the same as the first, and shows its
# output instead of building twice; the third one waits until there are cores for it."
  export HOME="$QV_SANDBOX" PATH="$QV_SANDBOX/practice:$QV_SANDBOX/practice/sandbox-build:$PATH"
  export QUORVEL_BUILD_CORES=2 QUORVEL_BUILD_MEMORY_OFF=1
  unset QUORVEL_BUILD_SLOT QUORVEL_BUILD_SLOT_OFF CARGO_BUILD_JOBS ${!GIT_@}
  export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1
  local identity=(-c user.name=demo -c user.email=demo@localhost)
  git init --quiet "$HOME/importer"
  cd "$HOME/importer"
  git "${identity[@]}" commit --quiet --allow-empty --message "Start the importer"
  run 'qv-sandbox pane -- cargo build' 2>&1 | beside 1 &
  until grep -qs '"running":true' "$HOME"/Library/*/Quorvel/builds/*.json || ! kill -0 $!; do
    sleep 0.1
  done
  sleep 0.4
  run 'qv-sandbox pane -- cargo build' 2>&1 | beside 2 &
  sleep 0.4
  run 'qv-sandbox pane -- cargo test' 2>&1 | beside 3
  wait
}

second_pane() {
  run 'qv board register --role writer | head -1'
  run 'qv wait'
  run 'qv task claim T-2'
  run 'qv task complete T-2 --summary "The guide covers opening, errors and limits."'
}

outside() {
  run "qv join $1 --as Visitor"
  run 'qv whoami'
  run 'qv squad inbox'
}

say() {
  printf '\n\n%s# %s%s\n' "$bold" "$1" "$plain"
}

# Echoes the command and runs it; a refusal is part of the show.
run() {
  local status=0
  printf '\n%s$ %s%s\n' "$bold" "$1" "$plain"
  eval "$1" || status=$?
  if [[ $status -ne 0 ]]; then
    printf '(exit status %s)\n' "$status"
  fi
}

# Sets another terminal's lines apart, a moment later, so that effects follow their causes.
beside() {
  local line
  while IFS= read -r line; do
    sleep 0.05
    printf '       %1s| %s\n' "${1:-}" "$line"
  done
}

bold='' plain=''
if [[ -t 1 ]]; then
  bold=$'\e[1m' plain=$'\e[0m'
fi
main "$@"
