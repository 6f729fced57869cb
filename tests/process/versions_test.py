"""This program and the one of an earlier commit (scripts/earlier.sh) over one ledger."""
import os

import builds
from builds import gate

EARLIER = os.path.join(os.path.dirname(__file__), "../../build/earlier/qv")


class Versions(builds.World):
    def test_both_keep_to_one_queue(self):
        if not os.path.exists(EARLIER):
            self.skipTest("no earlier program; scripts/earlier.sh builds it")
        now, before = builds.QV, os.path.abspath(EARLIER)
        self.addCleanup(setattr, builds, "QV", now)
        for first, second in ((now, before), (before, now)):
            script = gate("go") + "echo shared; exit 3"
            builds.QV = first
            leader = self.start_running(script, prepare=self.on_two_cores)
            builds.QV = second
            follower = self.start_following(script)
            queue = []
            for builds.QV in (first, second, first):
                queue.append(self.start_queued("echo $$ >>../order", folder=self.plain,
                                               prepare=self.on_two_cores))
            builds.QV = second
            stopped = self.start_queued("true", folder=self.plain, prepare=self.on_two_cores)
            stopped.process.kill()
            stopped.process.wait()
            self.assertEqual(set(self.leases()) - {stopped.pid}, {leader.pid, *(b.pid for b in queue)})
            self.touch("go")
            self.assertEqual([b.status() for b in (leader, follower, *queue)], [3, 3, 0, 0, 0])
            self.assertEqual((leader.out, follower.out), (b"shared\n", b"shared\n"))
            with open(self.root + "/order") as file:
                self.assertEqual([int(line) for line in file], [build.pid for build in queue])
            for name in ("go", "order"):
                os.unlink(f"{self.root}/{name}")
            self.start("").status()
            self.assert_ledger_is_clean()

    @staticmethod
    def on_two_cores():
        """The earlier program knows no other way to count less than there are."""
        if hasattr(os, "sched_setaffinity"):
            os.sched_setaffinity(0, sorted(os.sched_getaffinity(0))[:2])


if __name__ == "__main__":
    builds.main()
