#!/usr/bin/env python3
"""Runs one scenario, or the examples of one document, with the real program over real sockets.

A scenario is a transcript. A case begins with what is typed and ends with the status:

    $ qv task claim T-42                                       a shell line, qv on its PATH
    board< {"method":"claim_task","taskID":"T-42"}             what the board must receive
    board> {"kind":"written","message":"Claimed T-42."}        what it answers
    Claimed T-42.                                              standard output, line by line
    2> qv: ...                                                 standard error
    = 0

`notes<` and `notes>` do the same for the notes bridge. A request is compared whole, without
its envelope, which is checked against the pane's; "*" stands for any number. An answer may also be an action: `!close`,
`!stall`, `!late TEXT` (after a second), `!drip TEXT` (a byte at a time), `!raw BYTES` (a Python string literal, nothing
added), `!early TEXT` (answered before the request is read), `!sized N` (a reply of N bytes).
Cases of one file share a home, so what one leaves on disk the next one finds.

In a document (.md) the blocks marked `console` are such transcripts. There a case also ends, with
status 0, where the next one begins or the block ends, and a case that shows no exchange is played
in the practice app: all of a document's in one pane. "$ " begins a line in no other block.
"""

import ast
import contextlib
import difflib
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

SESSION = "PANE-1"
BRIDGES = {"board": "teamwork", "notes": "mcp"}


class Case:
    def __init__(self, line, command):
        self.line, self.command = line, command
        self.out, self.err, self.status = [], [], None
        self.exchanges = {name: [] for name in BRIDGES}  # [request, answer] pairs


def lines_of(path):
    """The numbered lines of a scenario, or of a document's examples as a scenario has them."""
    with open(path, encoding="utf-8") as file:
        lines = [(number, line.rstrip("\n")) for number, line in enumerate(file, 1)]
    if not path.endswith(".md"):
        return lines
    kept, block, inside = [], None, False
    for number, line in lines:
        fence, command = line.startswith("```"), block is not None and line.startswith("$ ")
        if command and block != "console":
            sys.exit(f"{path}:{number}: an example that is not run: {line}")
        if inside and (fence or command):
            while not kept[-1][1]:
                kept.pop()
            kept.append((number, "= 0"))
        if not fence and block == "console":
            kept.append((number, line))
        inside = not fence and (command or inside and not line.startswith("= "))
        if fence:
            block = line[3:] if block is None else None
    return kept


def parse(path):
    cases, case = [], None
    for number, line in lines_of(path):
        bridge = line.split("<")[0].split(">")[0]
        if case is None:
            if line.startswith("$ "):
                case = Case(number, line[2:])
            elif line and not line.startswith("#"):
                sys.exit(f"{path}:{number}: text outside a case: {line}")
        elif line.startswith("= "):
            case.status = int(line[2:])
            cases.append(case)
            case = None
        elif line.startswith("2> "):
            case.err.append(line[3:])
        elif bridge in BRIDGES and line[len(bridge):].startswith("< "):
            case.exchanges[bridge].append([json.loads(line[len(bridge) + 2:]), "!close"])
        elif bridge in BRIDGES and line[len(bridge):].startswith("> "):
            case.exchanges[bridge][-1][1] = line[len(bridge) + 2:]
        else:
            case.out.append(line)
    if case is not None or not (cases or path.endswith(".md")):
        sys.exit(f"{path}: a case has no status line, or there is no case")
    return cases


class Server(threading.Thread):
    """Serves the exchanges a case expects, in order, and keeps what went wrong."""

    def __init__(self, name, directory):
        super().__init__(daemon=True)
        self.name, self.faults, self.exchanges = name, [], []
        self.token = f"{name}-token"
        stem = os.path.join(directory, f"{BRIDGES[name]}-t")
        self.path = stem + ".sock"
        with open(stem + ".token", "w", encoding="utf-8") as file:
            file.write(f"  {self.token}\n")
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen()

    def run(self):
        while True:
            connection, _ = self.listener.accept()
            with connection:
                connection.settimeout(20)
                try:
                    self.serve(connection)
                except OSError as error:
                    self.faults.append(f"{self.name}: {error}")

    def serve(self, connection):
        if not self.exchanges:
            self.faults.append(f"{self.name}: a request nobody expected")
            return
        expected, answer = self.exchanges.pop(0)
        if answer.startswith("!early "):
            connection.sendall(answer[7:].encode() + b"\n")
        received = b""
        while chunk := connection.recv(65536):
            received += chunk
            if answer == "!close" and len(received) > 100000:
                return
        self.compare(expected, received)
        if answer == "!stall":
            time.sleep(3)
        elif answer.startswith("!late "):
            time.sleep(1)
            connection.sendall(answer[6:].encode() + b"\n")
        elif answer.startswith("!drip "):
            for byte in answer[6:].encode() + b"\n":
                connection.sendall(bytes([byte]))
        elif answer.startswith("!raw "):
            connection.sendall(ast.literal_eval("b" + answer[5:]))
        elif answer.startswith("!sized "):
            head, tail = b'{"kind":"written","message":"', b'"}'
            connection.sendall(head + b"x" * (int(answer[7:]) - len(head + tail)) + tail + b"\n")
        elif not answer.startswith(("!close", "!early")):
            connection.sendall(answer.encode() + b"\n")

    def compare(self, expected, received):
        envelope = {"protocolVersion": 1, "token": self.token, "sessionID": SESSION}
        whole = {**envelope, **expected}
        try:
            request = json.loads(received)
        except ValueError as error:
            self.faults.append(f"{self.name}: the request is no JSON: {error}")
            return
        for key in [key for key, value in whole.items() if value == "*" and type(request.get(key)) is int]:
            whole[key] = request[key]
        if not received.endswith(b"}\n") or received.count(b"\n") != 1:
            self.faults.append(f"{self.name}: the request is not one line")
        if list(request)[:4] != [*envelope, "method"] or dump(request) != dump(whole):
            self.faults.append(f"{self.name}: expected {dump(whole)}\n{' ' * 14}got {dump(request)}")


def dump(value):
    return json.dumps(value, sort_keys=True, ensure_ascii=False)


@contextlib.contextmanager
def practice_pane(program, env):
    """The environment of a pane of the practice app, which runs as long as it is used."""
    script = "import json, os, sys; print(json.dumps(dict(os.environ)), flush=True); sys.stdin.read()"
    with subprocess.Popen([program + "-sandbox", "--", sys.executable, "-c", script], env=env, text=True,
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as pane:
        yield json.loads(pane.stdout.readline())


def environment(program, home):
    kept = {name: os.environ[name] for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS") if name in os.environ}
    return kept | {
        "PATH": os.path.dirname(program) + ":/usr/bin:/bin",
        "HOME": home,
        "TMPDIR": home,
        "LC_ALL": "C",
        "PYTHON": sys.executable,
        "QUORVEL_BUILD_MEMORY_OFF": "1",
    }


def difference(what, expected, got):
    lines = difflib.unified_diff(expected.split("\n"), got.split("\n"), "expected", "got", lineterm="")
    return what + ":\n" + "\n".join(lines) if expected != got else None


def run_case(case, env, home, servers):
    for name, server in servers.items():
        server.exchanges, server.faults = list(case.exchanges[name]), []
    result = subprocess.run(["/bin/sh", "-c", case.command], env=env, cwd=home, timeout=60, check=False,
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    faults = [fault for server in servers.values() for fault in server.faults]
    faults += [f"{name}: {len(server.exchanges)} expected request(s) never came"
               for name, server in servers.items() if server.exchanges]
    faults.append(difference("standard output", "".join(f"{line}\n" for line in case.out),
                             result.stdout.decode(errors="backslashreplace")))
    faults.append(difference("standard error", "".join(f"{line}\n" for line in case.err),
                             result.stderr.decode(errors="backslashreplace")))
    if result.returncode != case.status:
        faults.append(f"status: expected {case.status}, got {result.returncode}")
    return [fault for fault in faults if fault]


def main():
    program, path = os.path.abspath(sys.argv[1]), sys.argv[2]
    cases = parse(path)
    signal.signal(signal.SIGINT, signal.default_int_handler)  # a background job's is ignored
    home = tempfile.mkdtemp(prefix="qv-", dir="/tmp")  # the path of a socket has to be short
    failed = 0
    try:
        servers = {name: Server(name, home) for name in BRIDGES}
        for server in servers.values():
            server.start()
        env = environment(program, home)
        bridged = env | {"QUORVEL_SESSION_ID": SESSION, "QUORVEL_COLLAB_SOCKET": servers["board"].path,
                         "QUORVEL_MCP_SOCKET": servers["notes"].path}
        app = practice_pane(program, env) if path.endswith(".md") else contextlib.nullcontext(bridged)
        with app as pane:
            for case in cases:
                faults = run_case(case, bridged if any(case.exchanges.values()) else pane, home, servers)
                failed += bool(faults)
                for fault in faults:
                    print(f"{path}:{case.line}: $ {case.command}\n{fault}\n")
    finally:
        shutil.rmtree(home, ignore_errors=True)
    print(f"{len(cases) - failed} passed, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
