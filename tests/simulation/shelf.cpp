// The same promises as the ledger on disk, with the same room for being late: what was looked
// at before the lock is believed under it while the file is unchanged.

#include "shelf.h"

#include <fcntl.h>

#include <algorithm>

#include "world.h"

namespace qv::build::simulation {

namespace {

constexpr double kLongestWithoutMovement = 5;
constexpr double kLockPause = 0.05;

class Held final : public BuildLedger::Lock {
 public:
  Held(Shelf& shelf, const Build& build) : shelf_(shelf) { shelf_.locked_by = &build; }
  ~Held() override { shelf_.locked_by = nullptr; }

 private:
  Shelf& shelf_;
};

// A log is more than a valid descriptor to nobody here.
Descriptor some_descriptor() { return Descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC)); }

}  // namespace

void Shelf::remove_log(pid_t pid) {
  const auto log = logs.find(pid);
  if (log == logs.end()) return;
  log->second->linked = false;
  logs.erase(log);
}

std::unique_ptr<BuildLedger::Lock> LedgerInMemory::lock() {
  Shelf& shelf = world_.shelf;
  world_.pass(build_, world_.random.between(0, 0.01));
  const double start = world_.now();
  while (shelf.locked_by != nullptr || shelf.held_by_stranger_until > world_.now()) {
    if (world_.now() - start >= kLongestWithoutMovement) return nullptr;
    world_.pass(build_, kLockPause);
  }
  ++locks_taken_;
  return std::make_unique<Held>(shelf, build_);
}

void LedgerInMemory::look_ahead() {
  world_.interrupt(build_);
  for (const auto& [pid, file] : world_.shelf.leases) find_out(file);
}

std::vector<LiveLease> LedgerInMemory::read_live(double now) {
  world_.interrupt(build_);
  Shelf& shelf = world_.shelf;
  std::vector<LiveLease> live;
  for (auto entry = shelf.leases.begin(); entry != shelf.leases.end();) {
    const auto& [pid, file] = *entry;
    Known& known = find_out(file);
    known.looked_at = false;
    if (known.alive) {
      const double by_clock = std::max(world_.wall() - file.changed_at_wall, 0.0);
      live.push_back({file.lease, std::max(by_clock, now - known.since), false});
      ++entry;
      continue;
    }
    if (file.lease.log) shelf.remove_log(pid);
    known_.erase(pid);
    entry = shelf.leases.erase(entry);
  }
  std::erase_if(known_, [&](const auto& entry) { return !shelf.leases.contains(entry.first); });
  for (auto log = shelf.logs.begin(); log != shelf.logs.end();) {
    const pid_t pid = (log++)->first;
    if (!shelf.leases.contains(pid) && !world_.process(pid)) shelf.remove_log(pid);
  }
  if (live.size() > 1) {  // in no order that means anything
    std::rotate(live.begin(),
                live.begin() + static_cast<std::ptrdiff_t>(world_.random.below(live.size())),
                live.end());
  }
  return live;
}

LedgerInMemory::Known& LedgerInMemory::find_out(const LeaseFile& file) {
  Known& known = known_[file.lease.pid];
  const bool unchanged = known.version == file.version;
  if (unchanged && known.looked_at) return known;
  if (!unchanged) known = {file.version, world_.now(), false, false, std::nullopt};
  known.alive = world_.is_alive(file.lease) || world_.is_short;
  known.looked_at = true;
  return known;
}

bool LedgerInMemory::is_stopped(const BuildLease& lease, double now) {
  const auto known = known_.find(lease.pid);
  if (known == known_.end()) return false;
  std::optional<double>& since = known->second.stopped_since;
  const Build* process = world_.process(lease.pid);
  if (process == nullptr || !process->stopped || world_.is_short) {
    since.reset();
  } else if (!since) {
    since = now;
  }
  return since && now - *since >= kStoppedSeconds;
}

bool LedgerInMemory::write(const BuildLease& lease) {
  world_.interrupt(build_);
  Shelf& shelf = world_.shelf;
  const auto found = shelf.leases.find(lease.pid);
  if (found != shelf.leases.end() && found->second.lease == lease) return true;
  if (world_.writes_fail && world_.random.chance(0.5)) return false;
  shelf.leases[lease.pid] = {lease, world_.wall(), world_.now(), ++shelf.versions};
  world_.interrupt(build_);
  return true;
}

void LedgerInMemory::remove(pid_t pid) {
  world_.interrupt(build_);
  world_.shelf.leases.erase(pid);
  world_.interrupt(build_);
}

std::string LedgerInMemory::log_path(pid_t pid) const {
  return "/logs/" + std::to_string(pid) + ".log";
}

Descriptor LedgerInMemory::create_log(pid_t pid) {
  world_.interrupt(build_);
  world_.shelf.remove_log(pid);
  if (world_.writes_fail && world_.random.chance(0.5)) return {};
  opened_ = world_.shelf.logs[pid] = std::make_shared<LogFile>();
  return some_descriptor();
}

Descriptor LedgerInMemory::open_log(const BuildLease& lease) {
  world_.interrupt(build_);
  const auto log = world_.shelf.logs.find(lease.pid);
  if (log == world_.shelf.logs.end()) return {};
  opened_ = log->second;
  return some_descriptor();
}

void LedgerInMemory::remove_log(pid_t pid) {
  world_.interrupt(build_);
  world_.shelf.remove_log(pid);
}

}  // namespace qv::build::simulation
