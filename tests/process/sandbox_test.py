"""What a newcomer meets first is true: the demo's first pane plays in a fresh sandbox, the
practice board keeps its rules, and nothing of it stays behind."""
import os
import socket

import panes
from panes import BOARD

RULES = """\
$ qv task add ' '
A task needs a title: one line that says what it is.
$ qv task update --title x
Without a task id only --progress is kept, as your status. Name the task for anything else: \
`qv task update <task> ...`.
$ qv task add One --assignedRole writer
Filed T-1.
$ qv task add Two --waitsOn T-1
Filed T-2.
$ qv task comment T-1 --text ''
The comment is empty. Nothing was changed.
$ qv task update T-1 --summary ''
The summary is empty. Say in one or two sentences what came out of it, and how you know.
$ qv task claim T-1
T-1 is for the role writer. `qv board agents` lists who has it.
$ peer wait --since 3 | sed -n 3,4p
  - KQ3 routed T-1 to your role, writer.  [assigned · T-1]
    One
$ peer task claim T-1; peer task update T-1 --title Uno
Claimed T-1. The lease is 600s, and every command of yours renews it.
Updated T-1.
$ qv wait --since 5 | sed -n 3p
  - T-1 moved: SV6 changed the title.  [taskWatched · T-1]
$ peer task complete T-1 --summary Done; qv task claim T-2; qv task review T-2 --ofRole writer
Completed T-1.
Claimed T-2. The lease is 600s, and every command of yours renews it.
Asked SV6 to review T-2.
$ peer task verify T-2 --approve true; qv task list | grep T-2
Verdict on T-2: approved.
  T-2  CLAIMED    Two  held by 9e3779b1
$ qv squad suggest tester 'echo a | cat'; qv squad suggest tester 'echo -n' --reason speed
A helper is started by one simple command: no ;, pipes, redirects or $(.
Suggested tester. Nothing runs from this. The person decides; here that is you: `qv-sandbox person`.
$ qv-sandbox person | grep suggests; qv-sandbox person add tester 'echo {prompt} -n'
KQ3 suggests the helper tester: echo -n  (speed; `qv-sandbox person add tester` or `qv-sandbox person decline tester`)
Agents may start tester now: echo {prompt} -n
$ peer squad hands --taskID T-2; peer squad hands --taskID T-2 --agent tester; qv squad stop ZA9
Several helpers are allowed here. Say which one with --agent.
Started ZA9 ("tester") on T-2. You are woken with its result; read it, then `qv squad stop ZA9`.
ZA9 was asked for by SV6. Only whoever asked for it, or for its asker, and the person can stop it.
$ awaits 'ZA9.*stopped'; peer wait | grep ended; cat $QV_SANDBOX/helper-ZA9.log; qv-sandbox person stop ZA9
  - Your helper ZA9 has ended, with status 0.  [helperFinished]
You are a helper in a Quorvel Thread. This terminal is ZA9, and SV6 asked for you. Run `qv brief`, \
take your seat, and work T-2, which is handed to you. -n
Stopped ZA9.
$ for helper in tester practice; do qv-sandbox person remove $helper; done; qv squad assign T-2 SV6
Agents may not start tester any more.
Agents may not start practice any more.
Squad is off for this thread. It is on while the person has switched on a helper.
$ printf 'one\\ntwo\\n' | qv note create plan -; qv note milestone plan sent
Wrote "plan", r1.
r1 of "plan" is "sent".
$ qv note edit plan two $'2\\nthree' --why more; qv note history plan --milestone sent | sed 's/20.*Z  //'
Wrote "plan", r2.
r2  KQ3  more
Since r1:
@@ -2 +2 @@
-two
+2
+three
$ qv note lock plan --why agreed; peer note append plan four --why most; qv-sandbox person unlock plan
Locked "plan". Only the person can unlock it.
"plan" is locked (agreed). Only the person can unlock it.
Unlocked plan.
$ qv secret exec PRACTICE_API_KEY PRACTICE_DEPLOY_TOKEN --env PRACTICE_API_KEY -- sh -c \
'cat $1 $2; printenv PRACTICE_API_KEY' - {PRACTICE_API_KEY} {PRACTICE_DEPLOY_TOKEN} | grep -o made-up
made-up
made-up
made-up
$ qv task add Three; qv task watch T-3; peer task claim T-3; qv task claim T-3; qv task request-release T-3 --reason mine
Filed T-3.
You follow T-3.
Claimed T-3. The lease is 600s, and every command of yours renews it.
T-3 is held by SV6. Ask for it with `qv task request-release T-3`, or annotate it with `qv task comment T-3`.
Asked SV6 to release T-3.
$ peer wait | grep 'asks you'; peer task reject T-3 --reason stale; peer task delete T-2 --reason gone; qv task unwatch T-3
  - KQ3 asks you to release T-3.  [mentioned · T-3]
Rejected T-3.
Deleted T-2.
You no longer follow T-3.
$ qv board charter 'Be kind'; qv notebook create Guides; qv note create idea a; for verb in append update; do qv note $verb idea $verb --why so; done
The charter is set.
Working notes  1 note(s)  read and write
Guides  0 note(s)  read and write
Wrote "idea", r1.
Wrote "idea", r2.
Wrote "idea", r3.
$ qv note rename idea guide; qv note move guide Guides; qv notebook rename Guides Ideas; qv notebook delete Ideas; qv note read guide
Renamed to "guide".
Moved "guide" to "Guides".
Working notes  1 note(s)  read and write
Ideas  1 note(s)  read and write
"Ideas" is in use.
update
$ qv note delete guide; qv notebook delete Ideas; qv note read guide
Deleted "guide".
Working notes  1 note(s)  read and write
qv note read: no note by that name in this room. `qv note list` shows what is here.
"""


class Sandbox(panes.Panes):
    def test_the_first_pane_of_the_demo(self):
        out = self.run_pane("scripts/demo.sh --first-pane 2>&1")
        for line in ("Peers reach you as KQ3. It is this terminal's name here",
                     "\nT-2 is not ready: it waits on T-1.\n\n(thread T-sandbx)\n(exit status 4)\n",
                     "|   - KQ3 handed you T-2.  [assigned · T-2]\n",
                     "\n  T-2  DONE       Write the guide  → ",
                     "32 /dev/fd/3\n",
                     "| bridges: board up, notes up, vault up\n",
                     "1|     Finished build\n",
                     "2| quorvel: the same build is already running in this folder",
                     "2|     Finished build\n",
                     "3| quorvel: waiting for 1 other build to finish first",
                     "3|     Finished test\n"):
            self.assertIn(line, out)

    def test_rules_of_the_board(self):
        self.assertEqual(self.play(RULES), RULES)

    def test_build_tools_run_through_qv(self):
        os.mkdir(self.home + "/it's")
        with open(self.home + "/it's/go", "w") as tool:
            tool.write('#!/bin/sh\necho "$*, slot ${QUORVEL_BUILD_SLOT-none}"\n')
        os.chmod(tool.name, 0o755)
        self.env.update(PATH=f"{self.home}/it's:" + self.env["PATH"], QUORVEL_BUILD_MEMORY_OFF="1")
        self.assertEqual(self.run_pane("go build 'a b'; go env"),
                         "build a b, slot 1\nenv, slot none\n")

    def test_others_are_not_delayed_and_not_confused(self):
        first, second = (self.start("--", "sh", "-c", "echo; exec sleep 120") for _ in range(2))
        for pane in (first, second):
            self.assertEqual(pane.stdout.readline(), "\n")  # who is killed before leaves a mess
        out, err = self.start("person", "code").communicate()
        self.assertEqual((out, err.count("\n  QV_SANDBOX=" + self.home)), ("", 2), err)
        first.kill()
        self.until(lambda: len(self.instances()) == 1, "that the killed one is tidied up")
        slow = [socket.socket(socket.AF_UNIX) for _ in range(9)]
        for client in slow:
            client.connect(self.instances()[0] + BOARD)
            client.sendall(b'{"protocolVersion":')
        out, err = self.start("person", "code").communicate()
        self.assertRegex(out, r"^[0-9a-f]{4}-[0-9a-f]{4}\n$", err)
        for client in slow:
            client.setblocking(False)
            self.assertRaises(BlockingIOError, client.recv, 1)  # still being listened to
            client.close()
        second.kill()

    def test_a_home_that_is_too_long_or_shared(self):
        long = self.home + "/" + 70 * "x"
        out, err = self.start(HOME=long).communicate()
        self.assertEqual((out, err), ("", "qv-sandbox: the path of a socket would be too long in " +
                                      long + "/.cache. Set XDG_RUNTIME_DIR to a directory of your "
                                      "own with a short path.\n"))
        out, err = self.start("--", "sh", "-c", "echo $QV_SANDBOX", XDG_RUNTIME_DIR="/tmp",
                              XDG_CACHE_HOME=self.home + "/.cache", HOME=long).communicate()
        self.assertIn(self.home + "/.cache/qv-sandbox-", out, err)


if __name__ == "__main__":
    panes.main()
