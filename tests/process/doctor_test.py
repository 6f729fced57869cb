"""What qv says when nothing answers: `qv __doctor` beside an app that serves and beside bridges
that do not."""
import contextlib
import errno
import fcntl
import json
import os
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

QV = ""
GIVE_UP_AFTER = 60  # seconds; only ever reached by a fault


class Doctor(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qv-", dir="/tmp")  # a socket's path is short
        self.addCleanup(folder.cleanup)
        self.home = os.path.realpath(folder.name)
        self.app = self.home + "/Library/Application Support/Quorvel"
        os.makedirs(self.app)
        self.env = {"HOME": self.home, "PATH": os.environ["PATH"], "QUORVEL_SESSION_ID": "p"}

    def serve(self, path, reply=None):
        """Listens; answers each request with the bytes, or never."""
        listener = socket.socket(socket.AF_UNIX)
        listener.bind(path)
        listener.listen()
        self.addCleanup(listener.close)

        def answer():
            while True:
                try:
                    connection = listener.accept()[0]
                except OSError:
                    return
                with connection, contextlib.suppress(OSError):  # from who only connects
                    while connection.recv(65536):
                        pass
                    connection.sendall(reply)

        if reply is not None:
            threading.Thread(target=answer, daemon=True).start()
        return listener

    def examine(self, *, flags=("--json",), **variables):
        """Status and report, with these variables set besides."""
        done = subprocess.run([QV, "__doctor", *flags], env={**self.env, **variables}, text=True,
                              capture_output=True, timeout=GIVE_UP_AFTER)
        self.assertEqual(done.stderr, "")
        return done.returncode, json.loads(done.stdout) if flags else done.stdout

    def test_the_practice_app(self):
        script = ('qv board register >/dev/null; cd "$QV_SANDBOX/Library/Application Support/Quorvel"; '
                  'rm -r cli-state; qv __doctor --json; echo $?; ls')
        done = subprocess.run([os.path.dirname(QV) + "/qv-sandbox", "--", "sh", "-c", script],
                              env=self.env, stdout=subprocess.PIPE, text=True, timeout=GIVE_UP_AFTER, check=True)
        end = done.stdout.rindex("}") + 1
        report = json.loads(done.stdout[:end])
        self.assertEqual(done.stdout[end:].split()[0], "0")
        self.assertNotIn("cli-state", done.stdout[end:], "nothing is written")
        self.assertEqual((report["healthy"], report["advice"]), (True, []))
        found = [bridge["candidates"][0] for bridge in report["bridges"]]
        self.assertEqual([one.get("kind") for one in found], ["agents", "notes", None])
        for one in found:
            self.assertEqual((one["origin"], one["answers"], one["user"], one["token"]["mode"]),
                             ("variable", True, os.getuid(), "0600"))
            self.assertTrue(one["program"].startswith("qv-sandbox"), "not the command beside it")

    def test_bridges_that_do_not_answer(self):
        board = self.home + "/teamwork-1.sock"
        with open(self.home + "/teamwork-1.token", "w") as token:
            token.write("Sesame")
        os.chmod(token.name, 0o644)
        for reply, error, words in (
                ("stopped", errno.ECONNREFUSED, "nobody who listens"),
                (None, errno.ETIMEDOUT, "did not answer in time"),
                (b"", errno.ECONNRESET, "hangs up"),
                (b"[1]\n", errno.EBADMSG, "nothing that this qv can read"),
                (b'{"kind":"error"}\n', None, "`qv board agents` says why")):
            listener = self.serve(board, None if reply == "stopped" else reply)
            if reply == "stopped":
                listener.close()
            status, report = self.examine(QUORVEL_COLLAB_SOCKET=board)
            candidate = report["bridges"][0]["candidates"][0]
            self.assertEqual((status, candidate.get("errno")), (3 if error else 0, error), words)
            self.assertEqual((candidate["exists"], candidate["token"]["length"]), (True, 6))
            self.assertIn(words, report["advice"][0])
            self.assertIn("`chmod 600`", report["advice"][1])
            self.assertNotIn("Sesame", json.dumps(report))
            os.unlink(board)
        for path, words in ((board, "is not there"), (token.name, "is no socket"), (self.home + "/" + 99 * "s", "too long a path")):
            status, report = self.examine(QUORVEL_COLLAB_SOCKET=path)
            self.assertEqual(status, 3)
            self.assertIn(words, report["advice"][0])

    def test_where_sockets_come_from(self):
        with open(self.app + "/agent-seat", "w") as seat:
            seat.write("secret\n/nowhere/mcp-1.sock\n")
        self.serve(self.app + "/teamwork-2.sock", b'{"kind":"empty"}\n')
        status, report = self.examine(QUORVEL_VAULT_SOCKET="")
        self.assertEqual((status, report["pane"]["seatSocket"]), (3, "/nowhere/mcp-1.sock"))
        self.assertIn("names the vault socket is set and empty", report["advice"][-1])
        found = [[(one["origin"], one["used"], one["answers"]) for one in bridge["candidates"]]
                 for bridge in report["bridges"]]
        self.assertEqual(found, [[("seat", True, False), ("search", False, True)],
                                 [("seat", True, False)], [("seat", False, False)]])
        os.unlink(seat.name)
        self.assertEqual(self.examine()[0], 0)
        self.serve(self.app + "/teamwork-3.sock", b'{"kind":"empty"}\n')
        status, report = self.examine()
        self.assertEqual(status, 0)
        self.assertIn("Several instances", report["advice"][0])

    def test_the_ledger(self):
        ledger = self.app + "/builds"
        os.makedirs(ledger + "/logs", 0o777)
        os.chmod(ledger, 0o777)
        gone = subprocess.Popen(["true"])
        gone.wait()
        open(f"{ledger}/logs/{gone.pid}.log", "w").close()
        open(ledger + "/lock", "w").close()
        self.assertIn("lock     free\n", self.examine(flags=())[1])
        with open(ledger + "/lock") as lock:
            os.utime(lock.name, (1, 1))
            fcntl.flock(lock, fcntl.LOCK_EX)
            _, report = self.examine()
        self.assertEqual(report["ledger"]["orphans"], [f"logs/{gone.pid}.log"])
        self.assertTrue(report["ledger"]["lockHeld"])
        self.assertIn(report["ledger"].get("lockHolder", os.getpid()), (os.getpid(),))
        self.assertIn("others can write", report["advice"][-2])
        self.assertIn("go on without it", report["advice"][-1])


if __name__ == "__main__":
    QV = os.path.abspath(sys.argv.pop(1))
    unittest.main()
