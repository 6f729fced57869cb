#pragma once

#include <sys/types.h>

#include "base/process.h"

namespace qv::platform {

// process::spawn for a child that is not to outlive this process: where the system can do
// that, the child is killed when the calling thread ends, however it ends.
[[nodiscard]] pid_t spawn_tied(const process::Launch& launch);

}  // namespace qv::platform
