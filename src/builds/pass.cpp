// One pass under the lock: reading the other leases, choosing, and publishing the choice
// are a single step to every other build. A log is created here too, before the lease
// that names it, so that whoever reads the lease finds the log and never an older one.

#include "builds/pass.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace qv::build {

namespace {

constexpr double kFreshKey = 2;  // seconds; a tree may be edited while its build queues

// So many builds at the front of the queue ask often.
constexpr std::size_t kFront = 4;

std::optional<Follow> find_leader(BuildLedger& ledger, const std::string& key,
                                  const std::vector<LiveLease>& others) {
  for (const auto& [lease, age, stopped] : others) {
    if (!lease.running || lease.key != key || !lease.log) continue;
    Descriptor log = ledger.open_log(lease);
    if (!log.valid()) return std::nullopt;
    return Follow{std::move(log), lease};
  }
  return std::nullopt;
}

// Finds out which of the others are stopped, as far as it matters: behind a few that are not,
// nobody's turn comes soon. Then sets down what the candidate waits for.
void look_around(Candidate& candidate, BuildLedger& ledger, std::vector<LiveLease>& others,
                 double now) {
  std::vector<LiveLease*> ahead;
  candidate.waits_for.clear();
  for (LiveLease& other : others) {
    if (other.lease.running) {
      other.stopped = ledger.is_stopped(other.lease, now);
      candidate.waits_for.push_back(other.lease.pid);
    } else if (is_before(other.lease, candidate.lease)) {
      ahead.push_back(&other);
    }
  }
  std::ranges::stable_sort(ahead, is_before, &LiveLease::lease);
  std::size_t in_front = 0;
  for (LiveLease* other : ahead) {
    other->stopped = ledger.is_stopped(other->lease, now);
    if (!other->stopped && ++in_front == kFront) break;
  }
  candidate.is_near = in_front < kFront || candidate.lease.focused;
  if (candidate.is_near) {
    for (const LiveLease* other : ahead) candidate.waits_for.push_back(other->lease.pid);
  } else {  // asks often once the one so far ahead is gone
    candidate.waits_for = {ahead[ahead.size() - kFront]->lease.pid};
  }
}

// What the lease and the outcome become, for each thing that the schedule can say.
struct Publish {
  Candidate& candidate;
  BuildLedger& ledger;
  std::int64_t running;
  const BuildMemory& memory;

  PassOutcome operator()(const Wait& wait) const { return queue_up("cores"), wait; }
  PassOutcome operator()(const Hold& hold) const {
    candidate.is_near = true;  // memory comes back unannounced
    return queue_up("memory"), hold;
  }
  PassOutcome operator()(const Run& run) const {
    BuildLease& own = candidate.lease;
    own.running = true;
    own.jobs = run.jobs.value_or(memory.cores);
    own.reason.reset();
    Descriptor log = candidate.key ? ledger.create_log(own.pid) : Descriptor();
    if (log.valid()) {
      own.key = candidate.key->key;
      own.log = text::repaired(ledger.log_path(own.pid));
    }
    return Start{run.jobs, running, memory.cores, memory.bounded, std::move(log)};
  }

  void queue_up(const char* reason) const {
    candidate.lease.running = false;
    candidate.lease.jobs = 0;
    candidate.lease.reason = reason;
  }
};

}  // namespace

std::optional<PassOutcome> decide(Candidate& candidate, BuildLedger& ledger,
                                  const BuildMemory& memory, double now) {
  BuildLease& own = candidate.lease;
  std::vector<LiveLease> others = ledger.read_live(now);
  std::erase_if(others, [&](const LiveLease& other) { return other.lease.pid == own.pid; });
  std::optional<FoundKey>& key = candidate.key;
  const bool too_old = key && !std::exchange(key->renewed, false) && now - key->begun > kFreshKey;
  auto leader = key && candidate.may_follow ? find_leader(ledger, key->key, others) : std::nullopt;
  if (leader && !too_old) {
    ledger.remove(own.pid);
    return std::move(*leader);
  }
  look_around(candidate, ledger, others, now);
  const BuildPlan& plan = candidate.plan = BuildPlan::of(own, others, candidate.release);
  const BuildDecision decision = BuildSchedule::decide(plan, memory, candidate.hold_timer, now);
  const Publish publish{candidate, ledger, plan.running, memory};
  const bool its_turn = leader || std::holds_alternative<Run>(decision);
  std::optional<PassOutcome> outcome;
  if (its_turn && too_old) {
    publish.queue_up("cores");
  } else {
    outcome = std::visit(publish, decision);
  }
  // A full disk must not leave a running build at the front of the queue.
  if (!ledger.write(own) && own.running) ledger.remove(own.pid);
  return outcome;
}

}  // namespace qv::build
