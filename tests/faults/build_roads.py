"""The roads of builds: alone, leading, following; and what may come of them.

A build's tool runs once and is seen whole, whatever its coordinator meets. Only where the output
itself cannot be written something may be missing, which is said, or the tool cannot be started,
which is said as a shell says it. Others wait for no one that is gone, and the next build finds
nothing in its way.
"""
import os
import pathlib
import re
import time
from dataclasses import dataclass
from types import SimpleNamespace

import builds

LONGEST = 40  # seconds: a lock that nobody gives back is waited for, for five, more than once
SPEECHLESS = 5  # seconds: one that cannot say that it follows or waits is taken to do so
LINE = "x" * 70000  # more than a pipe holds
OUT = f"first\n{LINE}\nlast\n".encode()
COMPLAINT = b"complaint\n"
BROKEN_PIPE = 128 + 13  # what a tool ends with whose output nobody takes


@dataclass(frozen=True)
class Road:
    name: str
    role: str  # of the one that is hurt: "alone", "leader" or "follower"
    status: int  # the tool's
    keyed: bool = True
    off: bool = False
    queued: bool = False  # with another build behind it in the queue

    def script(self):
        wait = "" if self.role == "alone" else builds.gate("go")
        return (f"echo ran >> ../ran; echo first; echo complaint >&2; {wait}printf '%070000d\\n' 0 | tr 0 x; "
                f"echo last; exit {self.status}")


ROADS = [
    Road("direct", "alone", 7, off=True),
    Road("without key", "alone", 0, keyed=False),
    Road("leader", "leader", 0),
    Road("follower", "follower", 7),
]
CRASHES = [Road("lease", "alone", 0), Road("leader and queue", "leader", 7, queued=True)]


class World(builds.World):
    """One ledger for many runs, each of which has to leave it as it was."""

    def __init__(self, _, program):
        super().__init__()
        builds.QV = program
        self.setUp()

    def build(self, road, program, before=(), env=(), keyed=True):
        environment = {"QUORVEL_BUILD_SLOT_OFF": "1"} if road.off else {}
        builds.QV = program
        return self.start(road.script(), folder=self.repo if keyed and road.keyed else self.plain, before=before,
                          env={**environment, **dict(env)})

    def run(self, road, program, before=(), env=()):
        for name in ("ran", "go"):
            pathlib.Path(self.root, name).unlink(missing_ok=True)
        hurt = {"before": before, "env": env}
        first = self.build(road, program, **(hurt if road.role != "follower" else {}))
        crew = {"it": first}
        if road.role != "alone":
            self.wait(lambda: self.ran() or ended(first))
            crew["second"] = self.build(road, program, **(hurt if road.role == "follower" else {}))
            if road.queued:
                crew["queued"] = self.build(road, program, keyed=False)
            if road.role == "follower":
                crew = {"it": crew["second"], "leader": first}
            for build in list(crew.values()):
                self.wait(lambda b=build: b is first or b.err or ended(b), SPEECHLESS)
            self.touch("go")
        self.wait(lambda: all(map(ended, crew.values())))
        got = {name: SimpleNamespace(status=build.process.poll(), out=build.out, err=build.err)
               for name, build in crew.items()}
        for build in self.builds:
            build.end()
        self.builds.clear()
        return SimpleNamespace(ran=self.ran(), next=self.next(program), **got)

    def wait(self, condition, seconds=LONGEST):
        end = time.monotonic() + seconds
        while not condition() and time.monotonic() < end:
            time.sleep(0.002)

    def ran(self):
        """How often the tool was started."""
        file = pathlib.Path(self.root, "ran")
        return len(file.read_bytes().splitlines()) if file.exists() else 0

    def next(self, program):
        """What the build after it met."""
        builds.QV = program
        build = self.start("echo next", folder=self.plain)
        self.wait(lambda: ended(build))
        met = (build.process.poll(), build.out, build.err)
        build.end()
        self.builds.clear()
        rest = set(os.listdir(self.ledger)) - {"lock", "logs", "focus", f"{build.pid}.json"}
        for name in rest:
            os.unlink(f"{self.ledger}/{name}")
        return met, sorted(rest), self.logs()

    def judge(self, road, good, got, trial):
        """What must not be, in words; and whether all was as if nothing had happened."""
        killed = trial.error == "KILL" and got.it.status == -9
        met, rest, logs = got.next
        if killed or trial.call == "unlink":  # a lease that was being written, and nobody else's
            rest = [name for name in rest if not name.endswith(".json.tmp")]
        faults = [f"the next build met {got.next}"] if (met, rest, logs) != good.next else []
        if not killed:
            faults += judge_hurt(road, got.it, trial)
        for name in ("second", "queued", "leader"):
            if hasattr(got, name):
                faults += [f"{name}: {fault}" for fault in judge_other(road, getattr(got, name))]
        runs = 1 + killed + road.queued + (road.role != "alone")
        if got.ran > runs:
            faults.append(f"the tool ran {got.ran} times")
        if got.ran == 0 and not (killed and road.role == "alone") and got.it.status not in (126, 127):
            faults.append("the tool never ran")
        return faults, not killed and all(vars(getattr(got, name)) == vars(getattr(good, name))
                                          for name in vars(good) if name not in ("next", "ran"))


def ended(build):
    return build.process.poll() is not None


def judge_hurt(road, got, trial):
    losing = trial.call in ("write", "writev", "read")
    if got.status is None:
        yield f"still there after {LONGEST} seconds"
    elif got.status in (126, 127):
        if trial.call != "execve" or not re.search(rb"/cargo: .+\n$", got.err) or got.out:
            yield f"the tool could not be started: {got.err!r}"
    elif got.out != whole(got) and not (losing and is_told(got, road, trial)):
        yield f"the output is {shown(got.out)}, {got.err!r}"
    elif not losing and COMPLAINT not in got.err:
        yield f"the complaint is missing: {got.err!r}"
    elif got.status != road.status and not (losing and got.status in (1, BROKEN_PIPE)):
        yield f"ended with {got.status}, {got.err!r}"


def judge_other(road, got):
    if got.status != road.status:
        yield f"ended with {got.status}, {got.err!r}"
    if got.out != whole(got) or COMPLAINT not in got.err:
        yield f"the output is {shown(got.out)}, {got.err!r}"


def whole(got):
    """All of it; behind a piece of it, where somebody else's build was followed to its early end."""
    anew = any(b"so this one is building for itself" in said or b"can no longer be followed" in said
               for said in re.findall(rb"^quorvel: (.+)$", got.err, re.M))
    piece = got.out[:-len(OUT)]
    return piece + OUT if anew and OUT.startswith(piece) else OUT


def is_told(got, road, trial):
    """Output that is missing is told of, unless nobody is there any more to be told."""
    unheard = trial.lasting or COMPLAINT not in got.err
    told = got.status != 0 and (b"this build's output could not be written" in got.err or unheard)
    return (told or trial.error == "EPIPE") and not road.off


def shown(out):
    return re.sub(rb"x{9,}", b"x...", out)
