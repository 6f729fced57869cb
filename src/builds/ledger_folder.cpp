// A build that waits must not cost anything, and a build that dies must not block the
// others. So a build's whole presence is one small file named by its process id, and
// whoever reads the ledger drops the files of processes that are gone. Nobody has to
// clean up after a crash, and no daemon has to be alive.
//
// Hundreds of builds may wait, and each reads the ledger again and again. A lease file is
// only ever replaced whole, so one whose inode, size and time are unchanged is not read and
// decoded again, and a lease that says nothing new is not written again. Leases and their
// processes are looked at before the lock is taken; under it only what changed meanwhile is
// read. A death seen late can delay a start, never allow one.
//
// Nothing is concluded from a shortage: what cannot be read now may be read later.

#include "builds/ledger_folder.h"

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
#include "builds/signals.h"
#include "platform/awake.h"
#include "platform/boot.h"
#include "platform/clock.h"
#include "platform/file_times.h"
#include "platform/process.h"

namespace qv::build {

namespace {

// Seconds. A lock that moves is not stuck; whoever takes it changes its time.
constexpr double kLongestWithoutMovement = 5;
constexpr double kLongestInAll = 60;
constexpr std::chrono::milliseconds kLockPause{50};
constexpr double kSecondsOfADay = 86400;

constexpr off_t kLargestLease = off_t{64} << 10;

// A file changed this recently may change once more within the clock's grain, so what was
// read of it is not kept.
constexpr double kClockGrainSeconds = 0.05;

constexpr std::string_view kLeaseEnding = ".json";
constexpr std::string_view kLogEnding = ".log";

// Errors that say something about this moment and nothing about the file.
bool is_passing(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR || error == EIO;
}

// The names of a directory's entries, in its own order; absent when it cannot be listed.
std::optional<std::vector<std::string>> names_in(const Descriptor& directory) {
  const int fd = ::openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = fd < 0 ? nullptr : ::fdopendir(fd);
  if (listing == nullptr) {
    if (fd >= 0) ::close(fd);
    return std::nullopt;
  }
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(listing)) names.emplace_back(entry->d_name);
  const bool whole = errno == 0;
  ::closedir(listing);
  return whole ? std::optional(std::move(names)) : std::nullopt;
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

std::optional<pid_t> pid_of(std::string_view name, std::string_view ending) {
  if (!name.ends_with(ending)) return std::nullopt;
  name.remove_suffix(ending.size());
  const auto pid = text::whole_number(name);
  if (!pid || *pid <= 0 || !std::in_range<pid_t>(*pid)) return std::nullopt;
  return std::to_string(*pid) == name ? std::optional(static_cast<pid_t>(*pid)) : std::nullopt;
}

// Seconds on the wall clock since the file changed; negative for a time in the future.
double seconds_since(const platform::FileTime& modified) {
  return platform::wall_clock_seconds() - static_cast<double>(modified.seconds) -
         static_cast<double>(modified.nanoseconds) / 1e9;
}

// For a lease that cannot be read just now: what it would take for no build to start that
// should not.
BuildLease stand_in(std::string_view name) {
  BuildLease lease;
  lease.pid = pid_of(name, kLeaseEnding).value_or(::getpid());
  lease.running = true;
  return lease;
}

}  // namespace

// Stop signals wait as long as the lock is held.
class LedgerFolder::Held final : public BuildLedger::Lock {
 public:
  explicit Held(int fd) : fd_(fd) {}
  ~Held() override {
    if (taken_) ::flock(fd_, LOCK_UN);
  }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

  // False with errno set.
  bool take() {
    taken_ = ::flock(fd_, LOCK_EX | LOCK_NB) == 0;
    if (taken_) ::futimens(fd_, nullptr);
    return taken_;
  }

 private:
  SignalsHeld signals_;
  int fd_;
  bool taken_ = false;
};

std::shared_ptr<LedgerFolder> LedgerFolder::open(const std::string& directory) {
  auto files = open_files(directory);
  if (!files) return nullptr;
  const std::shared_ptr<LedgerFolder> ledger(new LedgerFolder(directory, std::move(*files)));
  return ledger->move_in() ? ledger : nullptr;
}

std::optional<LedgerFolder::Files> LedgerFolder::open_files(const std::string& directory) {
  if (!files::make_private_directories(directory + "/logs")) return std::nullopt;
  constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  Files files;
  files.directory = Descriptor(::open(directory.c_str(), kFolder));
  if (!files.directory.valid() || !is_private_to_us(files.directory.get())) return std::nullopt;
  files.logs = Descriptor(::openat(files.directory.get(), "logs", kFolder | O_NOFOLLOW));
  if (!files.logs.valid() || !is_private_to_us(files.logs.get())) return std::nullopt;
  files.lock = Descriptor(::openat(files.directory.get(), "lock",
                                   O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
  if (!files.lock.valid() || !can_be_locked(files.lock.get())) return std::nullopt;
  return files;
}

// False when builds use the folder whose processes cannot be seen from here.
bool LedgerFolder::move_in() {
  Tenure whose = tenure();
  if (whose == Tenure::ours) return true;
  const auto lock = take_lock(kLongestWithoutMovement, kLongestInAll);
  if (lock == nullptr) return false;
  whose = tenure();  // nobody else moves in now
  if (whose == Tenure::elsewhere && was_used_lately()) return false;
  if (whose != Tenure::ours) platform::write_mark(files_.directory.get(), mark_);
  return true;
}

// Whose leases these are. Start times are counted as those of our own.
Tenure LedgerFolder::tenure() {
  const auto boot = platform::this_boot();
  std::string mark;
  const auto found =
      boot ? platform::read_mark(files_.directory.get(), mark) : platform::Mark::unsupported;
  if (found == platform::Mark::unsupported) return Tenure::ours;
  double time = boot->time;
  const Tenure whose = judge_mark(mark, *boot, time);
  platform::count_from_boot_time(time);
  mark_ = mark_of({boot->id, time, boot->pid_namespace});
  return whose;
}

bool LedgerFolder::was_used_lately() const {
  return std::ranges::any_of(lease_names(), [&](const std::string& name) {
    const auto state = state_of(name);
    return state && seconds_since(state->modified) < kSecondsOfADay;
  });
}

std::unique_ptr<BuildLedger::Lock> LedgerFolder::lock() {
  return take_lock(kLongestWithoutMovement, kLongestInAll);
}

std::unique_ptr<BuildLedger::Lock> LedgerFolder::lock_briefly() {
  return take_lock(kLongestWithoutMovement, kLongestWithoutMovement);
}

std::unique_ptr<BuildLedger::Lock> LedgerFolder::take_lock(double without_movement, double in_all) {
  const double start = platform::waking_seconds();
  double moved = start;
  platform::FileTime last;
  for (;;) {
    auto held = std::make_unique<Held>(files_.lock.get());
    if (held->take()) {
      if (lock_is_in_place()) return held;
      held.reset();
      auto anew = open_files(dir_);
      if (!anew) return nullptr;
      files_ = std::move(*anew);
      if (!mark_.empty()) platform::write_mark(files_.directory.get(), mark_);
      known_.clear();
      written_.clear();
      continue;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) return nullptr;
    held.reset();
    struct stat status {};
    const double now = platform::waking_seconds();
    if (::fstat(files_.lock.get(), &status) == 0 &&
        std::exchange(last, platform::modification_time(status)) != last) {
      moved = now;
    }
    if (now - moved >= without_movement || now - start >= in_all) return nullptr;
    std::this_thread::sleep_for(kLockPause);
  }
}

// Whoever comes next has to meet the same lock.
bool LedgerFolder::lock_is_in_place() const {
  struct stat ours {};
  struct stat theirs {};
  return ::fstat(files_.lock.get(), &ours) == 0 && ::stat((dir_ + "/lock").c_str(), &theirs) == 0 &&
         ours.st_dev == theirs.st_dev && ours.st_ino == theirs.st_ino;
}

std::string LedgerFolder::lease_path(pid_t pid) const {
  return dir_ + "/" + std::to_string(pid) + std::string(kLeaseEnding);
}

std::string LedgerFolder::log_path(pid_t pid) const {
  return dir_ + "/logs/" + std::to_string(pid) + std::string(kLogEnding);
}

bool LedgerFolder::write(const BuildLease& lease) {
  const std::string path = lease_path(lease.pid);
  const std::string name(files::name_of(path));
  std::string bytes = record::to_text(lease);
  if (bytes == written_ && written_state_ && state_of(name) == written_state_) return true;
  if (!files::replace_through(path + ".tmp", path, bytes)) return false;
  written_ = std::move(bytes);
  written_state_ = state_of(name);
  return true;
}

void LedgerFolder::remove(pid_t pid) { ::unlink(lease_path(pid).c_str()); }

void LedgerFolder::look_ahead() {
  const double now = platform::waking_seconds();
  for (const std::string& name : lease_names()) find_out(name, now);
}

std::vector<LiveLease> LedgerFolder::read_live(double now) {
  std::vector<LiveLease> live;
  for (auto& [name, known] : known_) known.seen = false;
  for (const std::string& name : lease_names()) {
    Known& known = find_out(name, now);
    known.seen = true;
    known.looked_at = false;
    if (!known.lease || !known.alive) {
      remove_stale(name, known);
      continue;
    }
    const double age =
        known.state ? platform::certainly_awake(seconds_since(known.state->modified)) : 0;
    live.push_back({*known.lease, std::max(age, now - known.since), false});
  }
  std::erase_if(known_, [](const auto& entry) { return !entry.second.seen; });
  processes_.forget_the_rest();
  remove_orphaned_logs(live);
  return live;
}

std::vector<std::string> LedgerFolder::lease_names() const {
  std::vector<std::string> names;
  if (auto all = names_in(files_.directory)) {
    for (std::string& name : *all) {
      if (name.ends_with(kLeaseEnding)) names.push_back(std::move(name));
    }
  } else {
    for (const auto& [name, known] : known_) names.push_back(name);
  }
  return names;
}

LedgerFolder::Known& LedgerFolder::find_out(const std::string& name, double now) {
  const auto [entry, is_new] = known_.try_emplace(name);
  Known& known = entry->second;
  const auto state = state_of(name);
  bool unsure = !state && is_passing(errno);
  if (is_new || (!unsure && state != known.state)) known = Known{.state = state, .since = now};
  if (!known.lasting && !unsure) {
    auto lease = state ? read_lease(name) : std::nullopt;
    unsure = state && !lease && is_passing(errno);
    if (!unsure) {
      known.lasting = !state || seconds_since(state->modified) > kClockGrainSeconds;
      known.lease = std::move(lease);
    }
    known.looked_at = false;
  }
  if (unsure && !known.lease) {
    known.lease = stand_in(name);
    known.alive = platform::look_at_process(known.lease->pid).found != platform::ProcessLook::gone;
  } else if (known.lease && !known.looked_at) {
    known.alive = processes_.contains(*known.lease);
  }
  known.looked_at = true;
  return known;
}

// Absent for anything but a regular file of a lease's size, and with errno set when it is
// not to be had at all.
std::optional<LedgerFolder::FileState> LedgerFolder::state_of(const std::string& name) const {
  struct stat status {};
  if (::fstatat(files_.directory.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return std::nullopt;
  }
  errno = 0;
  if (!S_ISREG(status.st_mode) || status.st_size > kLargestLease) return std::nullopt;
  return FileState{status.st_dev, status.st_ino, status.st_size,
                   platform::modification_time(status)};
}

// Absent for a file that is no lease, and with errno set when it is not to be had at all.
std::optional<BuildLease> LedgerFolder::read_lease(const std::string& name) const {
  const Descriptor file(::openat(files_.directory.get(), name.c_str(),
                                 O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file.valid()) return std::nullopt;
  const auto bytes = io::read_to_end(file.get(), kLargestLease);
  if (!bytes) return std::nullopt;
  errno = 0;
  auto lease = record::from_text<BuildLease>(*bytes);
  // No machine runs that many jobs, and sums of them have to stay in range.
  if (lease && !std::in_range<std::uint16_t>(lease->jobs)) lease.reset();
  return lease;
}

void LedgerFolder::remove_stale(const std::string& name, const Known& known) const {
  ::unlinkat(files_.directory.get(), name.c_str(), 0);
  if (!known.lease || !known.lease->log) return;
  ::unlinkat(files_.logs.get(), std::string(files::name_of(*known.lease->log)).c_str(), 0);
}

void LedgerFolder::remove_orphaned_logs(const std::vector<LiveLease>& live) const {
  const auto names = names_in(files_.logs);
  if (!names) return;
  for (const std::string& name : *names) {
    const auto pid = pid_of(name, kLogEnding);
    const auto owns = [&](const LiveLease& one) { return one.lease.pid == *pid; };
    if (!pid || std::ranges::any_of(live, owns)) continue;
    if (platform::look_at_process(*pid).found == platform::ProcessLook::gone) {
      ::unlinkat(files_.logs.get(), name.c_str(), 0);
    }
  }
}

bool LedgerFolder::is_stopped(const BuildLease& lease, double now) {
  return processes_.is_stopped(lease, now);
}

void LedgerFolder::wait_for_an_end(std::span<const pid_t> pids, double seconds) const {
  processes_.wait_for_an_end(pids, seconds);
}

Descriptor LedgerFolder::create_log(pid_t pid) {
  const std::string path = log_path(pid);
  const std::string name(files::name_of(path));
  ::unlinkat(files_.logs.get(), name.c_str(), 0);
  Descriptor log(::openat(files_.logs.get(), name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (log.valid()) ::fchmod(log.get(), 0600);
  return log;
}

Descriptor LedgerFolder::open_log(const BuildLease& lease) {
  if (!lease.log) return {};
  const std::string name(files::name_of(*lease.log));
  Descriptor log(
      ::openat(files_.logs.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat status {};
  if (!log.valid() || ::fstat(log.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return log;
}

void LedgerFolder::remove_log(pid_t pid) { ::unlink(log_path(pid).c_str()); }

}  // namespace qv::build
