#pragma once

#include <sys/types.h>

#include <optional>

namespace qv::platform {

// The process that took the exclusive flock(2) on the open file; absent when there is none, or
// the system does not say.
[[nodiscard]] std::optional<pid_t> lock_holder(int fd);

}  // namespace qv::platform
