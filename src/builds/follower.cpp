// A leader owes its followers nothing: it may die at any moment and cannot say so, and it
// may go on without a log. So the follower reads until there is no more, looks whether the
// log still has its name and the leader is still alive, and only then, since the leader may
// have finished its log between the two, reads once more.

#include "builds/follower.h"

#include <chrono>
#include <new>
#include <thread>

#include "builds/live_processes.h"
#include "builds/log_tail.h"
#include "platform/clock.h"

namespace qv::build {

namespace {

constexpr std::chrono::milliseconds kPause{100};

}  // namespace

std::variant<int, Unfollowed> follow(Descriptor log, const BuildLease& leader,
                                     PaneOutput& pane) try {
  LogTail tail(std::move(log), pane);
  LiveProcesses processes;
  bool open = tail.show_until(LogTail::kEverything);
  while (open && !tail.is_unlinked() && processes.contains(leader) &&
         !processes.is_stopped(leader, platform::waking_seconds())) {
    std::this_thread::sleep_for(kPause);
    open = tail.show_until(LogTail::kEverything);
  }
  if (open) (void)tail.show_until(LogTail::kEverything);
  if (tail.exit() && *tail.exit() >= 0) return *tail.exit();
  const bool given_up = !tail.exit() && tail.is_unlinked() && processes.contains(leader);
  return given_up ? Unfollowed::log_given_up : Unfollowed::leader_stopped;
} catch (const std::bad_alloc&) {
  return Unfollowed::log_given_up;  // some of it may be shown already, which has to be said
}

}  // namespace qv::build
