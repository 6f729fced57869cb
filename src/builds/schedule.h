#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "builds/lease.h"
#include "builds/readings.h"

// The policy: given the other builds and the machine, what may this build do? Nothing
// here reads, writes or asks for the time.
namespace qv::build {

struct Run {
  std::optional<std::int64_t> jobs;  // absent: as many as the tool likes
  friend bool operator==(const Run&, const Run&) = default;
};
// Too few cores are free.
struct Wait {
  std::int64_t ahead = 0;  // builds that run or queue before this one
  friend bool operator==(const Wait&, const Wait&) = default;
};
// Memory is short.
struct Hold {
  std::int64_t ahead = 0;
  bool critical = false;
  friend bool operator==(const Hold&, const Hold&) = default;
};
using BuildDecision = std::variant<Run, Wait, Hold>;

// Whether a queued build comes before another queued one.
[[nodiscard]] bool is_before(const BuildLease& one, const BuildLease& other);

// The other builds, counted as one build sees them.
struct BuildPlan {
  // What running builds take of the cores.
  struct Load {
    std::int64_t builds = 0;
    std::int64_t jobs = 0;
  };

  std::int64_t running = 0;
  std::int64_t ahead = 0;  // queued, and before this one; stopped ones are before nobody
  Load load;               // of the running ones that are not stopped
  Load moving;             // of those that are not at a standstill either
  bool outwaited = false;  // some run, and all have been at a standstill for ten minutes
  bool focused = false;    // this build
  bool release = false;    // this build

  // `others` are the live leases of all builds but `own`.
  [[nodiscard]] static BuildPlan of(const BuildLease& own, const std::vector<LiveLease>& others,
                                    bool release);
};

// When the present stretch of critical pressure began, in seconds on a clock that stands
// still while the machine sleeps; empty when pressure is not critical.
using HoldTimer = std::optional<double>;

struct BuildSchedule {
  // A stretch of critical pressure is begun or ended in `timer`. A sum of jobs that no
  // machine could have run aborts the program.
  [[nodiscard]] static BuildDecision decide(const BuildPlan& plan, const BuildMemory& memory,
                                            HoldTimer& timer, double now);

  // Jobs that may run at once; running builds share them.
  [[nodiscard]] static std::int64_t budget(std::int64_t cores);

  // Jobs that the available memory allows; absent when it sets no limit.
  [[nodiscard]] static std::optional<std::int64_t> memory_cap(const BuildMemory& memory,
                                                              bool release);
};

}  // namespace qv::build
