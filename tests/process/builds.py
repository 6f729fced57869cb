"""A world for build tests: a home with its ledger, a git repository, fake build tools.

The fake tools are one shell script under four names: it runs what the variable FAKE
says. The variable is part of a build's key, so builds with the same script, tool and
folder are the same build; what starts with QUORVEL_ is not.
"""
import fcntl
import glob
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

QV = ""
GIVE_UP_AFTER = 60  # seconds; only ever reached by a fault
FOCUSED = {"QUORVEL_SESSION_ID": "pane"}  # what a build in the focused pane has


def main():
    """Runs the tests of the calling file: FILE QV [unittest's own arguments]."""
    global QV
    QV = os.path.abspath(sys.argv.pop(1))
    # The background job of a script starts with some signals ignored, and so would the builds.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    for number in (signal.SIGQUIT, signal.SIGHUP):
        signal.signal(number, signal.SIG_DFL)
    unittest.main(module="__main__")


def until(condition, what):
    """Waits for the condition to hold and returns its value."""
    end = time.monotonic() + GIVE_UP_AFTER
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.005)
    raise AssertionError("in vain: " + what)


class Build:
    """One process of the program under test, its output in files."""

    def __init__(self, world, command, **options):
        self.files = [tempfile.TemporaryFile(dir=world.root) for _ in range(2)]
        streams = {"stdin": subprocess.DEVNULL, "stdout": self.files[0], "stderr": self.files[1]}
        self.process = subprocess.Popen(command, **{**streams, **options})
        self.pid = self.process.pid

    def content(self, index):
        file = self.files[index]
        return os.pread(file.fileno(), os.fstat(file.fileno()).st_size, 0)

    @property
    def out(self):
        return self.content(0)

    @property
    def err(self):
        return self.content(1)

    def said(self, words):
        return ("quorvel: " + words).encode() in self.err

    def status(self):
        return self.process.wait(GIVE_UP_AFTER)

    def result(self):
        return self.status(), self.out

    def end(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        for file in self.files:
            file.close()


class World(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="qv-build-")
        self.home = self.root + "/home"
        self.repo = self.root + "/repo"
        self.plain = self.root + "/plain"  # under no version control
        self.ledger = self.home + "/Library/Application Support/Quorvel/builds"
        self.bin = self.root + "/bin"
        for folder in (self.home, self.repo, self.plain, self.bin):
            os.makedirs(folder)
        for tool in ("cargo", "go", "swift", "xcodebuild", "make"):
            with open(f"{self.bin}/{tool}", "w") as script:
                script.write('#!/bin/sh\neval "$FAKE"\n')
            os.chmod(f"{self.bin}/{tool}", 0o755)
        with open(self.repo + "/source", "w") as source:
            source.write("text\n")
        for step in ("init -q", "add -A", "-c user.name=t -c user.email=t@t commit -qm first"):
            subprocess.run(["git", "-C", self.repo] + step.split(), check=True)
        self.builds = []
        self.run_empty_build()

    def tearDown(self):
        for build in self.builds:
            build.end()
        shutil.rmtree(self.root)

    def run_empty_build(self):
        """Makes the ledger, and reads it: what the dead have left is dropped then."""
        self.start("").status()
        self.builds.pop().end()

    def focus(self):
        with open(self.ledger + "/focus", "w") as file:
            file.write("  pane\n\n")

    def start(self, script, tool="cargo", arguments=("build",), folder=None, env=None,
              prepare=None, before=(), **options):
        """Starts a build of at most two cores; memory sets no limit."""
        environment = {"HOME": self.home, "PATH": os.environ["PATH"], "FAKE": script,
                       "QUORVEL_BUILD_MEMORY_OFF": "1", "QUORVEL_BUILD_CORES": "2", "QUORVEL_QV": QV,
                       "QUORVEL_BIN": self.bin, **(env or {})}

        path = tool if "/" in tool else f"{self.bin}/{tool}"
        build = Build(self, [*before, QV, "__build", path, *arguments], cwd=folder or self.repo,
                      env=environment, preexec_fn=prepare, **options)
        self.builds.append(build)
        return build

    def leases(self):
        found = {}
        for path in glob.glob(glob.escape(self.ledger) + "/*.json"):
            try:
                with open(path) as file:
                    lease = json.load(file)
                found[lease["pid"]] = lease
            except FileNotFoundError:
                pass  # gone between listing and opening
        return found

    def logs(self):
        return os.listdir(self.ledger + "/logs")

    def is_running(self, build):
        return self.leases().get(build.pid, {}).get("running") is True

    def is_queued(self, build):
        return self.leases().get(build.pid, {}).get("running") is False

    def start_running(self, script, **options):
        build = self.start(script, **options)
        until(lambda: self.is_running(build), "a build that runs")
        return build

    def start_queued(self, script, **options):
        build = self.start(script, **options)
        until(lambda: self.is_queued(build), "a build that queues")
        return build

    def start_following(self, script, **options):
        build = self.start(script, **options)
        until(lambda: build.said("the same build is already running"), "a build that follows")
        return build

    def change_mark(self, word, value):
        """Changes a word of the ledger's mark: boot, namespace, time. False where there is none."""
        try:
            mark = os.getxattr(self.ledger, "user.quorvel.boot").split()
        except (AttributeError, OSError):
            return False
        mark[word] = value
        os.setxattr(self.ledger, "user.quorvel.boot", b" ".join(mark))
        return True

    def hold_lock(self):
        """Takes the ledger's lock; closing the result gives it back."""
        lock = open(self.ledger + "/lock")
        until(lambda: self.try_lock(lock), "the lock")
        return lock

    @staticmethod
    def try_lock(lock):
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            return True
        except BlockingIOError:
            return False

    def touch(self, name):
        open(f"{self.root}/{name}", "w").close()

    def assert_ledger_is_clean(self):
        self.assertEqual(self.leases(), {})
        self.assertEqual(self.logs(), [])


def gate(name):
    """A piece of script that waits until the world touches the name, or is gone."""
    return f"while [ -e ../bin ] && ! [ -e ../{name} ]; do sleep 0.02; done; "


def signal_name(number):
    return signal.Signals(number).name
