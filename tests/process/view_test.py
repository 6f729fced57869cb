"""What `qv __builds` shows while builds run and wait."""
import json
import os
import shutil
import subprocess

import builds
from builds import gate, until


class Builds(builds.World):
    def look(self, *arguments, **options):
        """A look at the queue with these arguments; status, output and complaints."""
        done = subprocess.run([builds.QV, "__builds", *arguments], capture_output=True, text=True,
                              env={"HOME": self.home, "QUORVEL_BUILD_CORES": "2"}, timeout=60, **options)
        return done.returncode, done.stdout, done.stderr

    def test_builds_that_run_and_wait(self):
        nothing = "No wrapped build runs or waits.\n"
        shutil.rmtree(self.ledger)
        self.assertEqual(self.look(), (0, nothing, ""))
        self.assertFalse(os.path.exists(self.ledger))
        watch = subprocess.Popen([builds.QV, "__builds", "--watch", "--json"], text=True,
                                 stdout=subprocess.PIPE, env={"HOME": self.home})
        self.addCleanup(watch.kill)
        self.assertEqual(json.loads(watch.stdout.readline())["builds"], [])
        keyed = self.start_running(gate("go"), tool="go", arguments=("vet",))
        cores = self.leases()[keyed.pid]["jobs"]
        waiting = self.start_queued("true", folder=self.plain)
        found = json.loads(self.look("--json")[1])
        for build in found["builds"]:
            self.assertLess(build.pop("ageSeconds"), 600)
            self.assertIn(build.pop("waitsFor", ""), "cores memory")
        shown = {"running": True, "focused": False, "stopped": False, "jobs": cores}
        self.assertEqual(found["builds"], [
            {**shown, "pid": keyed.pid, "tool": "go", "subcommand": "vet", "folder": self.repo},
            {**shown, "pid": waiting.pid, "tool": "cargo", "subcommand": "build", "jobs": 0,
             "folder": self.plain, "running": False, "ahead": 1}])
        self.assertEqual(found["machine"]["jobsInUse"], cores)
        status, prose, _ = self.look()
        self.assertEqual(status, 0)
        self.assertRegex(prose, rf"(?s)^RUNNING\n  {keyed.pid} .*\n\nWAITING\n  {waiting.pid} ")
        until(lambda: "cargo" in watch.stdout.readline(), "a line about the second build")
        self.touch("go")
        waiting.status()
        until(lambda: self.look()[1] == nothing, "an empty queue")
        until(lambda: json.loads(watch.stdout.readline())["builds"] == [], "a line about its end")
        watch.stdout.close()
        self.assertEqual(watch.wait(60), 3, "nobody looks any more")
        with open(self.ledger + "/1.json", "w") as lease:
            json.dump({"pid": 2**22 + 5, "startTime": 1, "running": True, "jobs": 1,
                       "focused": False, "queuedAt": 1}, lease)
        self.assertEqual(self.look(), (0, nothing, ""))
        self.assertTrue(os.path.exists(self.ledger + "/1.json"), "nothing is tidied up")

    def test_what_cannot_be_shown(self):
        if self.change_mark(1, b"0"):  # as from another namespace
            self.assertEqual(self.look(), (
                3, "", f"qv __builds: the builds in {self.ledger} cannot be seen from here.\n"))
        shutil.rmtree(self.ledger)
        self.touch("home/Library/Application Support/Quorvel/builds")
        self.assertEqual(self.look("--watch"), (
            3, "", f"qv __builds: {self.ledger} cannot be read: Not a directory.\n"))
        status, _, complaint = self.look("--wacht")
        self.assertEqual((status, complaint), (
            2, 'qv __builds: unknown argument "--wacht". Run `qv __builds --help`.\n'))


if __name__ == "__main__":
    builds.main()
