#include "builds/live_processes.h"

#include <cmath>
#include <iterator>
#include <utility>

#include "platform/machine.h"

namespace qv::build {

namespace {

constexpr double kSameProcessSeconds = 1;  // start times this far apart are two processes

}  // namespace

bool is_alive(const BuildLease& lease) {
  const auto start = platform::start_time(lease.pid);
  return start && std::abs(*start - lease.startTime) < kSameProcessSeconds;
}

bool LiveProcesses::contains(const BuildLease& lease) {
  const auto known = watched_.find(lease.pid);
  if (known != watched_.end() && known->second.start_time == lease.startTime) {
    known->second.asked = true;
    if (const auto ended = known->second.watch.has_ended()) return !*ended;
    return is_alive(lease);
  }
  platform::ProcessWatch watch(lease.pid);  // before the check, so that both mean one process
  if (!is_alive(lease)) return false;
  watched_.insert_or_assign(lease.pid, Watched{lease.startTime, std::move(watch)});
  return true;
}

void LiveProcesses::forget_the_rest() {
  for (auto entry = watched_.begin(); entry != watched_.end();) {
    entry = std::exchange(entry->second.asked, false) ? std::next(entry) : watched_.erase(entry);
  }
}

}  // namespace qv::build
