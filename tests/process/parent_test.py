"""A wait in a container has a parent that looks like an orphan's."""
import os
import subprocess
import sys
import unittest

WAIT = [os.path.abspath(sys.argv.pop(1)), "wait", "--json", "--timeout", "1"]
SHELL = ["/bin/sh", "-c", '"$@"; exit $?', "sh"]  # stays, as the parent
CONTAINER = ["unshare", "--user", "--map-root-user", "--pid", "--fork", "--mount-proc"]
TERMINAL = [sys.executable, "-c", "import pty, sys; sys.exit(pty.spawn(sys.argv[1:]) >> 8)"]


def status(*command):
    env = {**os.environ, "QUORVEL_SESSION_ID": "___", "QUORVEL_COLLAB_SOCKET": "/none.sock"}
    return subprocess.run(["/usr/bin/env", *command], env=env, check=False, timeout=60, start_new_session=True,
                          stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode


class Parent(unittest.TestCase):
    def test_in_a_container(self):
        if status(*CONTAINER, "true") != 0:
            self.skipTest("no container can be made here")
        self.assertEqual(status(*CONTAINER, *WAIT), 10, "the first process itself")
        self.assertEqual(status(*CONTAINER, *SHELL, *WAIT), 3, "no terminal")
        self.assertEqual(status(*TERMINAL, *CONTAINER, *SHELL, *WAIT), 10, "its terminal")


unittest.main()
