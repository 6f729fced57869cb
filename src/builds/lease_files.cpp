// Hundreds of builds may wait, and each reads the ledger again and again. A lease file is
// only ever replaced whole, so one whose inode, size and time are unchanged is not read and
// decoded again. Where there are many, files and their processes are looked at before the lock is
// taken, and under it only what changed meanwhile is read. A death seen late can delay a start,
// never allow one.
//
// Nothing is concluded from a shortage: what cannot be read now may be read later.

#include "builds/lease_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/text.h"
#include "platform/awake.h"
#include "platform/clock.h"
#include "platform/process.h"

namespace qv::build {

namespace {

constexpr off_t kLargestLease = off_t{64} << 10;

// Fewer leases are read under the lock as quickly as it takes to look whether they changed.
constexpr std::size_t kMany = 8;

// A file changed this recently may change once more within the clock's grain, so what was
// read of it is not kept.
constexpr double kClockGrainSeconds = 0.05;

// Errors that say something about this moment and nothing about the file.
bool is_passing(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR || error == EIO;
}

// For a lease that cannot be read just now: a build that others wait for.
BuildLease stand_in(std::string_view name) {
  BuildLease lease;
  lease.pid = pid_of(name, kLeaseEnding).value_or(::getpid());
  lease.running = true;
  return lease;
}

}  // namespace

std::optional<pid_t> pid_of(std::string_view name, std::string_view ending) {
  if (!name.ends_with(ending)) return std::nullopt;
  name.remove_suffix(ending.size());
  const auto pid = text::whole_number(name);
  if (!pid || *pid <= 0 || !std::in_range<pid_t>(*pid)) return std::nullopt;
  return std::to_string(*pid) == name ? std::optional(static_cast<pid_t>(*pid)) : std::nullopt;
}

double FileState::age() const {
  return platform::wall_clock_seconds() - static_cast<double>(modified.seconds) -
         static_cast<double>(modified.nanoseconds) / 1e9;
}

void LeaseFiles::look_ahead(LiveProcesses& processes, double now) {
  const std::vector<std::string> names = this->names();
  if (names.size() < kMany) return;
  for (const std::string& name : names) find_out(name, processes, now);
}

std::vector<LeaseFiles::Found> LeaseFiles::read(LiveProcesses& processes, double now) {
  std::vector<Found> files;
  for (auto& [name, known] : known_) known.seen = false;
  for (const std::string& name : names()) {
    Known& known = find_out(name, processes, now);
    known.seen = true;
    known.looked_at = false;
    const double by_the_file = known.state ? platform::certainly_awake(known.state->age()) : 0;
    files.push_back({name, known.lease, known.alive, std::max(by_the_file, now - known.since)});
  }
  std::erase_if(known_, [](const auto& entry) { return !entry.second.seen; });
  return files;
}

std::vector<std::string> LeaseFiles::names() const {
  std::vector<std::string> names;
  if (auto all = directory_->names()) {
    for (std::string& name : *all) {
      if (name.ends_with(kLeaseEnding)) names.push_back(std::move(name));
    }
  } else {
    for (const auto& [name, known] : known_) names.push_back(name);
  }
  return names;
}

LeaseFiles::Known& LeaseFiles::find_out(const std::string& name, LiveProcesses& processes,
                                        double now) {
  const auto [entry, is_new] = known_.try_emplace(name);
  Known& known = entry->second;
  const auto state = state_of(name);
  bool unsure = !state && is_passing(errno);
  if (is_new || (!unsure && state != known.state)) known = Known{.state = state, .since = now};
  if (!known.lasting && !unsure) {
    auto lease = state ? read_lease(name) : std::nullopt;
    unsure = state && !lease && is_passing(errno);
    if (!unsure) {
      known.lasting = !state || state->age() > kClockGrainSeconds;
      known.lease = std::move(lease);
      known.stands_in = false;
    }
    known.looked_at = false;
  }
  if (unsure && (!known.lease || known.stands_in)) {
    known.lease = stand_in(name);
    known.stands_in = true;
    known.alive = platform::look_at_process(known.lease->pid).found != platform::ProcessLook::gone;
  } else if (known.lease && !known.looked_at) {
    known.alive = processes.contains(*known.lease);
  }
  known.looked_at = true;
  return known;
}

std::optional<FileState> LeaseFiles::state_of(const std::string& name) const {
  struct stat status {};
  if (::fstatat(directory_->get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return std::nullopt;
  }
  errno = 0;
  if (!S_ISREG(status.st_mode) || status.st_size > kLargestLease) return std::nullopt;
  return FileState{status.st_dev, status.st_ino, status.st_size,
                   platform::modification_time(status)};
}

// Absent for a file that is no lease, and with errno set when it is not to be had at all.
std::optional<BuildLease> LeaseFiles::read_lease(const std::string& name) const {
  const Descriptor file(
      ::openat(directory_->get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file.valid()) return std::nullopt;
  const auto bytes = io::read_to_end(file.get(), kLargestLease);
  if (!bytes) return std::nullopt;
  errno = 0;
  auto lease = record::from_text<BuildLease>(*bytes);
  // No machine runs that many jobs, and sums of them have to stay in range.
  if (lease && !std::in_range<std::uint16_t>(lease->jobs)) lease.reset();
  return lease;
}

}  // namespace qv::build
