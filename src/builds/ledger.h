#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "builds/lease.h"
#include "builds/live_processes.h"
#include "builds/signals.h"
#include "platform/file_times.h"

namespace qv::build {

// The directory where all builds of one user meet. Everything but opening it and taking
// its lock is done with the lock held.
class BuildLedger {
 public:
  // The ledger in `directory`, which is created when missing. Null when that fails, when
  // it belongs to somebody else or others can write to it, and when the file system has
  // no locks.
  [[nodiscard]] static std::shared_ptr<BuildLedger> open(const std::string& directory);

  // The exclusive lock, given back when the object goes. Stop signals wait meanwhile.
  class Lock {
   public:
    Lock(Lock&& other) noexcept;
    Lock& operator=(Lock&&) = delete;
    ~Lock();

   private:
    friend class BuildLedger;
    Lock(int fd, std::unique_ptr<SignalsHeld> held) : fd_(fd), held_(std::move(held)) {}
    int fd_;
    std::unique_ptr<SignalsHeld> held_;
  };

  // Tries for about five seconds; absent when others hold the lock all that time.
  [[nodiscard]] std::optional<Lock> lock();

  [[nodiscard]] const std::string& dir() const { return dir_; }
  [[nodiscard]] std::string lease_path(pid_t pid) const;
  [[nodiscard]] std::string log_path(pid_t pid) const;

  // Writes the lease of this process; a lease that stands there unchanged is left alone.
  // A failure is not reported: the build runs all the same.
  void write(const BuildLease& lease);
  void remove(pid_t pid);

  // The leases of all processes that are alive, in the directory's order. Files of
  // processes that are gone, files that are no leases, and logs without a process are
  // removed on the way.
  [[nodiscard]] std::vector<BuildLease> read_live();

  // A new, empty log for the process; whatever stood there before is unlinked. Not valid
  // on failure.
  [[nodiscard]] Descriptor create_log(pid_t pid) const;
  // The log that the lease names, for reading. It is looked for in this ledger only,
  // whatever directory the lease says; not valid when it is not a regular file there.
  [[nodiscard]] Descriptor open_log(const BuildLease& lease) const;
  void remove_log(pid_t pid) const;

 private:
  // What tells one state of a lease file from another without reading it.
  struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    platform::FileTime modified;
    friend bool operator==(const FileState&, const FileState&) = default;
  };
  struct Known {
    FileState state;
    BuildLease lease;
    bool seen = false;  // in the reading now under way
  };

  BuildLedger(std::string dir, Descriptor directory, Descriptor logs, Descriptor lock_fd);

  [[nodiscard]] std::optional<BuildLease> read_lease(const std::string& name);
  [[nodiscard]] std::optional<FileState> state_of(const std::string& name) const;
  void remove_stale(const std::string& name, const BuildLease& lease) const;
  void remove_orphaned_logs(const std::vector<BuildLease>& live) const;

  std::string dir_;
  Descriptor directory_;
  Descriptor logs_;
  Descriptor lock_fd_;
  std::map<std::string, Known> known_;
  LiveProcesses processes_;
  std::string written_;  // the own lease as it was last written, and the file that made
  std::optional<FileState> written_state_;
};

}  // namespace qv::build
