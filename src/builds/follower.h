#pragma once

#include <optional>

#include "base/descriptor.h"
#include "builds/lease.h"

namespace qv::build {

// Shows what the leader's tool writes, on the same streams, until the leader's log says
// how it ended. The tool's exit status, or nothing when the leader was stopped, died, or
// left a log that cannot be followed.
[[nodiscard]] std::optional<int> follow(Descriptor log, const BuildLease& leader);

}  // namespace qv::build
