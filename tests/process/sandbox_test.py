"""What a newcomer meets first is true: the demo's first pane plays in a fresh sandbox, the
practice board keeps its rules, and nothing of it stays behind."""
import os
import re
import socket
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SANDBOX = ""
BOARD = "/Library/Application Support/Quorvel/teamwork-0.sock"
GIVE_UP_AFTER = 120  # seconds; only ever reached by a fault

PEER = """
qv-sandbox pane -- sleep 120 2>/dev/null &
peer() { QUORVEL_SESSION_ID=pane-2 qv "$@"; }
qv board register --role builder >/dev/null
until peer board register --role Writer >/dev/null; do sleep 0.05; done
"""
RULES = """\
$ qv task add ' '
A task needs a title: one line that says what it is.
$ qv task update --title x
Without a task id only --progress is kept, as your status. Name the task for anything else: \
`qv task update <task> ...`.
$ qv task add One --assignedRole writer
Filed T-1.
$ qv task add Two --waitsOn T-1
Filed T-2.
$ qv task comment T-1 --text ''
The comment is empty. Nothing was changed.
$ qv task update T-1 --summary ''
The summary is empty. Say in one or two sentences what came out of it, and how you know.
$ qv task claim T-1
T-1 is for the role writer. `qv board agents` lists who has it.
$ peer wait --since 3 | sed -n 3,4p
  - KQ3 routed T-1 to your role, writer.  [assigned · T-1]
    One
$ peer task claim T-1; peer task update T-1 --title Uno
Claimed T-1. The lease is 600s, and every command of yours renews it.
Updated T-1.
$ qv wait --since 5 | sed -n 3p
  - T-1 moved: SV6 changed the title.  [taskWatched · T-1]
$ peer task complete T-1 --summary Done; qv task claim T-2; qv task review T-2 --ofRole writer
Completed T-1.
Claimed T-2. The lease is 600s, and every command of yours renews it.
Asked SV6 to review T-2.
$ peer task verify T-2 --approve true; qv task list | grep T-2
Verdict on T-2: approved.
  T-2  CLAIMED    Two  held by 9e3779b1
$ qv task complete T-2 --summary Done; qv board propose-complete; qv-sandbox person confirm
Completed T-2.
Proposed. The person confirms it; here that is you: `qv-sandbox person confirm`.
The goal is complete.
$ for pane in qv peer; do $pane wait | tail -3; $pane wait --timeout 1; echo $?; done
The goal is complete.
10
The goal is complete.
10
"""


class Sandbox(unittest.TestCase):
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

    @staticmethod
    def is_live(instance):
        with socket.socket(socket.AF_UNIX) as probe:
            return probe.connect_ex(instance + BOARD) == 0

    def run_pane(self, script):
        """What the script prints in the first pane of a fresh sandbox."""
        pane = self.start("--", "bash", "-c", script)
        out, err = pane.communicate(timeout=GIVE_UP_AFTER)
        self.assertEqual(pane.returncode, 0, err)
        return out

    def test_the_first_pane_of_the_demo(self):
        out = self.run_pane("scripts/demo.sh --first-pane 2>&1")
        for line in ("Peers reach you as KQ3. It is this terminal's name here",
                     "\nT-2 is not ready: it waits on T-1.\n\n(thread T-sandbx)\n(exit status 4)\n",
                     "|   - KQ3 handed you T-2.  [assigned · T-2]\n",
                     "\n  T-2  DONE       Write the guide  → ",
                     "32 /dev/fd/3\n",
                     "| bridges: board up, notes up, vault up\n",
                     "1|     Finished build\n",
                     "2| quorvel: the same build is already running in this folder",
                     "2|     Finished build\n",
                     "3| quorvel: waiting for 1 other build to finish first",
                     "3|     Finished test\n"):
            self.assertIn(line, out)

    def test_rules_of_the_board(self):
        essential = "{ %s; } 2>&1 | grep -v '^$\\|^(thread\\|^obligations\\|^qv wait'"
        self.assertEqual(self.run_pane(PEER + "".join(
            "echo '$ %s'\n%s\n" % (command.replace("'", "'\\''"), essential % command)
            for command in re.findall(r"^\$ (.*)$", RULES, re.M))), RULES)

    def test_build_tools_run_through_qv(self):
        os.mkdir(self.home + "/it's")
        with open(self.home + "/it's/go", "w") as tool:
            tool.write('#!/bin/sh\necho "$*, slot ${QUORVEL_BUILD_SLOT-none}"\n')
        os.chmod(tool.name, 0o755)
        self.env.update(PATH=f"{self.home}/it's:" + self.env["PATH"], QUORVEL_BUILD_MEMORY_OFF="1")
        self.assertEqual(self.run_pane("go build 'a b'; go env"),
                         "build a b, slot 1\nenv, slot none\n")

    def test_others_are_not_delayed_and_not_confused(self):
        first, second = (self.start("--", "sleep", "120") for _ in range(2))
        self.until(lambda: sum(self.is_live(each) for each in self.instances()) == 2, "two")
        out, err = self.start("person", "code").communicate()
        self.assertEqual((out, err.count("\n  QV_SANDBOX=" + self.home)), ("", 2), err)
        first.kill()
        self.until(lambda: len(self.instances()) == 1, "that the killed one is tidied up")
        slow = [socket.socket(socket.AF_UNIX) for _ in range(9)]
        for client in slow:
            client.connect(self.instances()[0] + BOARD)
            client.sendall(b'{"protocolVersion":')
        out, err = self.start("person", "code").communicate()
        self.assertRegex(out, r"^[0-9a-f]{4}-[0-9a-f]{4}\n$", err)
        for client in slow:
            client.setblocking(False)
            self.assertRaises(BlockingIOError, client.recv, 1)  # still being listened to
            client.close()
        second.kill()

    def test_a_home_that_is_too_long_or_shared(self):
        long = self.home + "/" + 70 * "x"
        out, err = self.start(HOME=long).communicate()
        self.assertEqual((out, err), ("", "qv-sandbox: the path of a socket would be too long in " +
                                      long + "/.cache. Set XDG_RUNTIME_DIR to a directory of your "
                                      "own with a short path.\n"))
        out, err = self.start("--", "sh", "-c", "echo $QV_SANDBOX", XDG_RUNTIME_DIR="/tmp",
                              XDG_CACHE_HOME=self.home + "/.cache", HOME=long).communicate()
        self.assertIn(self.home + "/.cache/qv-sandbox-", out, err)


if __name__ == "__main__":
    SANDBOX = os.path.dirname(os.path.abspath(sys.argv.pop(1))) + "/qv-sandbox"
    unittest.main()
