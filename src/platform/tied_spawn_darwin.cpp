#include "platform/tied_spawn.h"

namespace qv::platform {

// This system ties no processes together.
pid_t spawn_tied(const process::Launch& launch) { return process::spawn(launch); }

}  // namespace qv::platform
