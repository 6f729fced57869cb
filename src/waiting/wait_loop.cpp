// A wait may last a day and must cost nothing. So the bridge does the waiting: each poll
// asks it to hold its answer until something moves, for just as long as there is until
// the next heartbeat is due, and this process sleeps in the kernel meanwhile. A bridge
// that is slow or gone is asked again after a second; only a socket file that has been
// missing for a minute means that the app is gone.

#include "waiting/wait_loop.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/trace.h"
#include "board/reply_rendering.h"
#include "board/response.h"
#include "bridge/transport.h"
#include "waiting/wait_output.h"

namespace qv::waiting {

namespace {

using Kind = TeamworkResponse::Kind;

constexpr double kHeartbeatSeconds = 20;
constexpr double kLongestHoldSeconds = 25;
constexpr double kShortestHoldSeconds = 0.2;
constexpr double kAppGoneSeconds = 60;
constexpr double kRetrySeconds = 1.0;
constexpr double kPollSpacingSeconds = 0.5;
constexpr double kReplySeconds = BridgeTransport::Options{}.readTimeoutSeconds;
constexpr double kGraceSeconds = 1;  // for an answer that is held until the deadline

class Wait {
 public:
  Wait(const WaitOptions& options, WaitWorld& world) : options_(options), world_(world) {}

  ExitCode run() {
    cursor_ = options_.since ? *options_.since : world_.cursor();
    if (options_.timeout_seconds) {
      deadline_ = world_.wall_clock() + static_cast<double>(*options_.timeout_seconds);
    }
    heartbeat();
    for (;;) {
      if (const auto result = pass()) return *result;
    }
  }

 private:
  using Result = std::optional<ExitCode>;  // absent: the wait goes on

  Result pass() {
    if (const auto result = check_endings()) return result;
    if (world_.monotonic() - last_heartbeat_ >= kHeartbeatSeconds) heartbeat();

    const double started = world_.monotonic();
    const TeamworkRequest request = poll_request();
    const auto bytes = world_.exchange(request, patience(request.holdMs.value_or(0)));
    const auto reply = bytes ? json::parse(*bytes) : std::nullopt;
    TeamworkResponse response;
    if (!reply || !record::decode(*reply, response)) {
      trace::step("the wait goes on: ", bytes ? "the answer is not readable" : "no answer came");
      world_.sleep(kRetrySeconds);
      return std::nullopt;
    }
    if (const auto result = answer(response, *reply)) return result;

    trace::step("the wait goes on: ", record::word(response.kind), " at rev ", cursor_,
                " is no reason to end it");
    const double passed = world_.monotonic() - started;
    if (passed < kPollSpacingSeconds) world_.sleep(kPollSpacingSeconds - passed);
    return std::nullopt;
  }

  Result check_endings() {
    const double now = world_.monotonic();
    if (world_.socket_exists()) {
      missing_since_.reset();
    } else if (!missing_since_) {
      missing_since_ = now;
    }
    const bool orphaned = world_.parent_has_gone();
    const bool app_gone = missing_since_ && now - *missing_since_ >= kAppGoneSeconds;
    if (options_.follow && world_.reader_has_gone()) return ExitCode::unavailable;
    if (orphaned) return end(Ending::orphaned, kOrphaned);
    if (app_gone) return end(Ending::appGone, kAppGone);
    if (remaining() <= 0) return time_out();
    return std::nullopt;
  }

  // Seconds until the deadline; without end when there is none.
  double remaining() {
    if (!deadline_) return std::numeric_limits<double>::infinity();
    return *deadline_ - world_.wall_clock();
  }

  // Seconds that an exchange may take, of which the bridge holds its answer for a part.
  double patience(std::int64_t hold_milliseconds) {
    const double usual = static_cast<double>(hold_milliseconds) / 1000 + kReplySeconds;
    return std::clamp(remaining() + kGraceSeconds, 0.0, usual);
  }

  TeamworkRequest poll_request() {
    TeamworkRequest request;
    request.method = "poll_changes";
    request.sinceRev = cursor_;
    const double until_heartbeat = kHeartbeatSeconds - (world_.monotonic() - last_heartbeat_);
    const double hold = std::min({until_heartbeat, remaining(), kLongestHoldSeconds});
    if (cursor_ > 0 && hold > kShortestHoldSeconds) {
      request.holdMs = static_cast<std::int64_t>(hold * 1000);
    }
    request.taskIDs = options_.scope;
    if (options_.wake_on_claims) request.wakeOnStateChanges = true;
    return request;
  }

  void heartbeat() {
    TeamworkRequest request;
    request.method = "heartbeat";
    request.waiting = true;
    request.standDown = options_.stand_down;
    request.status = options_.park_reason;
    static_cast<void>(world_.exchange(request, patience(0)));  // the answer tells a wait nothing
    last_heartbeat_ = world_.monotonic();
  }

  Result answer(const TeamworkResponse& response, json::Value reply) {
    switch (response.kind) {
      case Kind::changes:
        return response.changes ? moved(*response.changes, response, reply) : std::nullopt;
      case Kind::gated:
      case Kind::error: return refused(response.message.value_or(""));
      case Kind::empty:
        return end(Ending::notInAThread, "qv wait: this terminal is not in a Thread.");
      default: return std::nullopt;
    }
  }

  Result moved(const TeamworkChangeFeed& feed, const TeamworkResponse& response,
               json::Value reply) {
    cursor_ = feed.rev;
    const bool quiet = feed.wakeReasons.empty() && !feed.goalComplete && !feed.changed;
    // Saved last: a move that nobody could be told of is there for the next wait.
    if (!quiet && !world_.out(told(feed, response, reply))) return ExitCode::unavailable;
    world_.save_cursor(cursor_);
    if (quiet || (options_.follow && !feed.goalComplete)) return std::nullopt;
    return ExitCode::ok;
  }

  std::string told(const TeamworkChangeFeed& feed, const TeamworkResponse& response,
                   json::Value reply) const {
    if (options_.follow) return options_.json ? json::compact(reply) : move_line(feed);
    return options_.json ? json::pretty(reply)
                         : board::render(response, {.method = "wait_for_changes"});
  }

  ExitCode refused(const std::string& message) {
    if (message == "caller is not attributable to a live pane") {
      return end(Ending::orphaned, kOrphaned);
    }
    return end(Ending::refused, message.empty() ? "qv wait: the board ended this wait." : message);
  }

  // Not a complaint: with --json a script reads the status alone.
  ExitCode time_out() {
    const std::string text = timed_out(options_.timeout_seconds, cursor_);
    if (options_.follow) return end(Ending::timedOut, text);
    if (!options_.json) say(text);
    return ExitCode::unchanged;
  }

  // A follower's stream says on the stream itself why it is over.
  ExitCode end(Ending ending, std::string_view text) {
    if (!options_.follow) {
      world_.err(text);
    } else if (options_.json) {
      say(ending_line(ending, text));
    } else {
      say(text);
    }
    switch (ending) {
      case Ending::timedOut: return ExitCode::unchanged;
      case Ending::refused: return ExitCode::refused;
      default: return ExitCode::unavailable;
    }
  }

  // A last word: when it cannot be written, the process itself says so.
  void say(std::string_view text) { static_cast<void>(world_.out(text)); }

  const WaitOptions& options_;
  WaitWorld& world_;
  std::int64_t cursor_ = 0;
  double last_heartbeat_ = 0;            // monotonic
  std::optional<double> deadline_;       // on the wall clock
  std::optional<double> missing_since_;  // monotonic
};

}  // namespace

ExitCode wait(const WaitOptions& options, WaitWorld& world) { return Wait(options, world).run(); }

}  // namespace qv::waiting
