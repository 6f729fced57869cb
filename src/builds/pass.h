#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/descriptor.h"
#include "builds/ledger.h"
#include "builds/readings.h"
#include "builds/schedule.h"

namespace qv::build {

// The same build is running already.
struct Follow {
  Descriptor log;  // the leader's
  BuildLease leader;
};
// The build's turn has come, and its lease says so.
struct Start {
  std::optional<std::int64_t> jobs;  // absent: no job count is imposed
  std::int64_t others = 0;           // builds already running
  std::int64_t cores = 0;
  bool bounded = false;  // by the user: without an imposed count the tool gets `cores`
  Descriptor log;        // new and empty, when the build can be followed
};
using PassOutcome = std::variant<Wait, Hold, Follow, Start>;

// What tells a build from another, and when it was begun to be found out, in waking seconds.
struct FoundKey {
  std::string key;
  double begun = 0;
  bool renewed = false;  // just now: the next pass acts on it, however long it took
};

// A build that asks for its turn: what it remembers from pass to pass.
struct Candidate {
  BuildLease lease;
  bool release = false;         // optimised builds need more memory
  std::optional<FoundKey> key;  // without one it neither leads nor follows
  bool may_follow = true;
  HoldTimer hold_timer;
  // Since the last pass: whether few enough are ahead to ask often, and the processes whose
  // end may change the answer.
  bool is_near = true;
  std::vector<pid_t> waits_for;
  BuildPlan plan;  // the others, as that pass counted them if it did not come to follow one
};

// One pass. The ledger's lock is held by the caller; the candidate's lease is updated and
// written, or removed in order to follow. `now` is in waking seconds. Nothing, and the build
// stays queued, when its turn has come and its key is too old to act on.
[[nodiscard]] std::optional<PassOutcome> decide(Candidate& candidate, BuildLedger& ledger,
                                                const BuildMemory& memory, double now);

}  // namespace qv::build
