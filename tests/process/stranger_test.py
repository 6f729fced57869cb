"""What another user of the machine serves, or has put in a program's place. Only root can be two users."""
import os
import socket
import subprocess
import sys
import tempfile
import unittest

QV = ""
STRANGER = 12345


@unittest.skipIf(os.geteuid(), "needs root")
class Stranger(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qv-", dir="/tmp")  # a socket's path is short
        self.addCleanup(folder.cleanup)
        self.home = os.path.realpath(folder.name)
        os.chmod(self.home, 0o1777)
        self.left = self.home + "/left"
        self.bridge = socket.socket(socket.AF_UNIX)
        self.addCleanup(self.bridge.close)
        os.seteuid(STRANGER)
        os.mkdir(self.left)
        self.bridge.bind(self.left + "/teamwork-1.sock")
        self.bridge.listen()
        os.symlink("/bin/echo", self.left + "/broker")
        os.seteuid(0)

    def test_nothing_of_theirs_is_used(self):
        served = f"{self.left}/teamwork-1.sock is served by another user (uid {STRANGER})"
        told = f"qv: {served}; not talking to it.\n"
        environment = {"HOME": self.home, "PATH": os.environ["PATH"], "QUORVEL_SESSION_ID": "p",
                       "QUORVEL_COLLAB_SOCKET": self.left + "/teamwork-1.sock",
                       "QUORVEL_SECRET_BIN": self.left + "/broker"}
        for command, status, output, complaint in (
                ("task list", 3, "", "pane may belong to a Quorvel instance that has since quit.\n" + told),
                ("whoami", 0, "the board could not be asked just now", told),
                ("wait --timeout 1", 10, "", told),
                ("__doctor", 3, served + " and is not talked to.", ""),
                ("secret list", 3, "", f"qv secret: {self.left} belongs to another user (uid {STRANGER}) and stands in "
                 "a folder that anybody can write to; not running what is there.\n")):
            done = subprocess.run([QV, *command.split()], env=environment, capture_output=True, text=True, timeout=60)
            with self.subTest(command):
                self.assertEqual(done.returncode, status)
                self.assertIn(output, done.stdout)
                self.assertTrue(done.stderr.endswith(complaint), done.stderr)
                self.assertEqual(done.stderr.count("another user"), complaint.count("another user"), "said once")
        self.bridge.setblocking(False)
        with self.assertRaises(BlockingIOError):
            while True:
                with self.bridge.accept()[0] as connection:
                    self.assertEqual(connection.recv(1), b"", "not a byte of a request")


if __name__ == "__main__":
    QV = os.path.abspath(sys.argv.pop(1))
    unittest.main()
