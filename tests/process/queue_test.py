"""The order in which builds start, what they say meanwhile, and who cannot stop them."""
import os
import shutil
import signal
import socket
import subprocess
import time

import builds
from builds import FOCUSED, gate, until


class Queue(builds.World):
    def order(self, names, focused=()):
        """Queues a build for each name behind a running one; the order in which they run."""
        running = self.start_running(gate("go") + "true", folder=self.plain)
        self.cores = self.leases()[running.pid]["jobs"]  # both of them, or the only one
        for name in names:
            build = self.start(f"echo {name} >>../order; sleep 0.1", folder=self.plain,
                               env=FOCUSED if name in focused else {})
            if name in focused:
                build.status()
            else:
                until(lambda: self.is_queued(build), "a build that queues")
        self.touch("go")
        for build in self.builds:
            self.assertEqual(build.status(), 0)
        with open(self.root + "/order") as file:
            return file.read().split()

    def test_builds_start_in_the_order_they_came(self):
        self.assertEqual(self.order("abcde"), list("abcde"))
        last = self.builds[-1]
        self.assertTrue(last.said("waiting for 5 other builds to finish first, "
                                  "so this Mac does not grind to a halt\n")
                        or last.said("this Mac is low on memory, so this build waits for 5 other "
                                     "builds to finish first\n"), "the second on a machine under pressure")
        self.assertEqual(last.err.count(b"quorvel: "), 1, "told once, however long it waits")
        self.assertIn(b" 1 other build to finish first", self.builds[1].err)

    def test_a_person_is_told_what_can_be_done(self):
        self.start_running(gate("go"), folder=self.plain)
        terminal, inner = os.openpty()
        waiting = self.start_queued("true", folder=self.plain, stderr=inner)
        os.close(inner)
        said = ""
        while said.count("\n") < 2:
            said += os.read(terminal, 4096).decode()
        os.close(terminal)
        self.assertRegex(said, "1 other build to finish first.*\r\nquorvel: `qv __builds` shows the "
                               "queue, and QUORVEL_BUILD_SLOT_OFF=1 builds without waiting\r\n$")
        self.touch("go")
        self.assertEqual(waiting.status(), 0)

    def test_the_focused_pane_goes_first(self):
        self.focus()
        self.assertEqual(self.order("abcde", focused="d"), list("dabce"))
        share = f"using {self.cores} of {self.cores} cores while 1 other build runs\n"
        self.assertTrue(self.builds[-2].said(share))

    def test_focus_that_moves_is_noticed(self):
        self.start_running(gate("go"), folder=self.plain)
        first = self.start_queued("echo first >>../order", folder=self.plain)
        second = self.start_queued("echo second >>../order", folder=self.plain, env=FOCUSED)
        self.focus()
        self.assertEqual(second.status(), 0)
        self.assertTrue(self.is_queued(first))
        self.touch("go")
        first.status()

    def test_a_build_stopped_in_the_queue_holds_nobody_up(self):
        self.start_running(gate("go"), folder=self.plain)
        stopped = self.start_queued("echo stopped >>../order", folder=self.plain)
        last = self.start_queued("echo last >>../order", folder=self.plain)
        stopped.process.send_signal(signal.SIGTSTP)
        until(lambda: stopped.pid not in self.leases(), "its lease to go")
        self.touch("go")
        self.assertEqual(last.status(), 0)
        stopped.process.send_signal(signal.SIGCONT)
        self.assertEqual(stopped.status(), 0)
        with open(self.root + "/order") as file:
            self.assertEqual(file.read().split(), ["last", "stopped"])

    def test_a_job_count_reaches_the_tool(self):
        self.focus()
        running = self.start_running(gate("go"), folder=self.plain)
        cores = self.leases()[running.pid]["jobs"]
        rows = [("cargo", {}, f"{cores}||build"), ("go", {}, f"|-p={cores}|build"),
                ("go", {"GOFLAGS": "-v"}, f"|-v -p={cores}|build"),
                ("swift", {}, f"||build -j {cores}"), ("xcodebuild", {}, f"||-jobs {cores} build")]
        for tool, variables, expected in rows:
            build = self.start('echo "$CARGO_BUILD_JOBS|$GOFLAGS|$*"', tool=tool,
                               env={**FOCUSED, **variables})
            self.assertEqual(build.result(), (0, expected.encode() + b"\n"))
        self.touch("go")

    def test_memory_that_is_low(self):
        """On a machine with a pressure and a log of the test's own, in a namespace of mounts."""
        inside = ("unshare", "--map-root-user", "--mount", "sh", "-c",
                  'mount --bind "$0/pressure" /proc/pressure/memory && mount --bind /dev/null "$0/dev/null" && '
                  'mount --rbind "$0/dev" /dev && exec "$@"', self.root)
        os.mkdir(self.root + "/dev")
        self.touch("dev/null")
        log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(log.close)
        log.bind(self.root + "/dev/log")

        def press(some, full):
            with open(self.root + "/pressure", "w") as file:
                file.write(f"some avg10={some}\nfull avg10={full}\n")
        press(some=20, full=0)
        if not shutil.which("unshare") or subprocess.run([*inside, "true"], capture_output=True).returncode:
            self.skipTest("no machine can be made up")
        governed = {"QUORVEL_BUILD_MEMORY_OFF": "", "QUORVEL_TRACE": "1"}
        self.start_running(gate("go"), folder=self.plain)
        low = self.start("true", before=inside, env=governed)
        until(lambda: low.said("this Mac is low on memory, so this build waits for 1 other build to finish first\n"),
              "a build that is held")
        self.assertEqual(self.leases()[low.pid]["reason"], "memory")
        self.touch("go")
        self.assertEqual(low.status(), 0)
        press(some=0, full=20)
        critical = self.start("true", before=inside, env=governed)
        until(lambda: critical.said("this Mac is critically low on memory, so this build waits until some is free "
                                    "(at most 10 minutes)\n"), "a build that is held with nobody before it")
        press(some=0, full=0)
        self.assertEqual(critical.status(), 0)
        for build, seen, outcome in ((low, "pressure 2", "it waits for memory behind 1"),
                                     (critical, "pressure 4", "it waits for memory behind 0, which is critical"),
                                     (critical, "pressure 1", "it runs with ")):
            self.assertRegex(build.err.decode(), f"pass: 2 cores, .* 0 are ahead, {seen}, .* governed, keyed: {outcome}")
        log.settimeout(builds.GIVE_UP_AFTER)
        for build, event in ((low, "held for memory, 1 ahead, critical false"),
                             (low, r"started with \d+ of 2 jobs, 0 others running"),
                             (critical, "held for memory, 0 ahead, critical true")):
            self.assertRegex(log.recv(1000).decode(), rf"^<14>\w{{3}} [ \d]\d [\d:]{{8}} com.quorvel.app\[{build.pid}\]: "
                             rf"governor: build {build.pid} {event}$")

    def test_the_first_in_line_sleeps_until_the_running_build_ends(self):
        self.start_running(gate("go"), folder=self.plain)
        waiting = self.start_queued("true", folder=self.plain)
        call = f"/proc/{waiting.pid}/syscall"  # what it sleeps in, with the arguments
        if not os.access(call, os.R_OK):
            self.skipTest("no telling what a process sleeps in")

        def polls_one():
            with open(call) as file:
                return file.read().split()[2:3] == ["0x1"]
        until(polls_one, "a poll of the one running process")
        self.touch("go")
        self.assertEqual(waiting.status(), 0)

    def test_a_lock_that_is_given_back_late_or_not_at_all(self):
        script = 'echo "slot $QUORVEL_BUILD_SLOT"'
        with self.hold_lock():
            self.assertEqual(self.start(script).result(), (0, b"slot \n"), "given up")
            patient = self.start(script)
            time.sleep(1)
        self.assertEqual(patient.result(), (0, b"slot 1\n"))
        self.assert_ledger_is_clean()

    def test_stopped_in_the_queue(self):
        self.start_running(gate("go"), folder=self.plain)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            build = self.start_queued("true", folder=self.plain)
            build.process.send_signal(number)
            self.assertEqual(build.status(), -number)
            self.assertNotIn(build.pid, self.leases())
        ignoring = self.start_queued("exit 4", folder=self.plain,
                                     prepare=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        ignoring.process.send_signal(signal.SIGHUP)
        time.sleep(0.1)
        self.assertTrue(self.is_queued(ignoring))
        self.touch("go")
        self.assertEqual(ignoring.status(), 4)


if __name__ == "__main__":
    builds.main()
