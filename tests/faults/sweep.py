#!/usr/bin/env python3
"""Everything that can go wrong goes wrong once, and what comes of it is judged.

Each road of the program is run without a fault first, to learn what it calls. Then it is run again and
again, and each time one thing is different:

    fault    a system call fails, once or from then on, with each error that fits it
    crash    the process is killed at a system call of one that leaves files behind
    memory   an allocation fails, once or from then on

Only the program itself is hurt, never the tool of a build or a bridge. It is the one of the dev
preset; with --shipped, faults and crashes meet the static one of the release preset.

    tests/faults/sweep.py             as much as two minutes allow, in an order that the seed decides
    tests/faults/sweep.py --all       everything
    tests/faults/sweep.py --only 'leader: fault writev 3'   what has this in its name

Linux alone, since strace does the hurting. The end is 1 when something was found.
"""
import argparse
import collections
import multiprocessing
import os
import random
import shutil
import signal
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path[:0] = [ROOT + "/tests/process", ROOT + "/tests/scenarios"]

import build_roads  # noqa: E402
import calls  # noqa: E402
import client_roads  # noqa: E402

DEVELOPED, SHIPPED = ROOT + "/build/dev/qv", ROOT + "/build/release/qv"
STARVE = ROOT + "/build/dev/libstarve.so"  # for programs that load their C library
ROADS, CRASHES = ({road.name: (rooms, road) for rooms in (client_roads, build_roads) for road in getattr(rooms, roads)}
                  for roads in ("ROADS", "CRASHES"))
KINDS = ("as without it", "in a sentence", "killed", "not reached", "finding")


class Trial(collections.namedtuple("Trial", "kind road tracee call number error lasting")):
    @property
    def program(self):
        return DEVELOPED if self.kind == "memory" else tried_program

    def __str__(self):
        error = self.error if self.kind == "fault" else ""
        words = (self.kind, self.call, str(self.number), error, "and on" * self.lasting,
                 "elsewhere" * (self.tracee == calls.OTHERS))
        return f"{self.road}: {' '.join(filter(None, words))}"


def road_of(trial):
    return (CRASHES if trial.kind == "crash" else ROADS)[trial.road]


# --- In a process of its own: worlds, which are made when they are wanted.

tried_program = DEVELOPED
worlds = {}  # and what each road comes to there without a fault
deadline = None


def begin(folder, seconds):
    global deadline
    deadline = time.monotonic() + seconds if seconds else None
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    tempfile.tempdir = tempfile.mkdtemp(dir=folder)


def world_of(rooms):
    if rooms not in worlds:
        worlds[rooms] = rooms.World(tempfile.mkdtemp(), tried_program), {}
    return worlds[rooms]


def good_run(trial):
    """The road without a fault, which is tried once in each world."""
    rooms, road = road_of(trial)
    world, goods = world_of(rooms)
    if (road.name, trial.program) not in goods:
        good = world.run(road, trial.program)
        faults, _ = world.judge(road, good, good, trial._replace(error="none"))
        if faults:
            raise AssertionError(f"{road.name} without a fault: {faults}")
        goods[road.name, trial.program] = good
    return goods[road.name, trial.program]


def list_trials(kind_and_road):
    """Every trial that a road gives rise to."""
    kind, name = kind_and_road
    first = Trial(kind, name, calls.MAIN, "", 0, "", False)
    rooms, road = road_of(first)
    good_run(first)
    if kind == "memory":
        _, count = starve(first, "count")
        return [first._replace(call="allocation", number=number, lasting=lasting)
                for number in range(1, count + 1) for lasting in (False, True)]
    strace = calls.Strace("-f", *calls.LET_GO)
    world_of(rooms)[0].run(road, first.program, strace.command)
    trials = []
    for tracee, name, number in calls.calls_of(strace.told()):
        if name not in calls.ERRORS_OF and name not in calls.SAFE:
            raise AssertionError(f"{road.name}: how can {name} fail? calls.py does not know.")
        here = first._replace(tracee=tracee, call=name, number=number)
        if kind == "crash":
            trials += [here._replace(error="KILL")] if tracee == calls.MAIN else []
            continue
        for error in calls.ERRORS_OF.get(name, []):
            trials += [here._replace(error=error, lasting=lasting)
                       for lasting in ((False,) if error in calls.PASSING else (False, True))]
    return trials


def starve(trial, when):
    """What came of the road, and how many allocations starve.cpp tells of."""
    rooms, road = road_of(trial)
    with tempfile.NamedTemporaryFile() as told:
        env = {"LD_PRELOAD": STARVE, "STARVE_AT": when, "STARVE_TELL": told.name}
        return world_of(rooms)[0].run(road, trial.program, env=env), len(told.read())


def try_out(trial):
    """What came of it: a kind, the faults in words, and the seconds; or nothing when time is up."""
    if deadline and time.monotonic() > deadline:
        return None
    rooms, road = road_of(trial)
    world, _ = world_of(rooms)
    good = good_run(trial)
    start = time.monotonic()
    if trial.kind == "memory":
        got, hit = starve(trial, f"{trial.number}{'+' * trial.lasting}")
    else:
        strace = calls.around(trial)
        got = world.run(road, trial.program, strace.command)
        hit = calls.was_hit(strace.told(), trial)
    faults, unhurt = world.judge(road, good, got, trial)
    kind = ("finding" if faults else "not reached" if not hit else "killed" if trial.error == "KILL" else
            "as without it" if unhurt else "in a sentence")
    if faults:
        worlds.pop(rooms)  # nothing of it may hurt the next one
    return trial, kind, faults, time.monotonic() - start


# --- All of it.


def main():
    global tried_program
    options = read_options()
    tried_program = SHIPPED if options.shipped else DEVELOPED
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    folder = tempfile.mkdtemp(prefix="qv-faults-", dir="/tmp")
    try:
        with multiprocessing.Pool(options.jobs, begin, (folder, not options.all and options.seconds)) as pool:
            sys.exit(sweep(options, pool))
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def read_options():
    parser = argparse.ArgumentParser(allow_abbrev=False)
    parser.add_argument("--all", action="store_true")
    parser.add_argument("--shipped", action="store_true")
    parser.add_argument("--only", default="", metavar="WORDS")
    parser.add_argument("--kind", choices=("fault", "crash", "memory"))
    parser.add_argument("--seconds", type=float, default=120)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    parser.add_argument("--jobs", type=int, default=2)
    return parser.parse_args()


def sweep(options, pool):
    start = time.monotonic()
    wanted = [(kind, name) for kind in ("fault", "crash", "memory") if options.kind in (None, kind)
              for name in (CRASHES if kind == "crash" else ROADS)
              if not options.only or options.only.startswith(name)]
    trials = [trial for listed in pool.imap_unordered(list_trials, wanted) for trial in listed
              if options.only in str(trial)]
    print(f"{len(trials)} trials, seed {options.seed}", flush=True)
    random.Random(options.seed).shuffle(trials)
    counts = collections.defaultdict(collections.Counter)
    slowest = collections.defaultdict(float)
    found = []
    for trial, kind, faults, seconds in filter(None, pool.imap_unordered(try_out, trials)):
        row = trial.kind, trial.road
        counts[row][kind] += 1
        slowest[row] = max(slowest[row], seconds)
        if faults:
            found.append(trial)
            print(f"{trial}: " + "; ".join(faults), flush=True)
    show(counts, slowest, trials)
    tried = sum(sum(row.values()) for row in counts.values())
    print(f"{tried} of {len(trials)} tried in {time.monotonic() - start:.0f} s, {len(found)} findings")
    if not tried:
        sys.exit("sweep: nothing was tried")
    return 1 if found else 0


def show(counts, slowest, trials):
    points = collections.defaultdict(set)
    for trial in trials:
        points[trial.kind, trial.road].add((trial.tracee, trial.call, trial.number))
    print(f"{'':26}{'points':>8}{'tried':>8}" + "".join(f"{kind:>15}" for kind in KINDS) + f"{'slowest':>10}")
    for row in sorted(counts):
        print(f"{' '.join(row):26}{len(points[row]):8}{sum(counts[row].values()):8}"
              + "".join(f"{counts[row][kind]:15}" for kind in KINDS) + f"{slowest[row]:8.1f} s")


if __name__ == "__main__":
    main()
