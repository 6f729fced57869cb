"""Builds start all the time and are killed at random; the others must not notice.

Usage: chaos.py QV [SECONDS [SEED]]. Every build that was left alone has to end with its
tool's status and all of its output, none may wait more than two seconds for a dead one,
and in the end the ledger has to be empty.
"""
import os
import random
import signal
import sys
import time

import builds

SECONDS = float(sys.argv.pop(2)) if len(sys.argv) > 2 else 8
SEED = int(sys.argv.pop(2)) if len(sys.argv) > 2 else random.randrange(1 << 32)
ALIVE = 24  # builds at a time
LONGEST_WAIT = 2.0

# Each tool writes numbered lines with pauses, so that it can be killed between any two.
KINDS = [(lines, pause, status) for lines in (3, 25) for pause in (0.01, 0.04) for status in (0, 2)]


def script(lines, pause, status):
    return (f"i=0; while [ $i -lt {lines} ]; do echo line $i; echo error $i >&2; "
            f"i=$((i+1)); sleep {pause}; done; exit {status}")


def expected(lines):
    return "".join(f"line {i}\n" for i in range(lines)).encode()


class Chaos(builds.World):
    def test_chaos(self):
        print(f"seed {SEED}, {SECONDS:.0f} s", flush=True)
        self.random = random.Random(SEED)
        self.count = {"whole": 0, "followed": 0, "rebuilt": 0, "killed": 0, "stopped": 0}
        self.worst_wait, self.idle_since = 0.0, None
        self.focus()
        end = time.monotonic() + SECONDS
        while self.builds or time.monotonic() < end:
            if time.monotonic() < end and len(self.builds) < ALIVE:
                self.launch()
            self.step()
            time.sleep(0.01)
            self.assertLess(time.monotonic(), end + builds.GIVE_UP_AFTER, "builds that never end")
        print(self.count, f"longest wait for a dead build {self.worst_wait:.2f} s", flush=True)
        self.run_empty_build()
        self.assert_ledger_is_clean()
        self.assertTrue(self.count["whole"] and self.count["killed"], "nothing was tried")
        if SECONDS >= 60:
            self.assertTrue(all(self.count.values()), "a kind of event never happened")

    def launch(self):
        kind = self.random.choice(KINDS)
        session = builds.FOCUSED if self.random.random() < 0.4 else {}
        folder = self.repo if self.random.random() < 0.8 else self.plain
        build = self.start(script(*kind), folder=folder, env=session)
        build.kind, build.fate, build.hit = kind, None, False
        choice = self.random.random()
        if choice < 0.45:
            build.fate = self.random.choice(
                [signal.SIGKILL] * 3 + [signal.SIGTERM, signal.SIGINT, signal.SIGSTOP])
        soon = self.random.random() < 0.3
        build.due = time.monotonic() + self.random.uniform(0, 0.08 if soon else 2.5)

    def step(self):
        now = time.monotonic()
        for build in list(self.builds):
            if build.process.poll() is not None:
                self.judge(build)
            elif build.fate and now >= build.due:
                self.strike(build, now)
        self.watch_the_queue(now)

    def strike(self, build, now):
        build.process.send_signal(build.fate)
        build.hit = build.fate != signal.SIGSTOP
        if build.fate == signal.SIGSTOP:  # a short nap, perhaps with the lock in hand
            build.fate, build.due = signal.SIGCONT, now + 0.3
        elif build.fate == signal.SIGCONT:
            build.fate, build.hit = None, False
        else:
            build.fate = None

    def judge(self, build):
        self.builds.remove(build)
        lines, _, status = build.kind
        whole, out = expected(lines), build.out
        if build.hit:
            self.count["killed" if build.process.returncode == -signal.SIGKILL else "stopped"] += 1
        else:
            self.assertEqual(build.process.returncode, status, build.err)
            self.assertTrue(out.endswith(whole), (out, build.err))
            rest = out[:-len(whole)]
            rebuilt = build.said("that build was stopped before it finished")
            self.assertTrue(whole.startswith(rest) if rebuilt else rest == b"", (out, build.err))
            followed = build.said("the same build is already running")
            self.count["rebuilt" if rebuilt else "followed" if followed else "whole"] += 1
        build.end()

    def watch_the_queue(self, now):
        """Somebody queues and nobody that lives runs: how long does that last?"""
        alive = {build.pid for build in self.builds if build.process.poll() is None}
        napping = any(build.fate == signal.SIGCONT for build in self.builds)
        states = [lease["running"] for pid, lease in self.leases().items() if pid in alive]
        if napping or not states or any(states):
            self.idle_since = None
            return
        self.idle_since = self.idle_since or now
        self.worst_wait = max(self.worst_wait, now - self.idle_since)
        self.assertLess(self.worst_wait, LONGEST_WAIT, "a build waits for nobody")


if __name__ == "__main__":
    builds.main()
