#include "builds/live_processes.h"

#include <poll.h>

#include <cmath>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/process.h"

namespace qv::build {

namespace {

constexpr double kSameProcessSeconds = 1;  // start times this far apart are two processes
constexpr double kStoppedSeconds = 2;

bool may_be(const platform::ProcessLook& look, const BuildLease& lease) {
  return look.found == platform::ProcessLook::unknown ||
         (look.found == platform::ProcessLook::alive &&
          std::abs(look.start_time - lease.startTime) < kSameProcessSeconds);
}

}  // namespace

bool LiveProcesses::contains(const BuildLease& lease) {
  const auto known = watched_.find(lease.pid);
  if (known != watched_.end() && known->second.start_time == lease.startTime) {
    known->second.asked = true;
    if (const auto ended = known->second.watch.has_ended()) return !*ended;
    return may_be(platform::look_at_process(lease.pid), lease);
  }
  platform::ProcessWatch watch(lease.pid);  // before the look, so that both mean one process
  const platform::ProcessLook look = platform::look_at_process(lease.pid);
  if (look.found == platform::ProcessLook::alive && may_be(look, lease)) {
    watched_.insert_or_assign(lease.pid, Watched{lease.startTime, std::move(watch)});
  }
  return may_be(look, lease);
}

bool LiveProcesses::is_stopped(const BuildLease& lease, double now) {
  const auto known = watched_.find(lease.pid);
  if (known == watched_.end()) return false;
  std::optional<double>& since = known->second.stopped_since;
  const platform::ProcessLook look = platform::look_at_process(lease.pid);
  if (look.found != platform::ProcessLook::alive || !look.stopped) {
    since.reset();
  } else if (!since) {
    since = now;
  }
  return since && now - *since >= kStoppedSeconds;
}

void LiveProcesses::wait_for_an_end(std::span<const pid_t> pids, double seconds) const {
  std::vector<pollfd> ends;
  for (const pid_t pid : pids) {
    const auto known = watched_.find(pid);
    if (known != watched_.end()) ends.push_back({known->second.watch.descriptor(), POLLIN, 0});
  }
  ::poll(ends.data(), static_cast<nfds_t>(ends.size()), static_cast<int>(seconds * 1000));
}

void LiveProcesses::forget_the_rest() {
  for (auto entry = watched_.begin(); entry != watched_.end();) {
    entry = std::exchange(entry->second.asked, false) ? std::next(entry) : watched_.erase(entry);
  }
}

}  // namespace qv::build
