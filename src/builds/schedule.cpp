// Builds share two things. Cores can be shared a little beyond their number, as build
// tools themselves do: running builds may spend half again as many jobs as there are
// cores, and a build starts when two of those are free. Memory cannot: under pressure
// builds start one at a time, and with the little that is left only a few jobs each. The
// build in the focused pane goes first and never waits for cores; the rest come in the
// order in which they asked.
//
// A running build may be a server that never ends. So one that has run for ten minutes is at
// a standstill: it is still counted in what builds say, but its cores are lent to others,
// two jobs at a time, and after ten more minutes its memory is too, one job at a time. The
// age of its lease is all that is asked, so nothing that comes or goes prolongs this. A
// process that is stopped uses no cores at all, and a queue does not wait for it.

#include "builds/schedule.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace qv::build {

namespace {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::uint64_t kReserve = kGiB;  // left for the rest of the system
constexpr std::uint64_t kPerJob = kGiB + kGiB / 2;
constexpr std::uint64_t kPerReleaseJob = 4 * kGiB;

constexpr int kWarning = 2;  // pressure from here on; one above a band's start is in the band
constexpr int kCritical = 4;
constexpr double kLongestCriticalHold = 600;  // seconds

constexpr std::int64_t kQuarterFromCores = 8;       // below, a build under warning gets a few jobs,
constexpr std::int64_t kFewJobs = 2;                // from there a quarter of the cores
constexpr std::int64_t kFocusedThirdFromCores = 6;  // from here a focused build gets a third
constexpr std::int64_t kShareFromCores = 3;         // below, unfocused builds run one by one
constexpr std::int64_t kLeastFree = 2;

constexpr double kStandstill = 600;  // seconds; for cores, and as long again for memory
constexpr std::int64_t kJobsOnLentCores = 2;
constexpr std::int64_t kJobsOnLentMemory = 1;

bool is_warning(int pressure) { return pressure >= kWarning; }
bool is_critical(int pressure) { return pressure >= kCritical; }

std::int64_t sum(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (__builtin_add_overflow(a, b, &result)) std::abort();
  return result;
}

std::int64_t difference(std::int64_t a, std::int64_t b) {
  std::int64_t result = 0;
  if (__builtin_sub_overflow(a, b, &result)) std::abort();
  return result;
}

// One decision in the making.
struct Choice {
  const BuildPlan& plan;
  const BuildPlan::Load& load;
  std::int64_t cores;  // as the system says
  std::int64_t n;      // at least 1
  std::optional<std::int64_t> cap;
  int pressure;

  [[nodiscard]] std::int64_t before_us() const { return sum(plan.running, plan.ahead); }
  [[nodiscard]] bool may_run_alone() const {
    return load.builds == 0 && (plan.ahead == 0 || plan.focused);
  }
  [[nodiscard]] bool yields_to_running() const {
    return plan.running > 0 && is_warning(pressure) && !plan.focused;
  }
  // The jobs that memory leaves, when that is fewer than the cores.
  [[nodiscard]] std::optional<std::int64_t> tight_cap() const {
    if (!cap || std::max<std::int64_t>(*cap, 1) >= n) return std::nullopt;
    return std::max<std::int64_t>(*cap, 1);
  }

  // Whoever runs has memory, whether its cores count or not.
  [[nodiscard]] bool has_memory_to_wait_for() const {
    return plan.running > 0 && cap == 0 && !plan.focused;
  }

  [[nodiscard]] BuildDecision ungoverned() const;
  [[nodiscard]] BuildDecision governed() const;
  [[nodiscard]] BuildDecision alone() const;
  [[nodiscard]] BuildDecision share() const;
  [[nodiscard]] std::int64_t focused_jobs(std::int64_t free, std::int64_t third) const;
  [[nodiscard]] bool may_start(std::int64_t free, std::int64_t third) const;
};

BuildDecision Choice::ungoverned() const {
  if (plan.running > 0 && (is_critical(pressure) || yields_to_running())) {
    return Hold{before_us(), is_critical(pressure)};
  }
  if (may_run_alone()) return Run{};
  return share();
}

BuildDecision Choice::governed() const {
  if (is_critical(pressure)) return Hold{before_us(), true};
  if (yields_to_running()) return Hold{before_us(), false};
  if (may_run_alone()) return alone();
  return share();
}

BuildDecision Choice::alone() const {
  if (has_memory_to_wait_for()) return Hold{before_us(), false};
  if (!is_warning(pressure)) return Run{tight_cap()};
  const std::int64_t quarter = cores >= kQuarterFromCores ? n / 4 : kFewJobs;
  return Run{std::min(tight_cap().value_or(n), quarter)};
}

BuildDecision Choice::share() const {
  const std::int64_t free = difference(BuildSchedule::budget(n), load.jobs);
  const std::int64_t third = n / 3;
  const std::int64_t limit = cap ? std::max<std::int64_t>(*cap, 1) : n;
  if (plan.focused) return Run{std::min(focused_jobs(free, third), limit)};
  if (!may_start(free, third)) return Wait{before_us()};
  if (has_memory_to_wait_for()) return Hold{before_us(), false};
  return Run{std::min({free, n, limit})};
}

std::int64_t Choice::focused_jobs(std::int64_t free, std::int64_t third) const {
  if (cores >= kFocusedThirdFromCores) return std::min(std::max(free, third), n);
  return std::min(free > 1 ? free : kFewJobs, n);
}

bool Choice::may_start(std::int64_t free, std::int64_t third) const {
  if (plan.ahead > 0 || free < kLeastFree) return false;
  return cores < kShareFromCores ? load.builds == 0 : third > load.builds;
}

}  // namespace

bool is_before(const BuildLease& one, const BuildLease& other) {
  return one.focused != other.focused ? one.focused : one.queuedAt < other.queuedAt;
}

BuildPlan BuildPlan::of(const BuildLease& own, const std::vector<LiveLease>& others, bool release) {
  BuildPlan plan;
  plan.focused = own.focused;
  plan.release = release;
  plan.outwaited = true;
  const auto add = [](Load& sum_of, const BuildLease& lease) {
    ++sum_of.builds;
    sum_of.jobs = sum(sum_of.jobs, lease.jobs);
  };
  for (const LiveLease& other : others) {
    if (other.lease.running) {
      ++plan.running;
      if (!other.stopped) add(plan.load, other.lease);
      if (!other.stopped && other.age < kStandstill) add(plan.moving, other.lease);
      plan.outwaited = plan.outwaited && other.age >= 2 * kStandstill;
    } else if (!other.stopped && is_before(other.lease, own)) {
      ++plan.ahead;
    }
  }
  plan.outwaited = plan.outwaited && plan.running > 0;
  return plan;
}

BuildDecision BuildSchedule::decide(const BuildPlan& plan, const BuildMemory& memory,
                                    HoldTimer& timer, double now) {
  int pressure = memory.pressure;
  if (!memory.governed || !is_critical(pressure)) {
    timer.reset();
  } else {
    if (!timer) timer = now;
    if (now - *timer >= kLongestCriticalHold) pressure = kWarning;
  }
  const std::int64_t n = std::max(memory.cores, 1);
  const auto choose = [&](const BuildPlan::Load& load) {
    const Choice choice{plan, load, memory.cores, n, memory_cap(memory, plan.release), pressure};
    return memory.governed ? choice.governed() : choice.ungoverned();
  };
  const BuildDecision decision = choose(plan.moving);
  if (const auto* run = std::get_if<Run>(&decision)) {
    if (std::holds_alternative<Run>(choose(plan.load))) return decision;
    return Run{std::min(run->jobs.value_or(n), kJobsOnLentCores)};
  }
  const auto* hold = std::get_if<Hold>(&decision);
  if (hold != nullptr && !hold->critical && plan.outwaited && plan.ahead == 0) {
    return Run{kJobsOnLentMemory};
  }
  return decision;
}

std::int64_t BuildSchedule::budget(std::int64_t cores) { return sum(cores, cores / 2); }

std::optional<std::int64_t> BuildSchedule::memory_cap(const BuildMemory& memory, bool release) {
  if (!memory.governed || !memory.available) return std::nullopt;
  if (*memory.available <= kReserve) return 0;
  const std::uint64_t jobs = (*memory.available - kReserve) / (release ? kPerReleaseJob : kPerJob);
  return static_cast<std::int64_t>(jobs);
}

}  // namespace qv::build
