#!/usr/bin/env bash
# Runs every test in a build that counts, and prints by folder how many of the program's lines and
# branches they reach. build/coverage/pages/index.html shows each line. What ends by a signal, as
# killed builds do, has counted nothing.
#
#   scripts/coverage.sh
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh --coverage
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
scripts/test.sh coverage
mkdir -p build/coverage/pages
gcovr --root . --filter src/ --filter sandbox/ --object-directory build/coverage \
  --exclude-throw-branches --exclude-unreachable-branches \
  --html-details build/coverage/pages/index.html --json-summary build/coverage/summary.json
python3 - build/coverage/summary.json <<'END'
import collections, json, os, sys

KINDS = ("line", "branch")
folders = collections.defaultdict(collections.Counter)
for file in json.load(open(sys.argv[1]))["files"]:
    for folder in (os.path.dirname(file["filename"]), "all"):
        for kind in KINDS:
            for count in ("covered", "total"):
                folders[folder][kind, count] += file[f"{kind}_{count}"]
print(f"\n{'folder':16} {'lines':>7} {'reached':>8} {'branches':>9} {'reached':>8}")
for folder in sorted(folders, key=lambda name: (name == "all", name)):
    counts = folders[folder]
    part = [f"{100 * counts[kind, 'covered'] / max(counts[kind, 'total'], 1):.1f} %" for kind in KINDS]
    print(f"{folder:16} {counts['line', 'total']:7} {part[0]:>8} {counts['branch', 'total']:9} {part[1]:>8}")
END
