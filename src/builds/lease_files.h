#pragma once

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "builds/lease.h"
#include "builds/live_processes.h"
#include "platform/file_times.h"

namespace qv::build {

inline constexpr std::string_view kLeaseEnding = ".json";

// The process that a file of the ledger is named by, with this ending; absent for any
// other name.
[[nodiscard]] std::optional<pid_t> pid_of(std::string_view name, std::string_view ending);

// What tells one state of a file from another without reading it.
struct FileState {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  platform::FileTime modified;
  friend bool operator==(const FileState&, const FileState&) = default;

  // Seconds on the wall clock since it changed; negative for a time in the future.
  [[nodiscard]] double age() const;
};

// The lease files of a directory, for one who reads them again and again.
class LeaseFiles {
 public:
  struct Found {
    std::string name;
    std::optional<BuildLease> lease;  // absent: the file is none
    bool alive = false;               // its process
    double age = 0;                   // at least so many waking seconds
  };

  // `directory` is valid and outlives this object.
  explicit LeaseFiles(const files::Directory& directory) : directory_(&directory) {}

  // Learns what the next reading would have to find out, where there is much of it.
  void look_ahead(LiveProcesses& processes, double now);
  // All files that are named like leases. `now` is in waking seconds.
  [[nodiscard]] std::vector<Found> read(LiveProcesses& processes, double now);

  [[nodiscard]] std::vector<std::string> names() const;
  // Absent for anything but a regular file of a lease's size, and with errno set when it is
  // not to be had at all.
  [[nodiscard]] std::optional<FileState> state_of(const std::string& name) const;

 private:
  struct Known {
    std::optional<FileState> state;
    std::optional<BuildLease> lease;
    double since = 0;        // when this state was first seen
    bool lasting = false;    // it would change with the content
    bool stands_in = false;  // the lease is made up, since it could not be read
    bool alive = false;
    bool looked_at = false;  // since the last reading
    bool seen = false;       // in the reading now under way
  };

  Known& find_out(const std::string& name, LiveProcesses& processes, double now);
  [[nodiscard]] std::optional<BuildLease> read_lease(const std::string& name) const;

  const files::Directory* directory_;
  std::map<std::string, Known> known_;
};

}  // namespace qv::build
