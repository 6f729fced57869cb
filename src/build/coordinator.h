#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "base/descriptor.h"
#include "build/environment.h"
#include "build/job_knobs.h"
#include "build/ledger.h"
#include "build/readings.h"
#include "build/schedule.h"

namespace qv::build {

// Drives one build from the moment it asks to run until its exit status is known.
struct Coordinator {
  std::string real;  // the tool as written
  std::string tool;  // the last component of that path
  Arguments args;
  Environment env;
  std::shared_ptr<BuildLedger> ledger;

  // What one pass came to.
  struct Step {
    struct Wait {
      std::int64_t ahead;  // builds that run or queue before this one
    };
    struct Hold {
      std::int64_t ahead;
      bool critical;
    };
    struct Follow {
      Descriptor fd;  // the leader's log
      BuildLease leader;
    };
    struct Run {
      std::optional<std::int64_t> jobs;  // absent: no job count is imposed
      std::int64_t others;               // builds already running
      std::int64_t cores;
      bool bounded;    // by the user: without an imposed count the tool gets `cores`
      Descriptor log;  // new and empty, when the build can be followed
    };
    std::variant<Wait, Hold, Follow, Run> outcome;
  };

  // What a build remembers from pass to pass.
  struct Queue {
    BuildLease own;
    std::optional<std::string> key;
    bool do_not_follow = false;
    HoldTimer hold_timer;
  };

  // One decision. The ledger's lock is held by the caller; the own lease is updated and
  // written, or removed in order to follow.
  [[nodiscard]] Step decide(Queue& queue, const BuildMemory& memory) const;

  // The tool's exit status, 128 and the signal's number when a signal ended it. Does not
  // return when the process is replaced by the tool, which is how every failure of the
  // coordinator itself ends. `program` is this program as argument 0 names it.
  [[nodiscard]] int run(const std::string& program);
};

}  // namespace qv::build
