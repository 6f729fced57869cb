#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"
#include "base/files.h"
#include "builds/lease_files.h"
#include "builds/ledger.h"
#include "builds/live_processes.h"
#include "builds/tenure.h"

namespace qv::build {

inline constexpr std::string_view kLogEnding = ".log";

// Whether the open file is this user's, and nobody else can write to it.
[[nodiscard]] bool is_private_to_us(int fd);

// The ledger as a directory. Stop signals wait while its lock is held.
class LedgerFolder final : public BuildLedger {
 public:
  // The ledger in `directory`, which is created when missing. Null when that fails, when
  // it belongs to somebody else or others can write to it, and when builds use it whose
  // processes cannot be seen from here.
  [[nodiscard]] static std::shared_ptr<LedgerFolder> open(const std::string& directory);

  [[nodiscard]] const std::string& dir() const { return dir_; }
  [[nodiscard]] std::string lease_path(pid_t pid) const;

  // Gives up where the file system has no locks, after five seconds in which nobody took the lock,
  // or sixty in all. A ledger that was removed or replaced meanwhile is opened anew.
  [[nodiscard]] std::unique_ptr<Lock> lock() override;
  [[nodiscard]] std::unique_ptr<Lock> lock_briefly() override;

  void look_ahead() override;
  // Files that are no leases and logs without a process are removed too. A lease or process
  // that the system is too short of something to tell about counts as it was known, or as a
  // running build.
  [[nodiscard]] std::vector<LiveLease> read_live(double now) override;
  [[nodiscard]] bool is_stopped(const BuildLease& lease, double now) override;
  bool write(const BuildLease& lease) override;
  void remove(pid_t pid) override;

  [[nodiscard]] std::string log_path(pid_t pid) const override;
  [[nodiscard]] Descriptor create_log(pid_t pid) override;
  // The log is looked for in this ledger only, whatever directory the lease says.
  [[nodiscard]] Descriptor open_log(const BuildLease& lease) override;
  void remove_log(pid_t pid) override;

  // Waits until one of the processes ends whose leases were just read, for so long at most.
  void wait_for_an_end(std::span<const pid_t> pids, double seconds) const;

 private:
  struct Files {
    files::Directory directory;
    files::Directory logs;
    Descriptor lock;
  };
  class Held;

  LedgerFolder(std::string dir, Files files)
      : dir_(std::move(dir)), files_(std::move(files)), leases_(files_.directory) {}

  [[nodiscard]] static std::optional<Files> open_files(const std::string& directory);
  [[nodiscard]] static std::optional<Files> open_those_there(const std::string& directory);
  [[nodiscard]] std::unique_ptr<Lock> take_lock(double without_movement, double in_all);
  [[nodiscard]] bool lock_is_in_place() const;
  [[nodiscard]] bool move_in();
  [[nodiscard]] Tenure tenure();
  [[nodiscard]] bool was_used_lately() const;
  void remove_all_leases();
  void remove_stale(const LeaseFiles::Found& found) const;
  void remove_orphaned_logs(const std::vector<LiveLease>& live) const;

  std::string dir_;
  Files files_;
  LeaseFiles leases_;
  std::string mark_;  // of builds that run here; empty where there are no marks
  LiveProcesses processes_;
  std::string written_;  // the own lease as it was last written, and the file that made
  std::optional<FileState> written_state_;
};

}  // namespace qv::build
