#!/usr/bin/env bash
# What four builds that arrive together do to one another and to the machine, with real tools:
# side by side, behind flock, and behind qv. Takes the tools that are there, go and cargo
# (Debian: golang-go; cargo librust-serde-json-dev librust-regex-dev librust-aho-corasick-dev).
# Takes a quarter of an hour; nothing else should run meanwhile.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$here/row.sh"
tools=()
for tool in go cargo; do
  if command -v "$tool" >/dev/null; then tools+=("$tool"); fi
done
if [[ ${#tools[@]} -eq 0 ]]; then
  echo "crowd: neither go nor cargo is installed."
  exit 0
fi
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/home"
python3 "$here/crowd.py" "$qv" "$scratch" "${tools[@]}"
