"""One build runs, the same builds follow it; and what becomes of them when it fails."""
import os
import pty
import resource
import select
import signal
import struct
import subprocess
import sys

import builds
from builds import gate, until

FOLLOWS = ("the same build is already running in this folder, so this one shows its output "
           "instead of building twice\n")
STOPPED = "that build was stopped before it finished, so this one is building for itself\n"
GIVEN_UP = ("that build's output can no longer be followed, so this one is building for "
            "itself\n")


class Follow(builds.World):
    def test_streams_and_status_byte_for_byte(self):
        script = ("head -c 300000 /dev/urandom; head -c 70000 /dev/urandom >&2; printf half; " +
                  gate("go") + "head -c 20000000 /dev/urandom; echo error >&2; exit 2")
        leader = self.start_running(script)
        followers = [self.start_following(script) for _ in range(3)]
        self.assertEqual(set(self.leases()), {leader.pid}, "followers leave the queue")
        self.touch("go")
        told = ("quorvel: " + FOLLOWS).encode()
        self.assertEqual(leader.status(), 2)
        self.assertEqual(len(leader.out), 20300004)
        for follower in followers:
            self.assertEqual(follower.status(), 2)
            self.assertTrue(follower.out == leader.out, "a difference")
            self.assertEqual(follower.err, told + leader.err)
        self.assert_ledger_is_clean()

    def test_only_the_same_build_is_followed(self):
        script = gate("go") + "echo $* >>../ran; sleep 0.05"
        self.start_running(script)
        others = [self.start(script, arguments=["build", "--all"]),
                  self.start(script, env={"RUSTFLAGS": "-g"}),
                  self.start(script, folder=self.plain)]
        for build in others:
            until(lambda: self.is_queued(build), "a build of its own")
        with open(self.repo + "/new", "w") as file:
            file.write("untracked")
        changed = self.start_queued(script)
        self.touch("go")
        for build in self.builds:
            self.assertEqual(build.status(), 0)
            self.assertFalse(build.said(FOLLOWS))
        with open(self.root + "/ran") as file:
            self.assertEqual(len(file.readlines()), 5)

    def test_what_is_run_twice_runs_twice(self):
        ours = [os.pipe() for _ in "AB"]
        first = self.start_running("cat", tool="go", arguments=["run", "."], stdin=ours[0][0])
        second = self.start_queued("cat", tool="go", arguments=["run", "."], stdin=ours[1][0])
        for (read, write), text in zip(ours, (b"A", b"B")):
            os.close(read)
            os.write(write, text)
        os.close(ours[1][1])
        os.close(ours[0][1])
        self.assertEqual((first.status(), first.out, second.status(), second.out), (0, b"A", 0, b"B"))

    def test_nobody_follows_to_a_terminal(self):
        script = gate("go") + "echo ran >>../ran"
        self.start_running(script)
        ours, theirs = pty.openpty()
        watched = self.start_queued(script, stdout=theirs)
        self.touch("go")
        self.assertEqual(watched.status(), 0)
        os.close(ours)
        os.close(theirs)
        with open(self.root + "/ran") as file:
            self.assertEqual(len(file.readlines()), 2)

    def test_a_leader_killed_in_mid_output(self):
        script = "echo begin; " + gate("go") + "echo end; exit 3"
        leader = self.start_running(script)
        follower = self.start_following(script)
        until(lambda: follower.out == b"begin\n", "the leader's output")
        leader.process.kill()
        until(lambda: self.is_running(follower), "the follower's own build")
        self.touch("go")
        self.assertEqual(follower.status(), 3)
        self.assertEqual(follower.out, b"begin\nbegin\nend\n")
        self.assertEqual(follower.err, ("quorvel: " + FOLLOWS + "quorvel: " + STOPPED).encode())
        self.assert_ledger_is_clean()

    def test_a_follower_can_be_stopped(self):
        script = gate("go") + "true"
        leader = self.start_running(script)
        for number in (signal.SIGINT, signal.SIGTERM):
            follower = self.start_following(script)
            follower.process.send_signal(number)
            self.assertEqual(follower.status(), -number)
        self.touch("go")
        self.assertEqual(leader.status(), 0)

    def test_a_leader_killed_after_its_exit_frame(self):
        script = "echo begin; " + gate("go") + "echo end; exit 3"
        leader = self.start_running(script)
        follower = self.start_following(script)
        log = f"{self.ledger}/logs/{leader.pid}.log"
        exit_frame = struct.pack(">BIi", 0, 4, 3)

        def log_is_complete():
            with open(log, "rb") as file:
                return file.read().endswith(exit_frame)

        with self.hold_lock():
            self.touch("go")
            until(log_is_complete, "the exit frame")
            leader.process.kill()
            leader.process.wait()
            self.assertEqual(follower.result(), (3, b"begin\nend\n"))
        self.run_empty_build()
        self.assertEqual(self.logs(), [])

    def test_a_leader_whose_tool_dies_of_a_signal(self):
        script = gate("go") + '[ -e ../again ] || { touch ../again; kill -9 $$; }; echo done'
        leader = self.start_running(script)
        follower = self.start_following(script)
        self.touch("go")
        self.assertEqual(leader.status(), 128 + 9)
        self.assertEqual(follower.result(), (0, b"done\n"))
        self.assertTrue(follower.said(STOPPED))

    def test_a_damaged_log_is_not_believed(self):
        script = gate("go") + "echo done"
        for damage in (b"\x01\xff\xff\xff\xff", b"\x07\x00\x00\x00\x01x", b"\x00\x00\x00\x00\x03abc"):
            leader = self.start_running(script)
            follower = self.start_following(script)
            with open(f"{self.ledger}/logs/{leader.pid}.log", "ab") as log:
                log.write(struct.pack(">BI", 1, 3) + b"ok\n" + damage)
            until(lambda: follower.said(STOPPED), "the end of the following")
            self.touch("go")
            self.assertEqual((leader.status(), follower.status()), (0, 0))
            self.assertEqual(follower.out, b"ok\ndone\n")
            os.unlink(self.root + "/go")

    def test_a_log_that_finds_no_room(self):
        def little_room():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, resource.RLIM_INFINITY))

        script = ("head -c 90000 /dev/zero; " + gate("go") + "head -c 900000 /dev/zero; echo end; " +
                  gate("on"))
        piece = os.pipe()
        leader = self.start_running(script, prepare=little_room, stdout=piece[1])
        os.close(piece[1])
        follower = self.start_following(script)
        self.touch("go")
        with open(piece[0], "rb") as reader:
            self.assertEqual(reader.read(990_004)[-5:], b"\0end\n")
            lease = until(lambda: "key" not in self.leases()[leader.pid] and self.leases(),
                          "a lease that nobody can follow")[leader.pid]
            self.assertTrue(lease["running"] and "log" not in lease)
            self.assertEqual(self.logs(), [])
            until(lambda: follower.said(GIVEN_UP), "the end of the following")
            self.touch("on")
            self.assertEqual(leader.status(), 0)
        self.assertEqual(follower.status(), 0)
        self.assertTrue(follower.out.endswith(bytes(900_000) + b"end\n"))

    def test_a_log_that_grows_too_large(self):
        script = f"{gate('go')} head -c {257 << 20} /dev/zero; {gate('on')} exit 3"
        leader, follower = (start(script, stdout=subprocess.DEVNULL)
                            for start in (self.start_running, self.start_following))
        self.touch("go")
        until(lambda: follower.said(GIVEN_UP), "the end of the following")
        self.assertNotIn("log", self.leases()[leader.pid])
        self.assertEqual(self.logs(), [])
        self.touch("on")
        self.assertEqual((leader.status(), follower.status()), (3, 3))


class Streams(builds.World):
    def test_a_reader_that_stalls(self):
        """Neither the tool nor a follower waits for it, and the build can be interrupted."""
        script = gate("go") + "head -c 900000 /dev/urandom; echo end >&2; exit 3"
        for number in (signal.SIGINT, None):
            read, write = os.pipe()
            leader = self.start_running(script, stdout=write)
            os.close(write)
            follower = self.start_following(script)
            self.touch("go")
            self.assertEqual(follower.status(), 3)
            until(lambda: not self.leases(), "the end of the lease")
            self.assert_ledger_is_clean()
            self.assertIsNone(leader.process.poll())
            if number:
                leader.process.send_signal(number)
                self.assertEqual(leader.status(), -number)
            with open(read, "rb") as reader:
                shown = reader.read()
            if not number:
                self.assertEqual((leader.status(), shown, leader.err), (3, follower.out, b"end\n"))
            os.unlink(self.root + "/go")

    def test_a_stalled_reader_of_a_build_without_a_log(self):
        """What the log held comes first, and the tool waits for the reader."""
        script = ("head -c 90000 /dev/zero; head -c 90000 /dev/zero | tr '\\0' 1; echo error >&2; "
                  "head -c 900000 /dev/zero; touch ../ended")
        read, write = os.pipe()
        build = self.start_running(script, stdout=write, prepare=lambda: resource.setrlimit(
            resource.RLIMIT_FSIZE, (100_000, resource.RLIM_INFINITY)))
        os.close(write)
        until(lambda: not self.logs(), "the end of the log")
        self.assertFalse(os.path.exists(self.root + "/ended"))
        with open(read, "rb") as reader:
            self.assertEqual(reader.read(), bytes(90000) + b"1" * 90000 + bytes(900000))
        self.assertEqual((build.status(), build.err), (0, b"error\n"))

    def test_output_that_cannot_be_written(self):
        if not os.path.exists("/dev/full"):
            self.skipTest("no /dev/full")
        said = b"quorvel: this build's output could not be written: No space left on device\n"
        for status, cut_status in ((0, 1), (7, 7)):
            script = f"{gate('go')} head -c 200000 /dev/zero; echo error >&2; exit {status}"
            with open("/dev/full", "wb") as full:
                leader = self.start_running(script, stdout=full)
                cut = self.start_following(script, stdout=full)
            whole = self.start_following(script)
            self.touch("go")
            self.assertEqual([build.status() for build in (leader, cut, whole)],
                             [cut_status, cut_status, status])
            self.assertEqual(len(whole.out), 200000)
            for build in (leader, cut):
                self.assertEqual(build.err.count(said), 1)
                self.assertIn(b"error\n", build.err)
            os.unlink(self.root + "/go")

    def test_the_followers_of_a_build_that_is_cut_off(self):
        """Its reader goes away while nothing is written; the tool notices when it writes."""
        script = "echo begin; " + gate("go") + "echo end"
        read, write = os.pipe()
        leader = self.start_running(script, stdout=write)
        os.close(write)
        follower = self.start_following(script)
        os.read(read, 10)
        os.close(read)
        until(lambda: follower.said(GIVEN_UP) and self.is_queued(follower), "a build of its own")
        self.assertNotIn("log", self.leases()[leader.pid])
        self.touch("go")
        self.assertEqual(leader.status(), 128 + signal.SIGPIPE)
        self.assertEqual((follower.status(), follower.out), (0, b"begin\nbegin\nend\n"))

    def test_a_killed_coordinator_takes_its_tool_along(self):
        if sys.platform != "linux":
            self.skipTest("not there")
        read, write = os.pipe()
        build = self.start("echo ready; exec sleep 600", pass_fds=(write,))
        os.close(write)
        until(lambda: build.out == b"ready\n", "the tool")
        build.process.kill()
        until(lambda: select.select([read], [], [], 0)[0], "the end of the tool")
        os.close(read)

    def test_a_reader_that_goes_away(self):
        read, write = os.pipe()
        build = self.start("yes", stdout=write)
        os.close(write)
        os.read(read, 10)
        os.close(read)
        self.assertEqual(build.status(), 128 + signal.SIGPIPE)
        self.assert_ledger_is_clean()

    def test_closed_descriptors(self):
        script = "echo out; echo err >&2; " + gate("go") + "exit 6"

        def close_all():
            for fd in range(3):
                os.close(fd)

        leader = self.start_running(script, prepare=close_all)
        follower = self.start_following(script)
        until(lambda: follower.out == b"out\n", "the leader's output")
        self.touch("go")
        self.assertEqual((leader.status(), follower.status()), (6, 6))
        self.assertTrue(follower.err.endswith(b"err\n"))
        self.assertEqual(os.path.getsize(self.ledger + "/lock"), 0)

    def test_a_daemon_that_keeps_the_streams(self):
        def blocked():  # as some callers leave it
            signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGCHLD])

        for prepare in (None, blocked):
            build = self.start("echo out; sleep 600 & echo $! >../daemon; exit 3", prepare=prepare)
            self.assertEqual(build.result(), (3, b"out\n"))
            self.assert_ledger_is_clean()
            with open(self.root + "/daemon") as file:
                os.kill(int(file.read()), signal.SIGKILL)  # and so it was still there

    def test_forwarded_signals(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            build = self.start("echo ready; exec sleep 60")
            until(lambda: build.out == b"ready\n", "the tool")
            build.process.send_signal(number)
            self.assertEqual(build.status(), 128 + number)
            self.assert_ledger_is_clean()

    def test_interrupting_the_whole_foreground(self):
        script = "trap 'trap \"\" INT; echo stopped; exit 9' INT; echo ready; while :; do sleep 0.05; done"
        build = self.start(script, start_new_session=True)
        until(lambda: build.out == b"ready\n", "the tool")
        os.killpg(build.pid, signal.SIGSTOP)
        os.killpg(build.pid, signal.SIGCONT)
        os.killpg(build.pid, signal.SIGINT)
        self.assertEqual(build.result(), (9, b"ready\nstopped\n"))

    def test_an_ignored_hangup_stays_ignored(self):
        build = self.start("echo ready; " + gate("go") + "exit 5",
                           prepare=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        until(lambda: build.out == b"ready\n", "the tool")
        build.process.send_signal(signal.SIGHUP)
        self.touch("go")
        self.assertEqual(build.status(), 5)


if __name__ == "__main__":
    builds.main()
