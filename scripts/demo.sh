#!/usr/bin/env bash
# Shows qv at work: sets up, builds, and plays a short session in the practice app, every
# command with its output as an agent would read it.
set -euo pipefail

main() {
  cd "$(dirname "${BASH_SOURCE[0]}")/.."
  if [[ ${1:-} == --play ]]; then
    play
    return
  fi
  scripts/setup.sh
  cmake --preset release --log-level=WARNING >/dev/null
  cmake --build --preset release
  build/release/qv-sandbox -- scripts/demo.sh --play
  cat <<'END'

That was a practice app, not Quorvel. To look around in one yourself:

  build/release/qv-sandbox          a shell inside a pane; begin with `qv --help`
  build/release/qv-sandbox pane     in a second terminal: another pane of the same Thread
END
}

# What happens inside the pane.
play() {
  say "A terminal takes a seat on the board. This is what an agent is told:"
  run 'qv board register --role builder'
  say "It says what the board is working toward, and files work."
  run 'qv board goal "Ship the importer" --purpose "people can bring their data along"'
  run 'qv task add "Read the old format" --body "One pass, no copies. Done when the sample files load."'
  run 'qv task add "Write the guide" --waitsOn T-1'
  run 'qv task list'
  say "A task that waits on another cannot be taken, and a refusal says so."
  run 'qv task claim T-2'
  run 'qv task claim T-1'
  run 'qv task update T-1 --progress "Header and table of contents done; next: the records."'
  run 'qv task read T-1'
  run 'qv task complete T-1 --summary "The old format loads; all 12 sample files compared."'
  say "The other task is ready now. A script reads the same board as JSON."
  run 'qv task list'
  run 'qv board plan --json'
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

bold='' plain=''
if [[ -t 1 ]]; then
  bold=$'\e[1m' plain=$'\e[0m'
fi
main "$@"
