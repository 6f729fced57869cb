#!/usr/bin/env python3
"""A wait in a container has a parent that looks like an orphan's, and may well have one."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

QV = os.path.abspath(sys.argv.pop(1))
CONTAINER = ["unshare", "--user", "--map-root-user", "--pid", "--fork", "--mount-proc"]
WAIT = [QV, "wait", "--json", "--timeout", "1"]
UNDER_A_SHELL = ["/bin/sh", "-c", '"$@"; exit $?', "sh", *WAIT]
ON_A_TERMINAL = [sys.executable, "-c", "import os, pty, sys; sys.exit(os.waitstatus_to_exitcode(pty.spawn(sys.argv[1:])))"]

TIMED_OUT, ORPHANED = 10, 3


class Parent(unittest.TestCase):
    def test_in_a_container(self):
        if not shutil.which("unshare") or subprocess.run([*CONTAINER, "true"], check=False).returncode != 0:
            self.skipTest("no container can be made here")
        with tempfile.TemporaryDirectory() as home:
            env = {"HOME": home, "PATH": os.environ["PATH"], "QUORVEL_SESSION_ID": "P",
                   "QUORVEL_COLLAB_SOCKET": home + "/none.sock"}
            for what, command, expected in [
                    ("the first process", [*CONTAINER, *WAIT], TIMED_OUT),
                    ("no terminal", [*CONTAINER, *UNDER_A_SHELL], ORPHANED),
                    ("the first process's terminal", [*ON_A_TERMINAL, *CONTAINER, *UNDER_A_SHELL], TIMED_OUT)]:
                with self.subTest(what):
                    got = subprocess.run(command, env=env, check=False, timeout=60, start_new_session=True,
                                         stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                    self.assertEqual(got.returncode, expected)


if __name__ == "__main__":
    unittest.main()
