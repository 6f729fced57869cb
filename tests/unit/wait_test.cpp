#include <deque>

#include "base/text.h"
#include "support.h"
#include "waiting/wait_loop.h"
#include "waiting/wait_output.h"

namespace qv::waiting {
namespace {

// A world whose clock only moves when the wait sleeps or an exchange takes its time. It
// keeps a journal of everything the wait did.
class ScriptedWorld : public WaitWorld {
 public:
  struct Answer {
    std::string reply;  // empty: none
    double takes = 0;   // seconds
  };

  std::deque<Answer> polls;    // answers to poll_changes; once they are used up, `ending` comes
  double heartbeat_takes = 0;  // seconds
  double wall_offset = 0;      // seconds the wall clock was set ahead by
  std::int64_t stored_cursor = 5;
  std::function<void(ScriptedWorld&)> before_poll = [](ScriptedWorld&) {};
  bool parent_gone = false;
  bool reader_gone = false;
  bool socket = true;
  bool output_full = false;
  std::vector<double> patience;  // of every exchange, in seconds
  std::vector<std::string> journal;

  double monotonic() override { return now_; }
  double wall_clock() override { return 1e9 + now_ + wall_offset; }
  void sleep(double seconds) override { note("sleep " + tenths(seconds)), now_ += seconds; }
  bool parent_has_gone() override { return parent_gone; }
  bool reader_has_gone() override { return reader_gone; }
  bool socket_exists() override { return socket; }
  std::optional<std::string> exchange(const TeamworkRequest& request, double seconds) override {
    patience.push_back(seconds);
    if (request.method == "heartbeat") {
      note("heartbeat@" + tenths(now_) + (*request.standDown ? " down" : "") +
           (request.status ? " " + *request.status : ""));
      now_ += heartbeat_takes;
      return std::nullopt;
    }
    before_poll(*this);
    note("poll@" + tenths(now_) + " since " + std::to_string(*request.sinceRev) + " hold " +
         (request.holdMs ? std::to_string(*request.holdMs) : "none") +
         (request.taskIDs ? " scope " + text::joined(*request.taskIDs, ",") : "") +
         (request.wakeOnStateChanges ? " claims" : ""));
    if (polls.empty()) {
      parent_gone = true;
      return std::nullopt;
    }
    const Answer answer = polls.front();
    polls.pop_front();
    now_ += answer.takes;
    return answer.reply.empty() ? std::nullopt : std::optional(answer.reply);
  }
  std::int64_t cursor() override { return stored_cursor; }
  void save_cursor(std::int64_t rev) override { note("save " + std::to_string(rev)); }
  bool out(std::string_view text) override {
    note("out " + std::string(text));
    return !output_full;
  }
  void err(std::string_view text) override { note("err " + std::string(text.substr(0, 24))); }

  void advance(double seconds) { now_ += seconds; }

 private:
  static std::string tenths(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", seconds);
    return text;
  }
  void note(std::string line) { journal.push_back(std::move(line)); }

  double now_ = 100;
};

std::string feed(std::int64_t rev, const std::string& more) {
  return R"({"kind":"changes","changes":{"goal":"","pendingGoalComplete":false,"changeKinds":[],)"
         R"("tasks":[],"rev":)" +
         std::to_string(rev) + "," + more + "}}";
}
const std::string kQuiet = R"("changed":false,"goalComplete":false)";
const std::string kMoved = R"("changed":true,"goalComplete":false)";

using Journal = std::vector<std::string>;

TEST(Wait, HoldsUntilTheNextHeartbeatAndPacesItself) {
  ScriptedWorld world;
  world.polls = {{feed(6, kQuiet), 20}, {feed(6, kQuiet), 0.1}, {feed(7, kMoved), 3}};
  EXPECT_EQ(wait({.stand_down = true, .park_reason = "r"}, world), ExitCode::ok);
  EXPECT_EQ(
      world.journal,
      (Journal{"heartbeat@100.0 down r", "poll@100.0 since 5 hold 20000", "save 6",
               "heartbeat@120.0 down r", "poll@120.0 since 6 hold 20000", "save 6", "sleep 0.4",
               "poll@120.5 since 6 hold 19500", "out Board moved to rev 7.", "save 7"}));
}

TEST(Wait, AFreshPanePollsWithoutAHoldAndPrimesItsCursor) {
  ScriptedWorld world;
  world.stored_cursor = 0;
  world.polls = {{feed(3, kQuiet), 0}, {feed(4, kMoved), 0}};
  EXPECT_EQ(wait({.wake_on_claims = true, .scope = {{"T-1", "T-2"}}}, world), ExitCode::ok);
  EXPECT_EQ(world.journal[1], "poll@100.0 since 0 hold none scope T-1,T-2 claims");
  EXPECT_EQ(world.journal[4], "poll@100.5 since 3 hold 19500 scope T-1,T-2 claims");
}

TEST(Wait, RetriesWhatIsNoAnswerAndKeepsItsCursor) {
  ScriptedWorld world;
  world.heartbeat_takes = 40;  // a bridge that stalls
  world.polls = {{"", 40},
                 {"garbage", 0},
                 {R"({"kind":"changes"})", 0},
                 {R"({"kind":"plan"})", 2},
                 {feed(-9, kMoved), 0}};
  EXPECT_EQ(wait({.follow = true, .since = -3}, world), ExitCode::unavailable);
  EXPECT_EQ(
      world.journal,
      (Journal{"heartbeat@100.0", "poll@140.0 since -3 hold none", "sleep 1.0", "heartbeat@181.0",
               "poll@221.0 since -3 hold none", "sleep 1.0", "poll@222.0 since -3 hold none",
               "sleep 0.5", "poll@222.5 since -3 hold none", "poll@224.5 since -3 hold none",
               "out rev -9", "save -9", "sleep 0.5", "poll@225.0 since -9 hold none", "sleep 1.0",
               "out " + std::string(kOrphaned)}));
}

TEST(Wait, TheEndingThatWins) {
  struct {
    const char* what;
    WaitOptions options;
    std::function<void(ScriptedWorld&)> before_poll;
    ExitCode expected;
    std::string last;
  } const kCases[] = {
      {"parent before app and time",
       {.timeout_seconds = 1},
       [](ScriptedWorld& w) { w.parent_gone = true, w.socket = false, w.advance(100); },
       ExitCode::unavailable,
       "err qv wait, from Quorvel an"},
      {"time",
       {.timeout_seconds = 30},
       [](ScriptedWorld& w) { w.advance(20); },
       ExitCode::unchanged,
       "out " + timed_out(30, 5)},
      {"time, for a script",
       {.json = true, .timeout_seconds = 30},
       [](ScriptedWorld& w) { w.advance(20); },
       ExitCode::unchanged,
       "sleep 1.0"},
      {"time, on a stream",
       {.json = true, .follow = true, .timeout_seconds = 1},
       [](ScriptedWorld& w) { w.advance(2); },
       ExitCode::unchanged,
       "out {\"ending\":\"timedOut\",\"message\":\"" + timed_out(1, 5) + "\"}"},
      {"a monitor that died",
       {.follow = true},
       [](ScriptedWorld& w) { w.reader_gone = true; },
       ExitCode::unavailable,
       "sleep 1.0"},
  };
  for (const auto& row : kCases) {
    ScriptedWorld world;
    world.polls.assign(100, {});
    world.before_poll = row.before_poll;
    EXPECT_EQ(wait(row.options, world), row.expected) << row.what;
    EXPECT_EQ(world.journal.back(), row.last) << row.what;
  }
}

TEST(Wait, OnlyASocketMissingForAMinuteMeansTheAppIsGone) {
  ScriptedWorld world;
  world.polls.assign(200, {});
  int polls = 0;
  world.before_poll = [&](ScriptedWorld& w) { w.socket = ++polls == 50; };
  EXPECT_EQ(wait({.json = true, .follow = true}, world), ExitCode::unavailable);
  EXPECT_EQ(world.journal.back(), "out " + ending_line(Ending::appGone, kAppGone));
  EXPECT_EQ(polls, 50 + 61) << "the socket came back once, and the count began anew";
}

TEST(Wait, ADeadlineIsOnTheWallClockAndHeartbeatsAreNot) {
  ScriptedWorld set_ahead;
  set_ahead.polls.assign(3, {feed(6, kQuiet), 1});
  set_ahead.before_poll = [](ScriptedWorld& w) { w.wall_offset = 3600; };
  EXPECT_EQ(wait({.json = true, .timeout_seconds = 60}, set_ahead), ExitCode::unchanged);
  EXPECT_EQ(set_ahead.journal,
            (Journal{"heartbeat@100.0", "poll@100.0 since 5 hold 20000", "save 6"}));

  ScriptedWorld slept;  // an hour, in the middle of a poll
  slept.polls = {{feed(6, kQuiet), 3600}, {feed(7, kMoved), 1}};
  EXPECT_EQ(wait({.json = false}, slept), ExitCode::ok);
  EXPECT_EQ(slept.journal, (Journal{"heartbeat@100.0", "poll@100.0 since 5 hold 20000", "save 6",
                                    "heartbeat@3700.0", "poll@3700.0 since 6 hold 20000",
                                    "out Board moved to rev 7.", "save 7"}));
}

TEST(Wait, WhatTheBoardSaysEndsIt) {
  struct {
    std::string reply;
    bool follow;
    ExitCode expected;
    Journal end;
    bool output_full = false;
  } const kCases[] = {
      {R"({"kind":"gated"})", true, ExitCode::refused, {"out qv wait: the board ended this wait."}},
      {R"({"kind":"error","message":"no"})", false, ExitCode::refused, {"err no"}},
      {R"({"kind":"gated","message":"caller is not attributable to a live pane"})",
       true,
       ExitCode::unavailable,
       {"out " + std::string(kOrphaned)}},
      {R"({"kind":"empty"})",
       true,
       ExitCode::unavailable,
       {"out qv wait: this terminal is not in a Thread."}},
      {feed(9, R"("changed":false,"goalComplete":true)"),
       true,
       ExitCode::ok,
       {"out rev 9 · THE GOAL IS COMPLETE", "save 9"}},
      {feed(9, kQuiet + R"(,"wakeReasons":[{"kind":"assigned"}])"),
       false,
       ExitCode::ok,
       {"out Nothing changed (rev 9).", "save 9"}},
      {feed(9, kMoved), false, ExitCode::unavailable, {"out Board moved to rev 9."}, true},
      {feed(9, kMoved), true, ExitCode::unavailable, {"out rev 9"}, true},
  };
  for (const auto& row : kCases) {
    ScriptedWorld world;
    world.polls = {{row.reply, 0}};
    world.output_full = row.output_full;
    EXPECT_EQ(wait({.follow = row.follow}, world), row.expected) << row.reply;
    EXPECT_EQ(Journal(world.journal.begin() + 2, world.journal.end()), row.end) << row.reply;
  }
}

TEST(Wait, NoExchangeOutlastsItsTime) {
  ScriptedWorld patient;
  patient.stored_cursor = 0;
  patient.polls = {{feed(6, kQuiet), 10}};
  EXPECT_EQ(wait({}, patient), ExitCode::unavailable);
  EXPECT_EQ(patient.patience, (std::vector<double>{40, 40, 10 + 40}));

  ScriptedWorld hurried;
  hurried.polls = {{feed(6, kQuiet), 20}, {}};
  hurried.heartbeat_takes = 20;
  EXPECT_EQ(wait({.timeout_seconds = 41}, hurried), ExitCode::unchanged);
  EXPECT_EQ(hurried.patience, (std::vector<double>{40, 22, 2, 0}));
}

TEST(Wait, AMoveOnOneLine) {
  const auto reply = record::from_text<TeamworkChangeFeed>(
      R"({"rev":7,"changed":true,"goal":"","goalComplete":false,"pendingGoalComplete":true,)"
      R"("changeKinds":["claim","is\ndone"],"tasks":[],"changes":[{"kind":"x","taskID":"T-2"},)"
      R"({"kind":"x"},{"kind":"y","taskID":""},{"kind":"y","taskID":"T-1"},{"kind":"z","taskID":"T-2"}],)"
      R"("wakeReasons":[{"kind":"assigned","summary":" a\r\n\nb ","cause":"c\n"},{"kind":"message"}],)"
      R"("messages":[{"id":"1","from":"KQ3","fromName":"Ada","text":"hi\nthere\n"}]})");
  ASSERT_TRUE(reply);
  EXPECT_EQ(move_line(*reply),
            "rev 7 · claim, is done · T-2 T-1 · woken: a b [assigned] · cause: c · "
            "woken: message [message] · message from KQ3: hi there · "
            "goal completion proposed, awaiting the human");
}

TEST(Wait, FlagErrorsFirstOneWins) {
  struct {
    std::vector<std::string> arguments;
    std::string_view error;  // empty: accepted
  } const kCases[] = {
      {{"--timeout", "+5", "--since", "-3", "--park-reason", "", "--scope", ",T-1,"}, ""},
      {{"--timeout"}, "qv wait: --timeout needs a positive number of seconds."},
      {{"--timeout", "0"}, "qv wait: --timeout needs a positive number of seconds."},
      {{"--timeout", "-5"}, "qv wait: --timeout needs a positive number of seconds."},
      {{"--timeout", "5s"}, "qv wait: --timeout needs a positive number of seconds."},
      {{"--scope", ",,"}, "qv wait: --scope needs task ids."},
      {{"--scope"}, "qv wait: --scope needs task ids."},
      {{"--park-reason"}, "qv wait: --park-reason needs text."},
      {{"--since"}, "qv wait: --since needs a revision."},
      {{"--since", "9223372036854775808"}, "qv wait: --since needs a revision."},
      {{"--nope", "--since"}, "qv wait: unknown flag \"--nope\". Run `qv wait --help`."},
      {{"--stand-down", "--follow", "x"}, "qv wait: unknown flag \"x\". Run `qv wait --help`."},
      {{"--follow", "--timeout", "9", "--stand-down"},
       "qv wait: --stand-down and --follow are opposites. --follow keeps you working while you "
       "listen; --stand-down parks you off the pool until somebody names you. Pick one."},
  };
  for (const auto& [arguments, error] : kCases) {
    const auto parsed = parse_wait_options(arguments);
    const auto* problem = std::get_if<UsageError>(&parsed);
    EXPECT_EQ(problem == nullptr ? "" : problem->message, error) << text::joined(arguments, " ");
  }
}

}  // namespace
}  // namespace qv::waiting
