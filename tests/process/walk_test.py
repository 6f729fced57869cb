"""The brief can be followed word for word: every command that it names is run by two panes, a
helper and the person, in the order in which an agent meets the situations."""
import re
import subprocess
import sys

import panes

QV = sys.argv[1]
WALK = """\
$ qv board register --role lead | sed -n 1p; qv board plan
Seat taken: KQ3 — KQ3 [9e3779b1], role lead, available.
This Thread has no goal yet.
nextStep: set the goal: `qv board goal "<what this board works toward>"`.
$ qv board goal 'Ship it'; qv board plan | sed -n 1,3p; qv wait --timeout 1 >/dev/null; echo $?
The goal is set.
Thread: Practice Thread
Goal: Ship it
Also here: 1 agent(s), 0 other device(s).
10
$ qv board agents | grep -c 'NOBODY HOME\\|^SQUAD: on\\|^HELPERS HERE.*: practice\\|0 of 20 helpers'
3
$ qv task add 'Read it' --body 'One pass.'; qv task list; qv board plan | tail -3
Filed T-1.
READY TO CLAIM
  T-1  OPEN       Read it
nextStep: `qv task claim T-1`.
$ qv task claim T-1; qv task update T-1 --progress 'worktree main: read half; next: the rest'
Claimed T-1. The lease is 600s, and every command of yours renews it.
Updated T-1.
$ qv task read T-1 | tail -9
One pass.
log:
  KQ3 filed it.
  KQ3 claimed it.
  KQ3: worktree main: read half; next: the rest
$ qv task complete T-1 --summary 'It is read; compared with the samples.'; qv task list
Completed T-1.
1 done — hidden. Pass --include all to list them.
$ (sleep 0.5; peer task add 'Write it') >/dev/null & qv wait | grep Write
  T-2  OPEN       Write it
$ qv wait --follow --since 6 --timeout 1
rev 9 · taskAdded · T-2
$ qv squad assign T-2 SV6; peer wait | sed -n 3p; qv squad message SV6 'Mind the gap.'
Handed T-2 to SV6. They are told.
  - KQ3 handed you T-2.  [assigned · T-2]
Left for SV6.
$ peer squad inbox; peer squad hands 'Help' 'Nothing.' --agent nobody; qv squad hands 'Test it' 'All.'
Notes for you:
  - KQ3: Mind the gap.
No helper called nobody is allowed here. `qv board agents` lists them.
Started ZA9 ("practice") on T-3. You are woken with its result; read it, then `qv squad stop ZA9`.
$ awaits 'ZA9.*idle between turns'; qv wait | grep 'ZA9\\|finished[.]'
  - T-3 moved: ZA9: Read the brief. Next: say so.  [taskWatched · T-3]
  - Work you asked for is finished.  [helperFinished · T-3]
  - Your helper ZA9 is free and waits for work.  [helperIdle]
$ qv squad stop ZA9; qv board agents | grep -c ZA9
Stopped ZA9.
0
$ peer task claim T-2; qv task comment T-2 --text 'Mind the gap.'; peer task complete T-2 --summary 'So.'
Claimed T-2. The lease is 600s, and every command of yours renews it.
Commented on T-2.
Completed T-2.
$ qv discuss open 'Is it good?' --taskID T-2; peer task list --json | grep -A4 oweReply
[D-1] OPEN  Is it good?
  on task T-2
    "oweReply": [
      {
        "counterpart": "KQ3",
        "discussionID": "D-1",
        "question": "Is it good?",
$ peer discuss reply D-1 'It is.' | grep SV6; qv discuss resolve D-1 'Good.' | grep RESOLVED:
  SV6: It is.
  RESOLVED: Good.
$ qv task add 'Choose'; qv task claim T-4 >/dev/null; qv task release T-4; qv task claim T-4 >/dev/null
Filed T-4.
Released T-4. It is back in the pool.
$ qv task update T-4 --blocked true --blockerKind decision \
--blockerQuestion 'Which one?' --blockerOptions 'a,b' --blockerConsequence 'It stays.'
Updated T-4.
$ qv-sandbox person | grep asks; qv-sandbox person answer T-4 Take b.; qv wait | grep -A1 answered
T-4 asks: Which one? [decision; one of a, b; until then: It stays.]  (`qv-sandbox person answer T-4 <text>`)
Answered T-4.
  - The person answered T-4: Take b.  [blockerAnswered · T-4]
    To go on: `qv task update T-4 --blocked false`.
$ qv task update T-4 --blocked false; qv task complete T-4 --summary 'Written, with b.'
Updated T-4.
Completed T-4.
$ qv secret exec PRACTICE_API_KEY -- wc -c {PRACTICE_API_KEY}
32 /dev/fd/3
$ qv-sandbox person move SV6 Annex; peer board plan | grep thread | tr '()' '<>'
SV6 is in Annex (T-sandb2) now.
<thread T-sandb2>
$ peer board register --role writer | sed -n 1p; peer task list; qv board agents | grep -c SV6
Seat taken: SV6 — SV6 [3c6ef362], role writer, available.
This Thread's backlog is empty.
0
$ qv board propose-complete | sed -n 1p; qv-sandbox person confirm >/dev/null; qv wait | grep complete
Proposed. The person confirms it; here that is you: `qv-sandbox person confirm`.
The goal is complete.
$ qv board unregister; (sleep 0.5; qv-sandbox person reopen) >/dev/null & qv wait --stand-down | sed s/.*C/C/
You have left the board.
Changes: goalReopened.
"""


def calls(text):
    """The commands that the text names, each with its flags."""
    found = re.findall(r"\bqv ([a-z][a-z-]*(?: [a-z][a-z-]*)?)([^`;|\n]*)", text)
    return [(verb, set(re.findall(r"--[A-Za-z-]+", rest))) for verb, rest in found]


class Walk(panes.Panes):
    def test_every_command_of_the_brief(self):
        brief = subprocess.run([QV, "brief"], text=True, capture_output=True, check=True).stdout
        walked = calls(WALK.replace("peer ", "qv "))
        self.assertGreater(len(calls(brief)), 20)
        for verb, flags in calls(brief):
            self.assertTrue(any(verb == other and flags <= given for other, given in walked),
                            f"qv {verb} {' '.join(flags)}")
        self.assertEqual(self.play(WALK), WALK)


if __name__ == "__main__":
    panes.main()
