// What the doctor says of made-up facts.

#include <gtest/gtest.h>

#include <cerrno>

#include "doctor/report.h"

namespace qv::doctor {
namespace {

TEST(Doctor, ShowsEachFactAndWhatToDo) {
  const File gone{.path = "/a/gone"};
  const File token{
      .path = "/a/b.token", .exists = true, .mode = "0644", .length = 1, .ageSeconds = 9};
  const File unreadable{.path = "/a/c.token", .exists = true, .error = "Permission denied"};
  Report report{.program = {"1.0", "abc", "g++ 12", "musl", "x86_64-linux"},
                .pane = {"P\n1", unreadable, "/a/mcp-1.sock", token, 7},
                .bridges = {{.name = "board",
                             .candidates = {{.socket = "/a/b.sock",
                                             .origin = bridge::Origin::seat,
                                             .used = true,
                                             .exists = true,
                                             .pathLength = 9,
                                             .pathLimit = 103,
                                             .process = 11,
                                             .program = "app",
                                             .user = 501,
                                             .answers = true,
                                             .microseconds = 12345,
                                             .kind = "gated",
                                             .token = token},
                                            {.socket = "/a/x.sock",
                                             .origin = bridge::Origin::search,
                                             .pathLength = 1,
                                             .pathLimit = 1,
                                             .answers = true,
                                             .token = gone}}},
                            {.name = "notes",
                             .candidates = {{.socket = "/a/c.sock",
                                             .origin = bridge::Origin::variable,
                                             .used = true,
                                             .exists = true,
                                             .user = 502,
                                             .errorNumber = EACCES,
                                             .error = "Permission denied",
                                             .token = unreadable}}},
                            {.name = "vault"}},
                .ledger = {.folder = {.path = "/l", .exists = true, .mode = "0700"},
                           .lock = {.ageSeconds = 5},
                           .lockHeld = true,
                           .orphans = {"logs/1.log", "2.json"}}};
  report.ledger.queue.machine = {.cores = 1, .jobBudget = 1};
  report.advice = advice(report);
  EXPECT_EQ(render(report), R"(qv 1.0, commit abc
g++ 12, musl, x86_64-linux

PANE
  session  P 1
  seat     /a/c.token, not readable: Permission denied
           names /a/mcp-1.sock
  record   /a/b.token, mode 0644, 1 byte, changed 9s ago
           has seen rev 7

BOARD
  socket   /a/b.sock
           named by the seat file, used, 9 of at most 103 bytes
  listener process 11 (app) of user 501
  answer   `gated` after 12.3 ms
  token    /a/b.token, mode 0644, 1 byte, changed 9s ago
  socket   /a/x.sock, not there
           found by searching, not used, 1 of at most 1 byte
  answer   can be connected to
  token    /a/gone, not there

NOTES
  socket   /a/c.sock
           named by its variable, used, 0 of at most 0 bytes
  listener a process that cannot be seen from here of user 502
  answer   Permission denied
  token    /a/c.token, not readable: Permission denied

VAULT
  No socket was found.

BUILDS
  ledger   /l, mode 0700
  lock     held by a process that is not told
  orphans  logs/1.log, 2.json, which the next build removes
  machine  1 core, 0 of 1 jobs in use. Memory: pressure normal.

WHAT TO DO
  - The board bridge answers, but refuses this terminal: `qv board agents` says why.
  - The board token file /a/b.token can be used by others: `chmod 600` it.
  - The notes socket /a/c.sock is served by another user (uid 502) and is not talked to. Ask that user, or unset what names it.
  - The notes token file /a/c.token cannot be read: Permission denied. Mend its owner and mode.
  - The ledger's lock has been held for 5s, and builds go on without it: look for a build that hangs.)");
}

TEST(Doctor, KnowsWhatToDoAboutEachFault) {
  const auto used_board = [](Candidate candidate) {
    candidate.socket = "/b.sock";
    candidate.used = true;
    return std::vector<Bridge>{{.name = "board", .candidates = {std::move(candidate)}}};
  };
  const File there{.path = "/f", .exists = true};
  const Pane pane{.sessionID = "P"};
  const auto live = used_board({.answers = true, .tokenInVariable = 1});
  const auto with_pane = [&](Pane one) {
    one.sessionID = "P";
    return Report{.pane = std::move(one), .bridges = live};
  };
  const auto with_token = [&](File token) {
    return Report{.pane = pane,
                  .bridges = used_board({.answers = true, .token = std::move(token)})};
  };
  const struct {
    Report report;
    const char* advice;
  } rows[] = {
      {{.pane = pane, .bridges = {{.name = "board"}}},
       "Nothing points to an app that runs: start it, and run qv in one of its panes. To practise "
       "without it, run `qv-sandbox`."},
      {{.pane = pane,
        .bridges = used_board({.errorNumber = EIO, .error = "Input error", .tokenInVariable = 1})},
       "The board socket /b.sock cannot be talked to: Input error."},
      {with_token({.path = "/f"}),
       "The board token file /f is not there, so requests carry no token. Start the app again."},
      {with_token({.path = "/f", .exists = true, .mode = "0600", .length = 0}),
       "The board token file /f is empty, so requests carry no token. Start the app again."},
      {{.bridges = live},
       "QUORVEL_SESSION_ID is not set, so this terminal is no pane of a Thread: run qv in a pane "
       "of the app."},
      {with_pane({.seatFile = there}),
       "The seat file /f names no socket: take the seat again with `qv join <code>`."},
      {with_pane({.record = File{.path = "/f", .exists = true, .error = "Input error"}}),
       "The pane's record /f cannot be read: Input error. Mend its owner and mode."},
      {with_pane({.record = there}),
       "The pane's record /f cannot be made sense of: remove it, and the next wait starts anew."},
      {{.pane = pane, .bridges = live, .ledger = {.problem = "/l is no folder."}},
       "Builds are not coordinated here: /l is no folder."},
  };
  for (const auto& [report, words] : rows) {
    EXPECT_EQ(advice(report), std::vector<std::string>{words});
  }
}

}  // namespace
}  // namespace qv::doctor
