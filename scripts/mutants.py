#!/usr/bin/env python3
"""Changes the program in one place, again and again, and tells which changes no test notices.

  scripts/mutants.py N [SEED]

N mutants that compile are made, of every kind in turn, and each has to fail a test. Whether one
that does not is a gap of the tests or means the same as before is for the reader to say. The
committed tree is copied under build/mutants and compiled there, twice for each core, since tests
mostly wait; on two cores it takes half a minute for each mutant. Linux only: a mutant may kill or
leave behind any process, so each runs among processes of its own.
"""

import collections
import os
import random
import re
import subprocess
import sys
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent
FOLDER = PROJECT / "build" / "mutants"
LONGEST = 300  # seconds for one step, after which a mutant counts as noticed
APART = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc",
         *([] if os.geteuid() == 0 else ["--map-current-user"]),
         "sh", "-c", '"$@"; exit $?', "sh"]  # the first process has no parent, which tests look at

TOKEN = re.compile(
    r'//[^\n]*|^\s*#[^\n]*|R"\((?P<raw>.*?)\)"|"(?P<text>(?:\\.|[^"\\\n])*)"|\'(?:\\.|[^\'\\])+\''
    r"|(?P<number>\b\d+\b(?!\.|'))|(?P<word>\b(?:true|false)\b)"
    r"|(?<= )(?P<operator>==|!=|<=|>=|<|>|&&|\|\|)(?= )|(?P<not>!(?=[\w:(*]))",
    re.DOTALL | re.MULTILINE)
OPERATORS = {
    "==": ("comparison", "!="), "!=": ("comparison", "=="),
    "<": ("boundary", "<="), "<=": ("boundary", "<"),
    ">": ("boundary", ">="), ">=": ("boundary", ">"),
    "&&": ("condition", "||"), "||": ("condition", "&&")}
LINES = {
    "statement": re.compile(r"^ +(?:(?!return|using|else|delete|case|goto)[\w:.>*-]+(?:\(.*\)| [+-]?= .*)|"
                            r"if \(.*\) (?:return|continue|break)\b.*);$", re.MULTILINE),
    "row": re.compile(r"^ +\{.*\},$", re.MULTILINE)}

Mutant = collections.namedtuple("Mutant", "kind file start end text")


def mutants_of(file, source):
    """Every change that can be made to one file."""
    for kind, line in LINES.items():
        for found in line.finditer(source):
            yield Mutant(kind, file, found.start(), found.end(), "")
    for found in TOKEN.finditer(source):
        if number := found["number"]:
            yield Mutant("constant", file, *found.span("number"), str(int(number) + 1))
        elif word := found["word"]:
            yield Mutant("constant", file, *found.span("word"), "false" if word == "true" else "true")
        elif operator := found["operator"]:
            kind, other = OPERATORS[operator]
            yield Mutant(kind, file, *found.span("operator"), other)
        elif found["not"]:
            yield Mutant("condition", file, *found.span("not"), "")
        group = "raw" if found["raw"] else "text"
        for pair in re.finditer(r"\b([A-Za-z]{2,}) ([A-Za-z]{2,})\b", found[group] or ""):
            if pair[1] != pair[2]:
                start = found.start(group)
                yield Mutant("words", file, start + pair.start(), start + pair.end(), f"{pair[2]} {pair[1]}")


def all_mutants(seed):
    """Every mutant there is: one of each kind in turn, in an order that the seed decides."""
    kinds = collections.defaultdict(list)
    listed = subprocess.run(["git", "ls-files", "src"], cwd=PROJECT, check=True, capture_output=True, text=True)
    for file in listed.stdout.split():
        if file.endswith((".cpp", ".h")) and "_darwin" not in file:
            source = subprocess.run(["git", "show", f"HEAD:{file}"], cwd=PROJECT, check=True,
                                    capture_output=True, text=True).stdout
            for mutant in mutants_of(file, source):
                kinds[mutant.kind].append(mutant)
    order = random.Random(seed)
    for kind in sorted(kinds):
        order.shuffle(kinds[kind])
    while any(kinds.values()):
        for kind in sorted(kinds):
            if kinds[kind]:
                yield kinds[kind].pop()


class Bench:
    """A copy of the tree in which mutants are compiled and tested."""

    def __init__(self, number):
        self.tree = FOLDER / f"tree{number}"
        self.build = FOLDER / f"build{number}"
        self.scratch = tempfile.TemporaryDirectory(prefix="qv-mutants-")  # outside of any repository

    def set_up(self):
        subprocess.run(["rm", "-rf", self.tree], check=True)
        self.tree.mkdir(parents=True)
        archive = subprocess.Popen(["git", "archive", "HEAD"], cwd=PROJECT, stdout=subprocess.PIPE)
        subprocess.run(["tar", "-x", "-C", self.tree], stdin=archive.stdout, check=True)
        subprocess.run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DQV_STATIC=OFF"], check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["ninja"], cwd=self.build, check=True, stdout=subprocess.DEVNULL)

    def run(self, *command):
        """The exit status and what was printed; 124 for what took too long."""
        environment = dict(os.environ, TMPDIR=self.scratch.name)
        try:
            done = subprocess.run([*APART, *command], cwd=self.build, env=environment, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, errors="replace", timeout=LONGEST)
        except subprocess.TimeoutExpired:
            return 124, ""
        return done.returncode, done.stdout

    def failed_test(self):
        """The first test that fails, the quickest tests first; empty when all pass."""
        status, printed = self.run(self.build / "unit_tests", "--gtest_brief=1", "--gtest_fail_fast")
        if status:
            named = re.search(r"FAILED  \] ([\w./]+)", printed)
            return f"unit test {named[1]}" if named else "unit tests, which end early"
        for tests in ("^(scenario|docs|pages)", "^(process|simulation)"):
            status, printed = self.run("ctest", "--stop-on-failure", "--timeout", "120", "-R", tests)
            if status:
                named = re.search(r"(\S+) \.*\s*\*\*\*", printed)
                return named[1] if named else "a test that does not end"
        return ""

    def try_out(self, mutant):
        """None when it does not compile, else the test that notices it, or an empty text."""
        path = self.tree / mutant.file
        source = path.read_text()
        path.write_text(source[:mutant.start] + mutant.text + source[mutant.end:])
        try:
            status = self.run("ninja")[0]
            if status == 124:
                return "the compiler, which does not end"
            return None if status else self.failed_test()
        finally:
            path.write_text(source)


def told(mutant):
    source = (PROJECT / mutant.file).read_text()
    line = source.count("\n", 0, mutant.start) + 1
    before = source[mutant.start:mutant.end].strip()
    whole = source.splitlines()[line - 1].strip()
    return f"{mutant.file}:{line}: {mutant.kind}: {before} -> {mutant.text or 'nothing'}    in: {whole}"


def main():
    if len(sys.argv) not in (2, 3) or not all(word.isdigit() for word in sys.argv[1:]):
        sys.exit(__doc__)
    if subprocess.run(["git", "diff", "--quiet", "HEAD", "--", "src"], cwd=PROJECT).returncode:
        sys.exit("mutants: src has changes that no commit has.")
    wanted = int(sys.argv[1])
    seed = int(sys.argv[2]) if len(sys.argv) == 3 else int(time.time())
    print(f"mutants: seed {seed}", flush=True)
    queue = all_mutants(seed)
    lock = threading.Lock()
    made, noticed = collections.Counter(), collections.Counter()

    def work(bench):
        while True:
            with lock:
                mutant = next(queue, None) if made.total() < wanted else None
            if mutant is None:
                return
            found = bench.try_out(mutant)
            with lock:
                if found is None or made.total() == wanted:
                    continue
                made[mutant.kind] += 1
                noticed[mutant.kind] += bool(found)
                print(f"{'noticed by ' + found if found else 'NOT NOTICED'}: {told(mutant)}", flush=True)

    benches = [Bench(number) for number in range(2 * os.cpu_count())]
    with ThreadPoolExecutor(len(benches)) as pool:
        list(pool.map(Bench.set_up, benches))
        # All at once, since they will have to pass side by side.
        for failed in filter(None, pool.map(Bench.failed_test, benches)):
            sys.exit(f"mutants: the tree fails without a change: {failed}")
        list(pool.map(work, benches))

    print(f"\n{'':12} made noticed")
    for kind in sorted(made):
        print(f"{kind:12} {made[kind]:4} {noticed[kind]:7}")
    print(f"{'all':12} {made.total():4} {noticed.total():7}  ({100 * noticed.total() / max(made.total(), 1):.0f} %)")


if __name__ == "__main__":
    main()
