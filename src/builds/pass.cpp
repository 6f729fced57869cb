// One pass under the lock: reading the other leases, choosing, and publishing the choice
// are a single step to every other build. A log is created here too, before the lease
// that names it, so that whoever reads the lease finds the log and never an older one.

#include "builds/pass.h"

#include <utility>
#include <vector>

#include "base/text.h"

namespace qv::build {

namespace {

std::optional<Follow> find_leader(const BuildLedger& ledger, const std::string& key,
                                  const std::vector<BuildLease>& others) {
  for (const BuildLease& other : others) {
    if (!other.running || other.key != key || !other.log) continue;
    Descriptor log = ledger.open_log(other);
    if (!log.valid()) return std::nullopt;
    return Follow{std::move(log), other};
  }
  return std::nullopt;
}

// What the lease and the outcome become, for each thing that the schedule can say.
struct Publish {
  Candidate& candidate;
  const BuildLedger& ledger;
  std::int64_t running;
  const BuildMemory& memory;

  PassOutcome operator()(const Wait& wait) const { return queue_up("cores"), wait; }
  PassOutcome operator()(const Hold& hold) const { return queue_up("memory"), hold; }
  PassOutcome operator()(const Run& run) const {
    BuildLease& own = candidate.lease;
    own.running = true;
    own.jobs = run.jobs.value_or(memory.cores);
    own.reason.reset();
    Descriptor log = candidate.key ? ledger.create_log(own.pid) : Descriptor();
    if (log.valid()) {
      own.key = candidate.key;
      own.log = text::repaired(ledger.log_path(own.pid));
    }
    return Start{run.jobs, running, memory.cores, memory.bounded, std::move(log)};
  }

 private:
  void queue_up(const char* reason) const {
    candidate.lease.running = false;
    candidate.lease.jobs = 0;
    candidate.lease.reason = reason;
  }
};

}  // namespace

PassOutcome decide(Candidate& candidate, BuildLedger& ledger, const BuildMemory& memory,
                   double now) {
  BuildLease& own = candidate.lease;
  std::vector<BuildLease> others = ledger.read_live();
  std::erase_if(others, [&](const BuildLease& lease) { return lease.pid == own.pid; });
  if (candidate.key && candidate.may_follow) {
    if (auto leader = find_leader(ledger, *candidate.key, others)) {
      ledger.remove(own.pid);
      return std::move(*leader);
    }
  }
  const BuildPlan plan = BuildPlan::of(own, others, candidate.release);
  const BuildDecision decision = BuildSchedule::decide(plan, memory, candidate.hold_timer, now);
  PassOutcome outcome = std::visit(Publish{candidate, ledger, plan.running, memory}, decision);
  ledger.write(own);
  return outcome;
}

}  // namespace qv::build
