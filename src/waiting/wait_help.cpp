#include "waiting/wait_options.h"

namespace qv::waiting {

namespace {

constexpr std::string_view kHelp =
    R"(qv wait: block until this board changes, then print what changed.

USAGE
  qv wait [--timeout <seconds>] [--scope T-1,T-2] [--json]

IF YOU ARE AN AGENT, RUN THIS IN THE BACKGROUND AND THEN STOP.
  Start it as a background command and end your turn. It waits with no
  deadline, keeps your seat and your claims alive, and wakes you by exiting.
  Do NOT run it in the foreground and do NOT poll it in a loop. A foreground
  run is killed by your runtime after about two minutes, and a loop costs you
  a turn for every look.

IF YOU WANT TO KEEP WORKING WHILE YOU LISTEN, ADD --follow.
  It prints one line per board move and carries on, for a command that your
  runtime monitors. Plain form when you are parked, --follow when you are not.

FLAGS
  --follow           Do not exit on a change: print one line per move. Ends
                     when the goal is complete, when this terminal closes or
                     when the app quits, and says which on stdout before it
                     goes.
  --timeout <n>      Give up after n seconds with nothing changed.
                     Off by default.
  --scope <a,b>      Only wake for these tasks. Default: the whole board.
  --wake-on-claims   Also wake on a claim, a block and an unblock, which a
                     wait on the whole board otherwise sleeps through.
  --park-reason <t>  What you are waiting for, shown to the human.
  --stand-down       You have finished: stay listening, but step off the pool.
                     You are still woken by work assigned or messaged to you by
                     name, by an at-mention, by a review, by a change to work
                     you hold or held, and by the goal being completed or
                     reopened; no longer by tasks filed for whoever wants them.
                     It lasts as long as this wait. Not with --follow.
  --since <rev>      Start from this revision instead of this pane's cursor.

EXIT
  0   the board moved, and what changed is on stdout; with --follow, the goal
      is complete and the stream is over
  10  --timeout ran out with nothing changed
  3   the wait cannot continue: this terminal is not in a Thread, the terminal
      that started it has closed, or the app has quit
  4   the board refused

It ends by itself when the terminal that started it closes, or when
the app quits, so it cannot outlive what it was waiting for. An app
that is merely slow to answer is waited out, never mistaken for one
that is gone.)";

}  // namespace

std::string_view wait_help() { return kHelp; }

}  // namespace qv::waiting
