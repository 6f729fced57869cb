// One pass under the lock: reading the other leases, choosing, and publishing the choice
// are a single step to every other build. A log is created here too, before the lease
// that names it, so that whoever reads the lease finds the log and never an older one.

#include <unistd.h>

#include "base/text.h"
#include "build/coordinator.h"

namespace qv::build {

namespace {

using Step = Coordinator::Step;

std::optional<Step::Follow> find_leader(const BuildLedger& ledger, const std::string& key,
                                        const std::vector<BuildLease>& others) {
  for (const BuildLease& other : others) {
    if (!other.running || other.key != key || !other.log) continue;
    Descriptor log = ledger.open_log(other);
    if (!log.valid()) return std::nullopt;
    return Step::Follow{std::move(log), other};
  }
  return std::nullopt;
}

void queue_up(BuildLease& own, const char* reason) {
  own.running = false;
  own.jobs = 0;
  own.reason = reason;
}

}  // namespace

Step Coordinator::decide(Queue& queue, const BuildMemory& memory) const {
  BuildLease& own = queue.own;
  std::vector<BuildLease> others = ledger->read_live();
  std::erase_if(others, [&](const BuildLease& lease) { return lease.pid == own.pid; });
  if (queue.key && !queue.do_not_follow) {
    if (auto leader = find_leader(*ledger, *queue.key, others)) {
      ledger->remove(own.pid);
      return {std::move(*leader)};
    }
  }

  const BuildPlan plan = BuildPlan::of(own, others, is_release(tool, args));
  const BuildDecision decision =
      BuildSchedule::decide(plan, memory, queue.hold_timer, std::chrono::steady_clock::now());
  Step step;
  if (const auto* hold = std::get_if<Hold>(&decision)) {
    queue_up(own, "memory");
    step.outcome = Step::Hold{hold->ahead, hold->critical};
  } else if (const auto* wait = std::get_if<Wait>(&decision)) {
    queue_up(own, "cores");
    step.outcome = Step::Wait{wait->ahead};
  } else {
    const auto& jobs = std::get<Run>(decision).jobs;
    own.running = true;
    own.jobs = jobs.value_or(memory.cores);
    own.reason.reset();
    Descriptor log = queue.key ? ledger->create_log(own.pid) : Descriptor();
    if (log.valid()) {
      own.key = queue.key;
      own.log = text::repaired(ledger->log_path(own.pid));
    }
    step.outcome = Step::Run{jobs, plan.running, memory.cores, memory.bounded, std::move(log)};
  }
  ledger->write(own);
  return step;
}

}  // namespace qv::build
