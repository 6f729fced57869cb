// A build that waits must not cost anything, and a build that dies must not block the
// others. So a build's whole presence is one small file named by its process id, and
// whoever reads the ledger drops the files of processes that are gone. Nobody has to
// clean up after a crash, and no daemon has to be alive.
//
// Every waiting build reads the ledger twice a second. A lease file is only ever replaced
// whole, so one whose inode, size and time are unchanged is not read and decoded again,
// and a lease that says nothing new is not written again.

#include "builds/ledger.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "base/files.h"
#include "base/io.h"
#include "base/text.h"
#include "platform/clock.h"
#include "platform/file_times.h"
#include "platform/machine.h"

namespace qv::build {

namespace {

constexpr int kLockAttempts = 100;
constexpr std::chrono::milliseconds kLockPause{50};
constexpr off_t kLargestLease = off_t{64} << 10;

// A file changed this recently may change once more within the clock's grain, so what was
// read of it is not kept.
constexpr double kClockGrainSeconds = 0.05;

constexpr std::string_view kLeaseEnding = ".json";
constexpr std::string_view kLogEnding = ".log";

// The names of a directory's entries, in its own order.
std::vector<std::string> names_in(const Descriptor& directory) {
  std::vector<std::string> names;
  const int fd = ::openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = fd < 0 ? nullptr : ::fdopendir(fd);
  if (listing == nullptr) {
    if (fd >= 0) ::close(fd);
    return names;
  }
  while (const dirent* entry = ::readdir(listing)) names.emplace_back(entry->d_name);
  ::closedir(listing);
  return names;
}

bool is_private_to_us(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// False when the file system refuses to lock at all. A lock that somebody holds is fine.
bool can_be_locked(int fd) {
  while (::flock(fd, LOCK_SH | LOCK_NB) != 0) {
    if (errno != EINTR) return errno == EWOULDBLOCK;
  }
  ::flock(fd, LOCK_UN);
  return true;
}

std::optional<pid_t> pid_of_log(std::string_view name) {
  if (!name.ends_with(kLogEnding)) return std::nullopt;
  name.remove_suffix(kLogEnding.size());
  const auto pid = text::whole_number(name);
  if (!pid || *pid <= 0 || !std::in_range<pid_t>(*pid)) return std::nullopt;
  return std::to_string(*pid) == name ? std::optional(static_cast<pid_t>(*pid)) : std::nullopt;
}

bool is_settled(const platform::FileTime& modified) {
  const double then =
      static_cast<double>(modified.seconds) + static_cast<double>(modified.nanoseconds) / 1e9;
  return platform::wall_clock_seconds() - then > kClockGrainSeconds;
}

}  // namespace

std::shared_ptr<BuildLedger> BuildLedger::open(const std::string& directory) {
  if (!files::make_private_directories(directory + "/logs")) return nullptr;
  constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  Descriptor whole(::open(directory.c_str(), kFolder));
  if (!whole.valid() || !is_private_to_us(whole.get())) return nullptr;
  Descriptor logs(::openat(whole.get(), "logs", kFolder | O_NOFOLLOW));
  if (!logs.valid() || !is_private_to_us(logs.get())) return nullptr;
  Descriptor lock_fd(
      ::openat(whole.get(), "lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
  if (!lock_fd.valid() || !can_be_locked(lock_fd.get())) return nullptr;
  return std::shared_ptr<BuildLedger>(
      new BuildLedger(directory, std::move(whole), std::move(logs), std::move(lock_fd)));
}

BuildLedger::BuildLedger(std::string dir, Descriptor directory, Descriptor logs, Descriptor lock_fd)
    : dir_(std::move(dir)),
      directory_(std::move(directory)),
      logs_(std::move(logs)),
      lock_fd_(std::move(lock_fd)) {}

BuildLedger::Lock::Lock(Lock&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), held_(std::move(other.held_)) {}

BuildLedger::Lock::~Lock() {
  if (fd_ >= 0) ::flock(fd_, LOCK_UN);
}

std::optional<BuildLedger::Lock> BuildLedger::lock() {
  for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(kLockPause);
    auto held = std::make_unique<SignalsHeld>();
    if (::flock(lock_fd_.get(), LOCK_EX | LOCK_NB) == 0) {
      return Lock(lock_fd_.get(), std::move(held));
    }
    if (errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
  }
  return std::nullopt;
}

std::string BuildLedger::lease_path(pid_t pid) const {
  return dir_ + "/" + std::to_string(pid) + std::string(kLeaseEnding);
}

std::string BuildLedger::log_path(pid_t pid) const {
  return dir_ + "/logs/" + std::to_string(pid) + std::string(kLogEnding);
}

void BuildLedger::write(const BuildLease& lease) {
  const std::string path = lease_path(lease.pid);
  const std::string name(files::name_of(path));
  std::string bytes = record::to_text(lease);
  if (bytes == written_ && written_state_ && state_of(name) == written_state_) return;
  if (!files::replace_through(path + ".tmp", path, bytes)) return;
  written_ = std::move(bytes);
  written_state_ = state_of(name);
}

void BuildLedger::remove(pid_t pid) { ::unlink(lease_path(pid).c_str()); }

std::vector<BuildLease> BuildLedger::read_live() {
  std::vector<BuildLease> live;
  for (auto& [name, known] : known_) known.seen = false;
  for (const std::string& name : names_in(directory_)) {
    if (!name.ends_with(kLeaseEnding)) continue;
    auto lease = read_lease(name);
    if (!lease) {
      ::unlinkat(directory_.get(), name.c_str(), 0);
    } else if (processes_.contains(*lease)) {
      live.push_back(std::move(*lease));
    } else {
      remove_stale(name, *lease);
    }
  }
  std::erase_if(known_, [](const auto& entry) { return !entry.second.seen; });
  processes_.forget_the_rest();
  remove_orphaned_logs(live);
  return live;
}

std::optional<BuildLease> BuildLedger::read_lease(const std::string& name) {
  const auto state = state_of(name);
  if (!state) return std::nullopt;
  if (const auto known = known_.find(name);
      known != known_.end() && known->second.state == *state) {
    known->second.seen = true;
    return known->second.lease;
  }
  const Descriptor file(
      ::openat(directory_.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file.valid()) return std::nullopt;
  const auto bytes = io::read_to_end(file.get(), kLargestLease);
  auto lease = bytes ? record::from_text<BuildLease>(*bytes) : std::nullopt;
  // No machine runs that many jobs, and sums of them have to stay in range.
  if (lease && !std::in_range<std::uint16_t>(lease->jobs)) return std::nullopt;
  if (lease && is_settled(state->modified)) {
    known_.insert_or_assign(name, Known{*state, *lease, true});
  }
  return lease;
}

// Absent for anything but a regular file of a lease's size.
std::optional<BuildLedger::FileState> BuildLedger::state_of(const std::string& name) const {
  struct stat status {};
  if (::fstatat(directory_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode) || status.st_size > kLargestLease) return std::nullopt;
  return FileState{status.st_dev, status.st_ino, status.st_size,
                   platform::modification_time(status)};
}

void BuildLedger::remove_stale(const std::string& name, const BuildLease& lease) const {
  ::unlinkat(directory_.get(), name.c_str(), 0);
  if (!lease.log) return;
  ::unlinkat(logs_.get(), std::string(files::name_of(*lease.log)).c_str(), 0);
}

void BuildLedger::remove_orphaned_logs(const std::vector<BuildLease>& live) const {
  for (const std::string& name : names_in(logs_)) {
    const auto pid = pid_of_log(name);
    if (!pid || std::ranges::find(live, *pid, &BuildLease::pid) != live.end()) continue;
    if (!platform::start_time(*pid)) ::unlinkat(logs_.get(), name.c_str(), 0);
  }
}

Descriptor BuildLedger::create_log(pid_t pid) const {
  const std::string path = log_path(pid);
  const std::string name(files::name_of(path));
  ::unlinkat(logs_.get(), name.c_str(), 0);
  Descriptor log(::openat(logs_.get(), name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (log.valid()) ::fchmod(log.get(), 0600);
  return log;
}

Descriptor BuildLedger::open_log(const BuildLease& lease) const {
  if (!lease.log) return {};
  const std::string name(files::name_of(*lease.log));
  Descriptor log(
      ::openat(logs_.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status {};
  if (!log.valid() || ::fstat(log.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return log;
}

void BuildLedger::remove_log(pid_t pid) const { ::unlink(log_path(pid).c_str()); }

}  // namespace qv::build
