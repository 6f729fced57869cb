#!/usr/bin/env bash
# Tests what scripts/release.sh makes, as it is shipped:
#
#   scripts/check-release.sh          on Linux: makes the archives twice, from two clones in two
#                                     folders, and compares them; runs the programs for this
#                                     machine on a bare Debian and where there is nothing but
#                                     their archive, and those for the other processor emulated
#   scripts/check-release.sh --again linux-arm64
#                                     the same, but makes the archive for this system alone twice
#   scripts/check-release.sh --here   only runs the programs for this machine, be it a Mac, out
#                                     of the archive that lies in dist
set -euo pipefail

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$project"

main() {
  case "$(uname -sm)" in
    'Linux x86_64') here=linux-x86_64 other=linux-arm64 emulator=qemu-aarch64-static ;;
    'Linux aarch64') here=linux-arm64 other=linux-x86_64 emulator=qemu-x86_64-static ;;
    'Darwin arm64') here=macos-arm64 ;;
    *) fail "There is no archive for this machine." ;;
  esac
  scratch=$(mktemp -d /tmp/qv-release.XXXXXX)
  trap 'rm -rf "$scratch"' EXIT

  local again=()
  case ${1:-} in
    '') ;;
    --again) again=("${2:?for which system?}") ;;
    --here)
      run_tests "$(unpacked "$here")/bin/qv"
      return
      ;;
    *) fail "check-release.sh knows --again and --here, not '$1'." ;;
  esac
  scripts/setup.sh --release
  scripts/release.sh
  make_again ${again[@]+"${again[@]}"}
  run_bare
  run_alone
  run_emulated
}

# make_again [SYSTEM]
make_again() {
  git clone --quiet --depth 1 "file://$project" "$scratch/clone"
  "$scratch/clone/scripts/release.sh" "$@" >/dev/null
  (cd dist && sha256sum --check --strict "$scratch/clone/dist/SHA256SUMS") ||
    fail "Another clone makes other archives."
  echo "check-release: another clone makes the same."
}

# unpacked SYSTEM: unpacks the system's archive, and prints the folder it makes.
unpacked() {
  tar -xzf dist/qv-*-"$1".tar.gz -C "$scratch"
  echo "$scratch"/qv-*-"$1"
}

run_tests() {
  run_scenarios "$1"
  local test
  for test in tests/process/*_test.py; do
    echo "check-release: $(basename "$test")"
    python3 "$test" "$1"
  done
}

run_scenarios() {
  local scenario
  for scenario in tests/scenarios/*.scenario; do
    echo "check-release: $(basename "$scenario")"
    python3 tests/scenarios/run.py "$1" "$scenario"
  done
}

# On a bare Debian or, where none can be made, here.
run_bare() {
  local said
  said=$(scripts/check-debian.sh --archive dist/qv-*-"$here".tar.gz bookworm)
  echo "$said"
  [[ $said == *passed* ]] || run_tests "$(unpacked "$here")/bin/qv"
}

# The archive's folder becomes the root, so there is no file that is not from it: no shell, no
# library, no user database, no /proc.
run_alone() {
  local root=$scratch/alone as_root=() said
  mkdir -p "$root/tmp"
  cp -R "$(unpacked "$here")/." "$root"
  [[ $(id -u) -eq 0 ]] || as_root=(unshare --map-root-user)
  alone() { ${as_root[@]+"${as_root[@]}"} env -i PATH=/usr/sbin:/usr/bin:/bin HOME=/tmp chroot "$root" "$@"; }
  said=$(alone /bin/qv --version)
  said+=$(alone /bin/qv-sandbox -- /bin/qv board register --role tester 2>&1)
  [[ $said == *'Seat taken: '* ]] || fail "Without anything else the programs say: $said"
  echo "check-release: the programs run where nothing else is."
}

run_emulated() {
  local folder=$scratch/emulated program
  program=$(unpacked "$other")/bin/qv
  mkdir "$folder"
  printf '#!/bin/sh\nexec %s %s "$@"\n' "$(command -v "$emulator")" "$program" >"$folder/qv"
  chmod +x "$folder/qv"
  run_scenarios "$folder/qv"
}

fail() {
  echo "check-release: $*" >&2
  exit 1
}

main "$@"
