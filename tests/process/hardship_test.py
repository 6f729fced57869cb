"""What would wedge a queue: stopped processes, edited trees, vanished ledgers, stepped clocks."""
import os
import re
import shutil
import signal
import subprocess
import time

import builds
from builds import gate, until

FOLLOWS = "the same build is already running"
COORDINATED = 'echo "slot=$QUORVEL_BUILD_SLOT"; '


class Hardship(builds.World):
    def queued_in_turn(self, names):
        return [self.start_queued(f"mkdir ../busy || touch ../clash; {gate(name)}rmdir ../busy",
                                  folder=self.plain) for name in names]

    def test_a_tree_edited_while_its_build_queues(self):
        self.start_running(gate("go"), folder=self.plain)
        script = gate("on") + "cat source"
        first = self.start_queued(script)
        with open(self.repo + "/source", "w") as source:
            source.write("edited\n")
        time.sleep(2.1)  # a key is fresh for two seconds
        second = self.start_queued(script)
        self.touch("go")
        until(lambda: second.said(FOLLOWS), "the key of the edited tree in the first one's lease")
        self.touch("on")
        self.assertEqual([build.status() for build in (first, second)], [0, 0])
        self.assertEqual(second.out, b"edited\n")

    def test_a_queued_build_that_is_stopped(self):
        self.start_running(gate("go"), folder=self.plain)
        stopped, last = [self.start_queued("true", folder=self.plain) for _ in range(2)]
        stopped.process.send_signal(signal.SIGSTOP)
        self.touch("go")
        self.assertEqual(last.status(), 0)
        stopped.process.send_signal(signal.SIGCONT)
        self.assertEqual(stopped.status(), 0)

    def test_a_leader_that_is_stopped(self):
        script = gate("go") + "echo done"
        leader = self.start_running(script)
        follower = self.start_following(script)
        leader.process.send_signal(signal.SIGSTOP)
        until(lambda: self.is_running(follower), "the follower's own build")
        self.assertTrue(follower.said("that build was stopped before it finished, so this one is "
                                      "building for itself\n"))
        leader.process.send_signal(signal.SIGCONT)
        self.touch("go")
        self.assertEqual([build.status() for build in self.builds], [0, 0])

    def test_a_server_lends_its_cores_after_ten_minutes(self):
        server = self.start_running(gate("go"), folder=self.plain)
        waiting = self.start_queued('echo "$CARGO_BUILD_JOBS"', folder=self.plain)
        future = time.time() + 3600
        for then in (future, future - 2 * 3600):
            self.assertIsNone(waiting.process.poll())
            os.utime(f"{self.ledger}/{server.pid}.json", (then, then))
            time.sleep(1)
        self.assertEqual((waiting.status(), waiting.out.strip() in (b"1", b"2")), (0, True))

    def test_a_ledger_that_is_removed_and_replaced(self):
        self.start_running("sleep 60", folder=self.plain)
        queue = dict(zip("abcd", self.queued_in_turn("abc")))
        shutil.rmtree(self.ledger)
        until(lambda: any(map(self.is_running, queue.values())), "one that finds nobody")
        os.unlink(self.ledger + "/lock")
        queue["d"], = self.queued_in_turn("d")
        while queue:
            until(lambda: any(map(self.is_running, queue.values())), "somebody's turn")
            turn, = [name for name, build in queue.items() if self.is_running(build)]
            self.touch(turn)
            self.assertEqual(queue.pop(turn).status(), 0)
        self.assertFalse(os.path.exists(self.root + "/clash"), "one at a time")

    def test_a_lock_that_moves_is_waited_for(self):
        self.start("", folder=self.plain).status()
        with self.hold_lock():
            build = self.start(COORDINATED, folder=self.plain)
            for _ in range(12):
                time.sleep(0.5)
                os.utime(self.ledger + "/lock")
            self.assertIsNone(build.process.poll())
        self.assertEqual((build.status(), build.out), (0, b"slot=1\n"))

    def test_a_crowd_on_a_busy_machine_queues(self):
        busy = [subprocess.Popen(["sh", "-c", "while :; do :; done"]) for _ in range(8)]
        try:
            self.start_running("sleep 600", folder=self.plain)
            crowd = [self.start("true", folder=self.plain) for _ in range(60)]
            until(lambda: {build.pid for build in crowd} <= set(self.leases()), "all in the queue")
            self.assertEqual([build.process.poll() for build in crowd], [None] * len(crowd))
        finally:
            for loop in busy:
                loop.kill()
                loop.wait()

    def test_a_build_inside_a_build_that_scrubs_its_environment(self):
        inner = 'env -i HOME="$HOME" QUORVEL_BUILD_CORES=2 FAKE="echo inner" "$QUORVEL_QV" __build'
        outer = self.start(f'{inner} "$QUORVEL_BIN/cargo" build', folder=self.plain)
        self.assertEqual((outer.status(), outer.out), (0, b"inner\n"))


class Boot(builds.World):
    def start_elsewhere(self, command, script):
        """A build behind `unshare`; skips the test where that is not allowed."""
        if not shutil.which("unshare") or subprocess.run(["unshare", *command, "true"]).returncode:
            self.skipTest("no namespaces to be had")
        return self.start(script, folder=self.plain, before=["unshare", *command])

    def test_a_clock_that_is_stepped(self):
        running = self.start_running(gate("go"), folder=self.plain)
        with open("/proc/stat") as stat, open(self.root + "/stat", "w") as stepped:
            stepped.write(re.sub(r"(?m)^btime .*", "btime 1000000000", stat.read()))
        mount = f"mount --bind {self.root}/stat /proc/stat && exec \"$@\""
        late = self.start_elsewhere(["-m", "sh", "-c", mount, "sh"], COORDINATED)
        until(lambda: self.is_queued(late), "its place in the queue")
        self.assertTrue(self.is_running(running))
        earlier, later = [self.leases()[build.pid]["startTime"] for build in (running, late)]
        self.assertTrue(0 <= later - earlier < 60, "both count from one start of the system")
        self.touch("go")
        self.assertEqual((late.status(), late.out), (0, b"slot=1\n"))

    def test_processes_that_cannot_be_seen(self):
        running = self.start_running(gate("go"))
        command = ["-pf", "--mount-proc"]
        apart = self.start_elsewhere(command, COORDINATED)
        self.assertEqual((apart.status(), apart.out), (0, b"slot=\n"), "directly")
        self.assertEqual(set(self.leases()), {running.pid})
        os.utime(f"{self.ledger}/{running.pid}.json", (0, 0))
        apart = self.start_elsewhere(command, COORDINATED)
        self.assertEqual(apart.result(), (0, b"slot=1\n"), "nobody was there for a day")

    def test_leases_of_another_run_of_the_system(self):
        self.start_running(gate("go"))  # alive to all appearances
        if not self.change_mark(0, b"earlier"):
            self.skipTest("no marks on directories")
        seen = subprocess.check_output([builds.QV, "__builds"], env={"HOME": self.home})
        self.assertEqual(seen, b"No wrapped build runs or waits.\n")
        late = self.start(COORDINATED + gate("go"), folder=self.plain)
        until(lambda: late.out == b"slot=1\n", "its start beside the other")
        self.assertEqual((set(self.leases()), self.logs()), ({late.pid}, []))
        self.start_queued("true", folder=self.plain)  # behind it: it has moved in


if __name__ == "__main__":
    builds.main()
