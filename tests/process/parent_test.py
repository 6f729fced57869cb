"""A wait in a container has a parent that looks like an orphan's, and may well have one."""
import os
import subprocess
import sys
import tempfile
import unittest

QV = os.path.abspath(sys.argv.pop(1))
WAIT = [QV, "wait", "--json", "--timeout", "1"]
UNDER_A_SHELL = ["/bin/sh", "-c", '"$@"; exit $?', "sh", *WAIT]  # which stays the parent
CONTAINER = ["unshare", "--user", "--map-root-user", "--pid", "--fork", "--mount-proc"]
ON_A_TERMINAL = [sys.executable, "-c", "import pty, sys; sys.exit(pty.spawn(sys.argv[1:]) >> 8)"]
TIMED_OUT, ORPHANED = 10, 3


def status(command):
    with tempfile.TemporaryDirectory() as home:
        env = {**os.environ, "HOME": home, "QUORVEL_SESSION_ID": "P", "QUORVEL_COLLAB_SOCKET": home + "/none.sock"}
        return subprocess.run(["/usr/bin/env", *command], env=env, check=False, timeout=60, start_new_session=True,
                              stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode


class Parent(unittest.TestCase):
    def test_in_a_container(self):
        if status([*CONTAINER, "true"]) != 0:
            self.skipTest("no container can be made here")
        self.assertEqual(status([*CONTAINER, *WAIT]), TIMED_OUT, "the first process itself")
        self.assertEqual(status([*CONTAINER, *UNDER_A_SHELL]), ORPHANED, "no terminal")
        self.assertEqual(status([*ON_A_TERMINAL, *CONTAINER, *UNDER_A_SHELL]), TIMED_OUT, "its terminal")


if __name__ == "__main__":
    unittest.main()
