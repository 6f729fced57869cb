"""Panes of a practice app, for the tests that play in one."""
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SANDBOX = os.path.dirname(os.path.abspath(sys.argv[1])) + "/qv-sandbox"
BOARD = "/Library/Application Support/Quorvel/teamwork-0.sock"
GIVE_UP_AFTER = 120  # seconds; only ever reached by a fault

# A second pane, a look out for a line of the roster, and what makes of a session's command one whose lines are all worth telling.
PEER = """
trap '' HUP  # as under nohup
qv-sandbox pane -- sleep 120 2>/dev/null &
peer() { QUORVEL_SESSION_ID=pane-2 qv "$@"; }
awaits() { until qv board agents | grep -q "$1"; do sleep 0.05; done; }
qv board register --role builder >/dev/null
until peer board register --role Writer >/dev/null; do sleep 0.05; done
"""
ESSENTIAL = "{ %s; } 2>&1 | grep -v '^$\\|^(thread\\|^obligations\\|^qv wait'"


class Panes(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qv-", dir="/tmp")
        self.addCleanup(folder.cleanup)
        self.home = folder.name
        self.env = {"HOME": self.home, "PATH": os.environ["PATH"], "SHELL": "/bin/sh"}
        self.addCleanup(self.until, lambda: not self.instances(), "that nothing stays behind")

    def instances(self):
        cache = self.home + "/.cache/"
        return [cache + name for name in os.listdir(cache)] if os.path.isdir(cache) else []

    def until(self, condition, what):
        end = time.monotonic() + GIVE_UP_AFTER
        while not condition():
            self.assertLess(time.monotonic(), end, "in vain: " + what)
            time.sleep(0.02)

    def start(self, *words, **changes):
        process = subprocess.Popen([SANDBOX, *words], env={**self.env, **changes}, cwd=ROOT,
                                   text=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def play(self, session):
        """What the session's commands print in a fresh sandbox, without what is always there."""
        return self.run_pane(PEER + "".join(
            "echo '$ %s'\n%s\n" % (command.replace("'", "'\\''"), ESSENTIAL % command)
            for command in re.findall(r"^\$ (.*)$", session, re.M)))

    def run_pane(self, script):
        """What the script prints in the first pane of a fresh sandbox."""
        pane = self.start("--", "bash", "-c", script)
        try:
            out, err = pane.communicate(timeout=GIVE_UP_AFTER)
        except subprocess.TimeoutExpired as stuck:
            self.fail(f"stuck after {stuck.output}, {stuck.stderr}")
        self.assertEqual(pane.returncode, 0, err)
        return out


def main():
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
