// A leader owes its followers nothing: it may die at any moment and cannot say so. So the
// follower reads until there is no more, looks whether the leader is still alive, and
// only then, since the leader may have finished its log between the two, reads once more.

#include "builds/follower.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "base/io.h"
#include "builds/live_processes.h"
#include "builds/log.h"
#include "platform/clock.h"

namespace qv::build {

namespace {

constexpr std::chrono::milliseconds kPause{100};

class Follower {
 public:
  explicit Follower(Descriptor log) : log_(std::move(log)) {}

  // Shows everything that is in the log by now. False once nothing more can come of it:
  // an exit was read, or damage.
  bool catch_up();
  [[nodiscard]] const std::optional<std::int32_t>& exit() const { return exit_; }

 private:
  // Bytes added to the parser; 0 at the end of the log.
  std::size_t read_piece();
  void show(const BuildLog::Output& output);

  Descriptor log_;
  BuildLogParser parser_;
  std::optional<std::int32_t> exit_;
  bool gone_[3] = {};  // streams whose reader went away
};

bool Follower::catch_up() {
  while (read_piece() > 0) {
    while (const auto item = parser_.next()) {
      if (const auto* end = std::get_if<BuildLog::Exit>(&*item)) {
        exit_ = end->value;
        return false;
      }
      show(std::get<BuildLog::Output>(*item));
    }
    if (parser_.damaged()) return false;
  }
  return true;
}

std::size_t Follower::read_piece() {
  const auto space = parser_.space();
  ssize_t count = 0;
  do {
    count = ::read(log_.get(), space.data(), space.size());
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return 0;
  parser_.added(static_cast<std::size_t>(count));
  return static_cast<std::size_t>(count);
}

void Follower::show(const BuildLog::Output& output) {
  bool& gone = gone_[output.stream];
  gone = gone || !io::write_all(output.stream, output.bytes);
}

}  // namespace

std::optional<int> follow(Descriptor log, const BuildLease& leader) {
  Follower follower(std::move(log));
  bool open = follower.catch_up();
  LiveProcesses processes;
  while (open && processes.contains(leader) &&
         !processes.is_stopped(leader, platform::waking_seconds())) {
    std::this_thread::sleep_for(kPause);
    open = follower.catch_up();
  }
  if (open) follower.catch_up();
  if (!follower.exit() || *follower.exit() < 0) return std::nullopt;
  return follower.exit();
}

}  // namespace qv::build
