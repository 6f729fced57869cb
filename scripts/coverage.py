#!/usr/bin/env python3
"""Runs every test in a build that counts, and tells how much of the program they reach.

  scripts/coverage.py            lines and branches by folder
  scripts/coverage.py PLACE...   the lines of these files or folders that no test reaches, as the
                                 last run left them

Branches that only an exception takes are left out. A process that a signal ends, or that becomes
another program, has counted nothing. The compiler has to be g++.
"""

import collections
import json
import os
import subprocess
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
BUILD = PROJECT / "build" / "coverage"


def run_tests():
    for counts in BUILD.rglob("*.gcda"):
        counts.unlink()
    subprocess.run([PROJECT / "scripts" / "setup.sh"], check=True)
    subprocess.run(["cmake", "--preset", "coverage"], cwd=PROJECT, check=True)
    subprocess.run(["cmake", "--build", "--preset", "coverage"], cwd=PROJECT, check=True)
    tests = ["ctest", "--preset", "coverage", "--parallel", str(os.cpu_count())]
    if subprocess.run(tests, cwd=PROJECT).returncode:
        print("coverage: tests that limit the size of files fail here, since the counts are files, too.")


def counted():
    """How often each line ran, and each branch of it was taken: {file: {line: (times, [times])}}."""
    files = collections.defaultdict(dict)
    for counts in sorted(BUILD.rglob("*.gcda")):
        told = subprocess.run(["gcov", "--json-format", "--branch-probabilities", "--stdout", counts],
                              cwd=BUILD, check=True, capture_output=True)
        for file in json.loads(told.stdout)["files"]:
            path = os.path.relpath(os.path.join(BUILD, file["file"]), PROJECT)
            if path.startswith("src/"):
                for line in file["lines"]:
                    add(files[path], line)
    return files


def add(lines, line):
    # A line of a template or an inline function counts in every file that has it.
    times, branches = lines.get(line["line_number"], (0, []))
    taken = [branch["count"] for branch in line["branches"] if not branch["throw"]]
    longer, shorter = sorted((branches, taken), key=len, reverse=True)
    merged = [a + (shorter[i] if i < len(shorter) else 0) for i, a in enumerate(longer)]
    lines[line["line_number"]] = (times + line["count"], merged)


def by_folder(files):
    total = collections.defaultdict(collections.Counter)
    for path, lines in files.items():
        for folder in (os.path.dirname(path), "all"):
            for times, branches in lines.values():
                total[folder].update(lines=1, reached=times > 0, branches=len(branches),
                                     taken=sum(count > 0 for count in branches))
    print(f"\n{'folder':14} {'lines':>6} {'reached':>9} {'branches':>9} {'taken':>9}")
    for folder in sorted(total, key=lambda name: (name == "all", name)):
        of = total[folder]
        print(f"{folder:14} {of['lines']:6} {of['reached'] / max(of['lines'], 1):9.1%} "
              f"{of['branches']:9} {of['taken'] / max(of['branches'], 1):9.1%}")


def unreached(files, places):
    for path, lines in sorted(files.items()):
        if not path.startswith(tuple(places)):
            continue
        text = (PROJECT / path).read_text().splitlines()
        for number in sorted(number for number, (times, _) in lines.items() if times == 0):
            print(f"{path}:{number}: {text[number - 1].strip()}")


def main():
    if places := [os.path.relpath(place, PROJECT) for place in sys.argv[1:]]:
        unreached(counted(), places)
    else:
        run_tests()
        by_folder(counted())


if __name__ == "__main__":
    main()
