// The scheduling rules as one table: a machine, the other builds, this build, and what
// it is told to do.

#include "builds/schedule.h"

#include <gtest/gtest.h>

#include <limits>

namespace qv::build {
namespace {

constexpr double kNow = 10'000;
constexpr double kMine = 100;  // when this build was queued

LiveLease running(std::int64_t jobs, double minutes = 0, bool stopped = false) {
  LiveLease found{{}, minutes * 60, stopped};
  found.lease.running = true;
  found.lease.jobs = jobs;
  return found;
}

LiveLease queued(double at, bool focused = false, bool stopped = false) {
  LiveLease found{{}, 0, stopped};
  found.lease.queuedAt = at;
  found.lease.focused = focused;
  return found;
}

BuildDecision unrestricted() { return Run{}; }
BuildDecision jobs(std::int64_t count) { return Run{count}; }
BuildDecision wait(std::int64_t ahead) { return Wait{ahead}; }
BuildDecision hold(std::int64_t ahead) { return Hold{ahead, false}; }
BuildDecision critical(std::int64_t ahead) { return Hold{ahead, true}; }

constexpr std::uint64_t gib(double count) {
  return static_cast<std::uint64_t>(count * (std::uint64_t{1} << 30));
}

BuildMemory machine(int cores, int pressure = 1, double available = 256) {
  return {pressure, cores, gib(available), true};
}
BuildMemory ungoverned(int cores, int pressure = 1) { return {pressure, cores, gib(1), false}; }

enum Self { kPlain, kFocused, kRelease };

struct Row {
  const char* what;
  BuildMemory memory;
  Self self;
  std::vector<LiveLease> others;
  BuildDecision expected;
};

TEST(BuildSchedule, DecidesByTheRules) {
  BuildMemory unknown_memory = machine(10);
  unknown_memory.available.reset();
  const LiveLease earlier = queued(99), same = queued(100), later = queued(101);
  const LiveLease earlier_focused = queued(99, true), later_focused = queued(101, true);
  const Row rows[] = {
      {"idle", machine(10), kPlain, {}, unrestricted()},
      {"idle, memory unknown", unknown_memory, kPlain, {}, unrestricted()},
      {"idle, cores unknown", machine(0), kPlain, {}, unrestricted()},
      {"idle, cap below cores", machine(8, 1, 5.5), kPlain, {}, jobs(3)},
      {"idle, cap equal to cores", machine(3, 1, 5.5), kPlain, {}, unrestricted()},
      {"idle, no memory left", machine(8, 1, 1), kPlain, {}, jobs(1)},
      {"idle, 3.5 GiB, debug", machine(8, 1, 3.5), kPlain, {}, jobs(1)},
      {"idle, 9 GiB, release", machine(8, 1, 9), kRelease, {}, jobs(2)},
      {"idle, behind another", machine(8), kPlain, {earlier}, wait(1)},
      {"idle, focused overtakes", machine(8), kFocused, {earlier}, unrestricted()},
      {"idle, focused behind focused", machine(8), kFocused, {earlier_focused}, unrestricted()},

      {"warning, 10 cores alone", machine(10, 2), kPlain, {}, jobs(2)},
      {"warning, 6 cores alone", machine(6, 2), kPlain, {}, jobs(2)},
      {"warning, 16 cores alone", machine(16, 2), kPlain, {}, jobs(4)},
      {"warning, cap below the quarter", machine(16, 2, 5.5), kPlain, {}, jobs(3)},
      {"warning, one core", machine(1, 2), kPlain, {}, jobs(1)},
      {"between warning and critical", machine(16, 3), kPlain, {}, jobs(4)},
      {"warning, behind", machine(8, 2), kPlain, {running(2), queued(1)}, hold(2)},
      {"warning, focused", machine(8, 2), kFocused, {running(2)}, jobs(8)},
      {"critical, alone", machine(8, 4), kPlain, {}, critical(0)},
      {"critical, focused", machine(8, 4), kFocused, {running(2), later}, critical(1)},

      {"off, warning, alone", ungoverned(10, 2), kPlain, {}, unrestricted()},
      {"off, critical, alone", ungoverned(10, 4), kPlain, {}, unrestricted()},
      {"off, no cap", ungoverned(10), kPlain, {running(2)}, jobs(10)},
      {"off, warning, behind", ungoverned(8, 2), kPlain, {running(2)}, hold(1)},
      {"off, warning, focused", ungoverned(8, 2), kFocused, {running(8)}, jobs(4)},
      {"off, critical, focused", ungoverned(8, 4), kFocused, {running(2)}, critical(1)},
      {"off, critical, queued", ungoverned(2, 4), kPlain, {earlier}, wait(1)},

      {"second of two", machine(8), kPlain, {running(8)}, jobs(4)},
      {"third behind twice six jobs", machine(8), kPlain, {running(6), running(6)}, wait(2)},
      {"a third of the cores runs", machine(8), kPlain, {running(1), running(1)}, wait(2)},
      {"one job free", machine(8), kPlain, {running(11)}, wait(1)},
      {"two jobs free", machine(8), kPlain, {running(10)}, jobs(2)},
      {"more free than cores", machine(8), kPlain, {running(1)}, jobs(8)},
      {"half a job of the budget is cut", machine(7), kPlain, {running(9)}, wait(1)},
      {"one ahead", machine(9), kPlain, {running(2), earlier}, wait(2)},
      {"same second", machine(9), kPlain, {running(2), same}, jobs(9)},
      {"one later", machine(9), kPlain, {running(2), later}, jobs(9)},
      {"one later but focused", machine(9), kPlain, {running(2), later_focused}, wait(2)},
      {"two cores beside one", machine(2), kPlain, {running(1)}, wait(1)},
      {"three cores beside one", machine(3), kPlain, {running(1)}, wait(1)},

      {"focused, 4 cores, 3 free", machine(4), kFocused, {running(3)}, jobs(3)},
      {"focused, 4 cores, overspent", machine(4), kFocused, {running(9)}, jobs(2)},
      {"focused, 1 core", machine(1), kFocused, {running(1)}, jobs(1)},
      {"focused, 9 cores, overspent", machine(9), kFocused, {running(99)}, jobs(3)},
      {"focused under a cap", machine(8, 1, 4.5), kFocused, {running(1)}, jobs(2)},
      {"focused, nothing left", machine(8, 1, 0.5), kFocused, {running(1)}, jobs(1)},
      {"second under a cap", machine(8, 1, 4.5), kPlain, {running(1)}, jobs(2)},
      {"second, 3.5 GiB, release", machine(8, 1, 3.5), kRelease, {running(1)}, hold(1)},
      {"second, 3.5 GiB, debug", machine(8, 1, 3.5), kPlain, {running(1)}, jobs(1)},
      {"second, the reserve only", machine(8, 1, 1), kPlain, {running(1)}, hold(1)},
      {"waiting comes before holding", machine(8, 1, 1), kPlain, {running(11)}, wait(1)},

      {"not yet at a standstill", machine(2), kPlain, {running(2, 9.9)}, wait(1)},
      {"at a standstill", machine(2), kPlain, {running(2, 10)}, jobs(2)},
      {"bounded by cores", machine(1), kPlain, {running(2, 10)}, jobs(1)},
      {"bounded by memory", machine(2, 1, 3), kPlain, {running(2, 10)}, jobs(1)},
      {"it would start anyway", machine(8), kPlain, {running(2, 10)}, unrestricted()},
      {"more cores for the focused", machine(8), kFocused, {running(8, 10)}, unrestricted()},
      {"another one moves", machine(2), kPlain, {running(2, 99), running(2)}, wait(2)},
      {"the lent budget is spent", machine(8), kPlain, {running(9, 99), running(11)}, wait(2)},
      {"the order stays", machine(2), kPlain, {running(2, 99), earlier}, wait(2)},
      {"memory is not lent yet", machine(8, 2), kPlain, {running(2, 19.9)}, hold(1)},
      {"memory is lent", machine(8, 2), kPlain, {running(2, 20)}, jobs(1)},
      {"memory is lent, off", ungoverned(8, 2), kPlain, {running(2, 20)}, jobs(1)},
      {"to the first only", machine(8, 2), kPlain, {running(2, 20), earlier}, hold(2)},
      {"another has memory", machine(8, 2), kPlain, {running(2, 20), running(1, 19)}, hold(2)},
      {"no memory, not lent", machine(8, 1, 1), kPlain, {running(2, 10)}, hold(1)},
      {"no memory, lent", machine(8, 1, 1), kPlain, {running(2, 20)}, jobs(1)},
      {"critical is not lent", machine(8, 4), kPlain, {running(2, 99)}, critical(1)},
      {"critical is not lent, off", ungoverned(8, 4), kPlain, {running(2, 99)}, critical(1)},
      {"one that is stopped", machine(2), kPlain, {running(2, 0, true)}, unrestricted()},
      {"stopped in the queue", machine(2), kPlain, {queued(99, true, true)}, unrestricted()},
      {"stopped, memory", machine(8, 2), kPlain, {running(2, 0, true)}, hold(1)},
  };
  for (const Row& row : rows) {
    const BuildLease own = queued(kMine, row.self == kFocused).lease;
    HoldTimer timer;
    const auto plan = BuildPlan::of(own, row.others, row.self == kRelease);
    EXPECT_EQ(BuildSchedule::decide(plan, row.memory, timer, kNow), row.expected) << row.what;
    EXPECT_EQ(timer.has_value(), row.memory.governed && row.memory.pressure > 3) << row.what;
  }
}

TEST(BuildSchedule, CriticalPressureHoldsTenMinutes) {
  HoldTimer timer;
  const auto at = [&](int second, int pressure, bool governed = true) {
    const BuildMemory memory{pressure, 16, gib(256), governed};
    return BuildSchedule::decide(BuildPlan{}, memory, timer, kNow + second);
  };
  EXPECT_EQ(at(0, 4), critical(0));
  EXPECT_EQ(at(599, 4), critical(0));
  EXPECT_EQ(at(600, 4), jobs(4)) << "judged as a warning";
  EXPECT_EQ(at(601, 4), jobs(4)) << "and so from then on";
  EXPECT_EQ(at(602, 2), jobs(4));
  EXPECT_EQ(at(603, 4), critical(0)) << "a new stretch";
  EXPECT_EQ(at(700, 4, false), unrestricted());
  EXPECT_EQ(at(1300, 4), critical(0)) << "switched off in between";
}

TEST(BuildSchedule, ImpossibleSumsAreFatal) {
  const auto huge = std::numeric_limits<std::int64_t>::max();
  EXPECT_DEATH((void)BuildPlan::of(queued(1).lease, {running(huge), running(1)}, false), "");
}

}  // namespace
}  // namespace qv::build
