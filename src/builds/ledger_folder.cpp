// A build that waits must not cost anything, and a build that dies must not block the
// others. So a build's whole presence is one small file named by its process id, and
// whoever reads the ledger drops the files of processes that are gone. Nobody has to
// clean up after a crash, and no daemon has to be alive.

#include "builds/ledger_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "base/text.h"
#include "builds/signals.h"
#include "platform/boot.h"
#include "platform/clock.h"
#include "platform/file_times.h"
#include "platform/process.h"

namespace qv::build {

namespace {

// Seconds. A lock that moves is not stuck; whoever takes it changes its time.
constexpr double kLongestWithoutMovement = 5;
constexpr double kLongestInAll = 60;
// Builds that an end has woken together all want the lock, and none keeps it for long.
constexpr std::chrono::milliseconds kFirstLockPause{1};
constexpr std::chrono::milliseconds kLongestLockPause{50};
constexpr double kSecondsOfADay = 86400;

}  // namespace

bool is_private_to_us(int fd) {
  struct stat status {};
  return ::fstat(fd, &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

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
  auto files = open_those_there(directory);
  if (files || !files::make_private_directories(directory + "/logs")) return files;
  return open_those_there(directory);
}

std::optional<LedgerFolder::Files> LedgerFolder::open_those_there(const std::string& directory) {
  constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  files::Directory top(Descriptor(::openat(AT_FDCWD, directory.c_str(), kFolder)));
  if (!top.valid() || !is_private_to_us(top.get())) return std::nullopt;
  files::Directory logs(Descriptor(::openat(top.get(), "logs", kFolder | O_NOFOLLOW)));
  if (!logs.valid() || !is_private_to_us(logs.get())) return std::nullopt;
  Descriptor lock(
      ::openat(top.get(), "lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
  if (!lock.valid()) return std::nullopt;
  return Files{std::move(top), std::move(logs), std::move(lock)};
}

// False when builds use the folder whose processes cannot be seen from here.
bool LedgerFolder::move_in() {
  Tenure whose = tenure();
  if (whose == Tenure::ours) return true;
  const auto lock = take_lock(kLongestWithoutMovement, kLongestInAll);
  if (lock == nullptr) return false;
  whose = tenure();  // nobody else moves in now
  if (whose == Tenure::elsewhere && was_used_lately()) return false;
  if (whose == Tenure::past) remove_all_leases();
  if (whose != Tenure::ours) platform::write_mark(files_.directory.get(), mark_);
  return true;
}

Tenure LedgerFolder::tenure() { return look_at_mark(files_.directory.get(), mark_); }

bool LedgerFolder::was_used_lately() const {
  return std::ranges::any_of(leases_.names(), [&](const std::string& name) {
    const auto state = leases_.state_of(name);
    return state && state->age() < kSecondsOfADay;
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
  auto pause = kFirstLockPause;
  for (;;) {
    auto held = std::make_unique<Held>(files_.lock.get());
    if (held->take()) {
      if (lock_is_in_place()) return held;
      held.reset();
      auto anew = open_files(dir_);
      if (!anew) return nullptr;
      files_ = std::move(*anew);
      if (!mark_.empty()) platform::write_mark(files_.directory.get(), mark_);
      leases_ = LeaseFiles(files_.directory);
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
    std::this_thread::sleep_for(pause);
    pause = std::min(2 * pause, kLongestLockPause);
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
  if (bytes == written_ && written_state_ && leases_.state_of(name) == written_state_) return true;
  if (!files::replace_through(path + ".tmp", path, bytes)) return false;
  written_ = std::move(bytes);
  written_state_ = leases_.state_of(name);
  return true;
}

void LedgerFolder::remove(pid_t pid) { ::unlink(lease_path(pid).c_str()); }

void LedgerFolder::look_ahead() { leases_.look_ahead(processes_, platform::waking_seconds()); }

std::vector<LiveLease> LedgerFolder::read_live(double now) {
  std::vector<LiveLease> live;
  for (LeaseFiles::Found& found : leases_.read(processes_, now)) {
    if (found.lease && found.alive) {
      live.push_back({std::move(*found.lease), found.age, false});
    } else {
      remove_stale(found);
    }
  }
  processes_.forget_the_rest();
  remove_orphaned_logs(live);
  return live;
}

// Whatever their process ids and start times look like by now.
void LedgerFolder::remove_all_leases() {
  for (const auto& found : leases_.read(processes_, platform::waking_seconds())) {
    remove_stale(found);
  }
}

void LedgerFolder::remove_stale(const LeaseFiles::Found& found) const {
  ::unlinkat(files_.directory.get(), found.name.c_str(), 0);
  if (!found.lease || !found.lease->log) return;
  ::unlinkat(files_.logs.get(), std::string(files::name_of(*found.lease->log)).c_str(), 0);
}

void LedgerFolder::remove_orphaned_logs(const std::vector<LiveLease>& live) const {
  const auto names = files_.logs.names();
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
