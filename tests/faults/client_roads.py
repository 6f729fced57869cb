"""The roads of single commands: a pane with fake bridges, the commands, and what may come of them.

A command that is hurt does what it would have done, or says in one sentence why not, prints
nothing else, and ends with 3. Its record and its seat are the old or the new ones. Whatever a
bridge is asked to change it is asked once.
"""
import json
import pathlib
import re
import subprocess
from dataclasses import dataclass
from types import SimpleNamespace

import run as scenarios

OLD_RECORD = b'{"lastSeenRev":7,"hasCursor":true,"fingerprint":"f-0","handle":"AA1"}'
RECORD = f"cli-state/{scenarios.SESSION}.json"
SEAT = "Library/Application Support/Quorvel/agent-seat"
UNREACHABLE = 3
DENIED = 4
LONGEST = 20  # seconds; the exchange with a bridge that answers is over at once

AGENT = {"id": "b", "fingerprint": "f-1", "name": "n", "status": "s", "leaseSecondsRemaining": 9,
         "isSelf": True, "canVerify": False, "activeClaims": 0, "handle": "KQ3"}
TASK = {"title": "t", "body": "A body. " * 500, "state": "open", "log": [], "resources": []}
MOVED = {"rev": 9, "changed": True, "goal": "", "goalComplete": False, "pendingGoalComplete": False,
         "changeKinds": ["claim"], "tasks": []}
OWED = {"yourBlockersOpen": ["T-1"], "undelivered": []}
ANSWERS = {
    "claim_task": {"kind": "written", "message": "Claimed T-42.", "obligations": OWED},
    "add_task": {"kind": "written", "message": "Added T-43."},
    "list_tasks": {"kind": "tasks", "tasks": [{"id": f"T-{n}", **TASK} for n in range(60)]},
    "list_agents": {"kind": "agents", "agents": [AGENT]},
    "heartbeat": {"kind": "written"},
    "poll_changes": {"kind": "changes", "changes": MOVED},
    "read_note": {"kind": "note", "note": {"name": "n", "content": "a line\n" * 30000}},
    "join_thread": {"kind": "written", "message": "Welcome.\nsecret: abc\nKeep it."},
}


@dataclass(frozen=True)
class Road:
    name: str
    command: tuple
    typed: bytes = b""
    status: int = 0
    changes: str = ""  # the method that the bridge may hear once only
    other_outputs: str = "(?!)"  # what may be told with the same status by who could not find out all
    other_ends: tuple = ()  # statuses besides 3, each with what is printed then
    warnings: str = "(?!)"  # what may be said beside a success


UNKNOWN_PEER = r"qv: \S+ is served by a user whom the system does not name; not talking to it\.\n"
NOT_READ = r"qv: standard input could not be read as UTF-8 text, so it counts as empty\.\n"
UNGROUPED = r"WAITING .*\n(  T-\d+ +OPEN +t\n)+\n.*\n"  # without the record nobody knows whose tasks these are
COULD_NOT_STORE = r"qv join: the seat secret could not be stored at \S.*: .+\.\n"
TIMED_OUT = r"qv wait, from Quorvel and not from the person: nothing changed in 3s .*\n"
UNSURE = (r"pane: +PANE-1\n(handle: +(AA1|KQ3)\n)?seat: +.+\ncursor: +(rev 7|rev 0 \(unprimed\)|unknown — .+)\n"
          r"bridges: board (up|down), notes (up|down), vault down\n")
ROADS = [
    Road("version", ("--version",)),
    Road("claim", ("task", "claim", "T-42"), changes="claim_task"),
    Road("list", ("task", "list"), other_outputs=UNGROUPED),
    Road("add", ("task", "add", "title", "--body", "-"), typed=b"typed\n" * 2000, changes="add_task",
         warnings=NOT_READ),
    Road("wait", ("wait", "--timeout", "3"), other_ends=((10, TIMED_OUT),)),
    Road("note page", ("note", "read", "n", "--offset", "20000", "--limit", "5000")),
    Road("whoami", ("whoami",), other_outputs=UNSURE),
    Road("join", ("join", "CODE"), changes="join_thread", warnings=COULD_NOT_STORE),
    Road("secret", ("secret", "exec", "A"), status=42),
]
CRASHES = [road for road in ROADS if road.name in ("claim", "wait", "whoami", "join")]


class Bridge(scenarios.Server):
    """Answers each method with its own reply, and an unknown token with a refusal."""

    def __init__(self, name, directory):
        super().__init__(name, directory)
        self.asked, self.denied = [], False

    def serve(self, connection):
        received = b""
        while b"\n" not in received and (chunk := connection.recv(65536)):
            received += chunk
        if not received.endswith(b"\n"):
            return  # it gave up
        request = json.loads(received)
        self.asked.append(request["method"])
        self.denied |= request["token"] != self.token
        answer = {"kind": "error", "message": "Unknown token."} if self.denied else ANSWERS[request["method"]]
        connection.sendall(json.dumps(answer).encode() + b"\n")


class World:
    def __init__(self, folder, _):
        self.home = pathlib.Path(folder)
        self.bridges = [Bridge(name, folder) for name in scenarios.BRIDGES]
        for bridge in self.bridges:
            bridge.start()
        self.put("broker", b'#!/bin/sh\necho ran >> "$HOME/ran"\necho "$@"\nexit 42\n', 0o700)
        board, notes = self.bridges
        self.env = {"HOME": folder, "TMPDIR": folder, "PATH": "/usr/bin:/bin", "QUORVEL_SESSION_ID": scenarios.SESSION,
                    "QUORVEL_COLLAB_SOCKET": board.path, "QUORVEL_MCP_SOCKET": notes.path,
                    "QUORVEL_SECRET_BIN": folder + "/broker"}

    def put(self, path, content, rights):
        (self.home / path).write_bytes(content)
        (self.home / path).chmod(rights)

    def reset(self):
        for path in self.files():
            (self.home / path).unlink(missing_ok=True)
        (self.home / "cli-state").mkdir(mode=0o700, exist_ok=True)
        self.put(RECORD, OLD_RECORD, 0o600)
        for bridge in self.bridges:
            bridge.asked, bridge.denied, bridge.faults = [], False, []

    def files(self):
        """What there is of records and seats: path, rights and content."""
        return {str(file.relative_to(self.home)): (file.stat().st_mode & 0o777, file.read_bytes())
                for place in (RECORD, SEAT) for file in (self.home / place).parent.glob("*")}

    def once(self, road, program, before=(), env=()):
        ran = self.home / "ran"
        ran.unlink(missing_ok=True)
        process = subprocess.Popen([*before, program, *road.command], env={**self.env, **dict(env)}, cwd=self.home,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            out, err = process.communicate(road.typed, timeout=LONGEST)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            return None
        return SimpleNamespace(status=process.returncode, out=out.decode(), err=err.decode(), files=self.files(),
                               ran=len(ran.read_bytes().splitlines()) if ran.exists() else 0,
                               asked=[method for bridge in self.bridges for method in bridge.asked],
                               denied=any(bridge.denied for bridge in self.bridges))

    def run(self, road, program, before=(), env=()):
        self.reset()
        return self.once(road, program, before, env)

    def judge(self, road, good, got, trial):
        """What must not be, in words; and whether all was as if nothing had happened."""
        if got is None:
            return [f"still there after {LONGEST} seconds"], False
        if trial.error == "KILL" and got.status == -9:
            return list(judge_files(good, got, "killed")) + list(self.judge_next(road, good, trial)), False
        faults = list(judge_end(road, good, got, trial)) + list(judge_files(good, got, trial.call))
        if road.changes and got.asked.count(road.changes) > 1:
            faults.append(f"the bridge heard {road.changes} {got.asked.count(road.changes)} times")
        if got.status == good.status and (road.changes and road.changes not in got.asked or got.ran != good.ran):
            faults.append("a success that did nothing")
        if got.ran > good.ran:
            faults.append("the broker ran twice")
        return faults, (got.status, got.out, got.err) == (good.status, good.out, good.err)

    def judge_next(self, road, good, trial):
        """The same command again, in what a killed one left."""
        again = self.once(road, trial.program)
        if again is None or (again.status, again.out, again.err) != (good.status, good.out, good.err):
            yield f"the next one: {again}"
        elif {path: again.files.get(path) for path in good.files} != good.files:
            yield f"the next one left {again.files}"


def judge_end(road, good, got, trial):
    writing = trial.call in ("write", "writev")  # it may hit what is to be said
    if got.status == good.status:
        if got.out != good.out and not re.fullmatch(road.other_outputs, got.out):
            yield f"a success that printed {got.out[:200]!r}"
        if got.err and not re.fullmatch(f"{road.warnings}|{UNKNOWN_PEER}", got.err):
            yield f"a success that said {got.err!r}"
        return
    if got.status == DENIED and got.denied:
        if "Unknown token." not in got.out + got.err:
            yield f"a refusal without the bridge's words: {got.out!r} {got.err!r}"
        return
    if any(got.status == status and re.fullmatch(text, got.out) for status, text in road.other_ends):
        return
    if got.status != UNREACHABLE:
        yield f"ended with {got.status}: {got.out[:200]!r} {got.err!r}"
    if not re.fullmatch(r"(qv[: ].*\S\n){1,2}", got.err) and not (writing and not got.err):
        yield f"said {got.err!r}"
    if got.out and not (writing and good.out.startswith(got.out)):
        yield f"printed {got.out[:200]!r} and ended with {got.status}"


def judge_files(good, got, call):
    """Old or new, whole, private, and nothing else."""
    may_be = {RECORD: [(0o600, OLD_RECORD)], SEAT: []}
    for path in may_be:
        if path in good.files:
            may_be[path].append(good.files[path])
    for path, found in got.files.items():
        leftover = re.search(r"/\.qv-\w{6}$", path) and call in ("unlink", "killed")
        if not leftover and found not in may_be.get(path, []):
            yield f"left {path} as {found}"
    if RECORD not in got.files:
        yield "the record is gone"
    if got.status == good.status and SEAT in good.files and SEAT not in got.files and not got.err and call != "killed":
        yield "the seat is not stored, and nothing was said"
