#include "waiting/wait_command.h"

#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <utility>

#include "base/files.h"
#include "base/io.h"
#include "bridge/complaints.h"
#include "bridge/endpoint.h"
#include "command/did_you_mean.h"
#include "command/help_flag.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "platform/parent.h"
#include "waiting/wait_loop.h"

namespace qv::waiting {

namespace {

// The system, the pane's record and the board's bridge as they are.
class RealWorld : public WaitWorld {
 public:
  RealWorld(CLIRuntime& runtime, pid_t parent)
      : runtime_(runtime), env_(runtime.env()), parent_(parent) {}

  double monotonic() override { return platform::monotonic_seconds(); }
  double wall_clock() override { return platform::wall_clock_seconds(); }
  void sleep(double seconds) override {
    timespec left{};
    left.tv_sec = static_cast<time_t>(seconds);
    left.tv_nsec = static_cast<long>((seconds - static_cast<double>(left.tv_sec)) * 1e9);
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
  }

  bool parent_has_gone() override { return platform::parent_has_gone(parent_); }
  bool reader_has_gone() override { return io::reader_has_gone(STDOUT_FILENO); }
  bool socket_exists() override { return files::exists(env_.board.socket); }

  std::optional<std::string> exchange(const TeamworkRequest& request, double seconds) override {
    give_back_after_large_reply();
    const auto reply = bridge::ask(env_.board, env_.sessionID, request,
                                   BridgeTransport::Options{.wholeExchangeSeconds = seconds});
    reply_size_ = reply.size;
    if (reply) return std::string(reply.view());
    say_once_who_serves(reply);
    return std::nullopt;
  }

  // Where the record could not be read, this wait began somewhere else, and what it has seen is
  // not what the record has: it keeps its cursor to itself.
  std::int64_t cursor() override {
    const auto record = runtime_.state().read();
    cursor_is_the_records_ = record.has_value();
    return record.value_or(PaneState{}).lastSeenRev;
  }
  void save_cursor(std::int64_t rev) override {
    if (!cursor_is_the_records_) return;
    runtime_.state().update([rev](PaneState& state) {
      state.lastSeenRev = rev;
      state.hasCursor = true;
    });
  }

  bool out(std::string_view text) override { return runtime_.out(text); }
  void err(std::string_view text) override { runtime_.err(text); }

 private:
  // All that was made of the last reply is free by the time of the next exchange.
  void give_back_after_large_reply() {
    constexpr std::size_t kLarge = 1 << 20;
    if (reply_size_ > kLarge) platform::give_back_memory();
  }

  // A wait asks every second and would say so every second.
  void say_once_who_serves(const BridgeTransport::Outcome& outcome) {
    if (!outcome.foreign || std::exchange(said_who_serves_, true)) return;
    runtime_.err(complaints::served_by_another_user(env_.board.socket, outcome));
  }

  CLIRuntime& runtime_;
  const CLIEnvironment& env_;
  pid_t parent_;
  bool cursor_is_the_records_ = true;
  bool said_who_serves_ = false;
  std::size_t reply_size_ = 0;  // the last one's
};

}  // namespace

ExitCode run(const std::vector<std::string>& arguments, CLIRuntime& runtime) {
  if (asks_for_help(arguments)) {
    runtime.out(wait_help());
    return ExitCode::ok;
  }
  const pid_t parent = ::getppid();  // before anything that takes time
  if (runtime.env().sessionID.empty() || runtime.env().board.socket.empty()) {
    runtime.err(complaints::kNotInThread);
    return ExitCode::unavailable;
  }
  const auto options = parse_wait_options(arguments);
  if (const auto* error = std::get_if<UsageError>(&options)) {
    runtime.err(error->message);
    did_you_mean(meant_flag(error->unknown, kWaitFlags), runtime);
    return ExitCode::usage;
  }
  RealWorld world(runtime, parent);
  return wait(std::get<WaitOptions>(options), world);
}

}  // namespace qv::waiting
