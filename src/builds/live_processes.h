#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <span>

#include "builds/lease.h"
#include "platform/process_watch.h"

namespace qv::build {

// What one who asks about the same leases again and again knows of their processes.
class LiveProcesses {
 public:
  // True while the very process that wrote the lease exists; a later process with the same
  // id does not count, nor one that has ended and not been reaped. One that the system is
  // too short of something to tell about does.
  [[nodiscard]] bool contains(const BuildLease& lease);

  // True when the process was found stopped at every look for two seconds. `now` is in
  // waking seconds.
  [[nodiscard]] bool is_stopped(const BuildLease& lease, double now);

  // Waits until one of those processes ends that were found alive, for so long at most.
  void wait_for_an_end(std::span<const pid_t> pids, double seconds) const;

  // Drops the processes that nobody has asked about since the last call.
  void forget_the_rest();

 private:
  struct Watched {
    double start_time = 0;
    platform::ProcessWatch watch;
    std::optional<double> stopped_since = std::nullopt;
    bool asked = true;
  };
  std::map<pid_t, Watched> watched_;
};

}  // namespace qv::build
