#pragma once

#include <sys/types.h>

namespace qv::platform {

// Whether the process that started this one has ended and left it to the system.
// `parent_at_start` is what getppid() said at the start.
[[nodiscard]] bool parent_has_gone(pid_t parent_at_start);

}  // namespace qv::platform
