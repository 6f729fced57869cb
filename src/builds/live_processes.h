#pragma once

#include <sys/types.h>

#include <map>

#include "builds/lease.h"
#include "platform/process_watch.h"

namespace qv::build {

// True while the very process that wrote the lease exists; a later process with the same
// id does not count, nor one that has ended and not been reaped.
[[nodiscard]] bool is_alive(const BuildLease& lease);

// The same for one who asks about the same leases twice a second.
class LiveProcesses {
 public:
  [[nodiscard]] bool contains(const BuildLease& lease);
  // Drops the processes that nobody has asked about since the last call.
  void forget_the_rest();

 private:
  struct Watched {
    double start_time = 0;
    platform::ProcessWatch watch;
    bool asked = true;
  };
  std::map<pid_t, Watched> watched_;
};

}  // namespace qv::build
