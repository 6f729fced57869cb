#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "builds/lease.h"

namespace qv::build {

// Where all builds of one user meet. Everything but looking ahead and taking the lock is
// done with the lock held. Times are in waking seconds.
class BuildLedger {
 public:
  // The exclusive lock, given back when the object goes.
  class Lock {
   public:
    virtual ~Lock() = default;
  };

  virtual ~BuildLedger() = default;

  // Null when others hold the lock for long without passing it on.
  [[nodiscard]] virtual std::unique_ptr<Lock> lock() = 0;
  // The same for a build that has ended and wants to go: waits five seconds at most.
  [[nodiscard]] virtual std::unique_ptr<Lock> lock_briefly() = 0;

  // Learns what the next reading would have to find out, so that the lock is held briefly.
  virtual void look_ahead() = 0;

  // The leases of all processes that are alive, in no order that means anything. What
  // processes that are gone have left is removed on the way.
  [[nodiscard]] virtual std::vector<LiveLease> read_live(double now) = 0;

  // Whether the process of a lease that was just read has been stopped for a while.
  [[nodiscard]] virtual bool is_stopped(const BuildLease& lease, double now) = 0;

  // Writes the lease of this process; a lease that stands there unchanged is left alone.
  // False, with the old one still there, when it could not be: the build runs all the same.
  virtual bool write(const BuildLease& lease) = 0;
  virtual void remove(pid_t pid) = 0;

  [[nodiscard]] virtual std::string log_path(pid_t pid) const = 0;
  // A new, empty log for the process; whatever stood there before is unlinked. Not valid
  // on failure.
  [[nodiscard]] virtual Descriptor create_log(pid_t pid) = 0;
  // The log that the lease names, for reading; not valid when there is none.
  [[nodiscard]] virtual Descriptor open_log(const BuildLease& lease) = 0;
  virtual void remove_log(pid_t pid) = 0;
};

}  // namespace qv::build
