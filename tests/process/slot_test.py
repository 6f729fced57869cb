"""Which builds are coordinated, and what becomes of a tool that cannot start."""
import os
import re
import signal

import builds
from builds import gate

TELL = 'echo "slot=$QUORVEL_BUILD_SLOT jobs=$CARGO_BUILD_JOBS arguments=$*"'


class Slot(builds.World):
    def test_only_builds_of_known_tools_are_coordinated(self):
        rows = [  # tool, arguments, variables, coordinated
            ("cargo", ["build"], {}, True),
            ("go", ["vet"], {}, True),
            ("swift", ["test"], {}, True),
            ("xcodebuild", ["-scheme", "A B", "build"], {}, True),
            ("cargo", ["build"], {"QUORVEL_BUILD_SLOT_OFF": "true"}, True),
            ("cargo", ["build"], {"QUORVEL_BUILD_SLOT_OFF": "0"}, True),
            ("cargo", ["build"], {"QUORVEL_BUILD_SLOT_OFF": "1"}, False),
            ("cargo", ["build"], {"QUORVEL_BUILD_SLOT": ""}, False),
            ("cargo", ["fmt"], {}, False),
            ("make", ["build"], {}, False),
            ("xcodebuild", ["build", "-jobs", "3"], {}, False),
        ]
        for tool, arguments, variables, coordinated in rows:
            with self.subTest(tool=tool, arguments=arguments, variables=variables):
                build = self.start(TELL, tool=tool, arguments=arguments,
                                   env={"QUORVEL_BUILD_CORES": "", **variables})
                self.assertEqual(build.status(), 0)
                slot = "1" if coordinated else ""
                self.assertEqual(build.out.decode(),
                                 f"slot={slot} jobs= arguments={' '.join(arguments)}\n")
                self.assertEqual(build.err, b"")

    def test_cores_the_user_keeps_are_kept_from_an_unrestricted_build(self):
        whole = self.start_running(gate("go"), env={"QUORVEL_BUILD_CORES": "0"})
        cores = self.leases()[whole.pid]["jobs"]
        self.touch("go")
        self.assertEqual((whole.status(), whole.err), (0, b""))
        build = self.start(TELL, env={"QUORVEL_BUILD_CORES": "1"})
        jobs = "1" if cores > 1 else ""
        self.assertEqual((build.status(), build.out.decode(), build.err),
                         (0, f"slot=1 jobs={jobs} arguments=build\n", b""))

    def test_the_status_is_the_tools(self):
        for folder in (self.repo, self.plain):
            for status in (0, 1, 101, 255):
                self.assertEqual(self.start(f"exit {status}", folder=folder).status(), status)
        self.run_empty_build()
        self.assert_ledger_is_clean()

    def test_a_tool_that_cannot_start(self):
        open(self.bin + "/go", "w").close()
        os.chmod(self.bin + "/go", 0o644)
        for arguments in (["build"], ["version"]):  # coordinated, and directly
            for folder in (self.repo, self.plain):
                for tool, status, why in ((self.bin + "/no/go", 127, "No such file or directory"),
                                          (self.bin + "/go", 126, "Permission denied")):
                    build = self.start("", tool=tool, arguments=arguments, folder=folder)
                    self.assertEqual(build.status(), status)
                    self.assertEqual(build.err.decode(), f"{tool}: {why}\n")
        self.assert_ledger_is_clean()

    def test_a_build_inside_a_build_does_not_queue(self):
        inner = 'FAKE="echo inner" "$QUORVEL_QV" __build "$QUORVEL_BIN/cargo" build; exit $?'
        self.assertEqual(self.start(inner).result(), (0, b"inner\n"))

    def test_without_a_ledger_the_tool_runs_directly(self):
        os.chmod(self.ledger, 0o777)
        self.assertEqual(self.start(TELL).result(), (0, b"slot= jobs= arguments=build\n"))

    def test_builds_that_cannot_be_seen_keep_their_ledger_for_a_day(self):
        if not self.change_mark(1, b"0"):  # as from another namespace
            self.skipTest("no marks")
        lease = self.ledger + "/2.json"
        open(lease, "w").close()
        self.assertEqual(self.start(TELL).result(), (0, b"slot= jobs= arguments=build\n"))
        os.utime(lease, (1, 1))
        self.assertEqual(self.start(TELL).result(), (0, b"slot=1 jobs= arguments=build\n"))

    def test_the_tool_inherits_what_the_caller_had(self):
        """Descriptors and signals are those of a tool that was started directly."""
        look = "grep -E 'Sig(Blk|Ign)' /proc/self/status; ls /proc/self/fd; pwd; umask"

        def odd_caller():
            signal.signal(signal.SIGHUP, signal.SIG_IGN)
            signal.signal(signal.SIGPIPE, signal.SIG_IGN)
            signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGUSR1, signal.SIGINT])
            os.umask(0o027)

        if not os.path.isdir("/proc/self/fd"):
            self.skipTest("no /proc")
        for prepare in (None, odd_caller):
            for folder in (self.repo, self.plain):
                seen = [self.start(look, folder=folder, prepare=prepare, env=variables)
                        for variables in ({}, {"QUORVEL_BUILD_SLOT": "1"})]
                self.assertEqual([build.status() for build in seen], [0, 0])
                self.assertEqual(*[self.without_internal_signals(build.out) for build in seen])

    @staticmethod
    def without_internal_signals(text):
        """The C library keeps the signals from 32 on for itself."""
        return re.sub(rb"(?<=\t)[0-9a-f]{16}", lambda mask: b"%x" % (int(mask[0], 16) % 2**31), text)


if __name__ == "__main__":
    builds.main()
