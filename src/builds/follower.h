#pragma once

#include <variant>

#include "base/descriptor.h"
#include "builds/lease.h"
#include "builds/pane_output.h"

namespace qv::build {

// How the following ended, but for an exit status.
enum class Unfollowed {
  leader_stopped,  // or died, or left a log that cannot be followed
  log_given_up,    // the leader goes on without one
};

// Shows what the leader's tool writes, on the same streams, until the leader's log says
// how it ended: the tool's exit status.
[[nodiscard]] std::variant<int, Unfollowed> follow(Descriptor log, const BuildLease& leader,
                                                   PaneOutput& pane);

}  // namespace qv::build
