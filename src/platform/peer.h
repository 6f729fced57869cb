#pragma once

#include <sys/types.h>

#include <optional>

#include "base/descriptor.h"

namespace qv::platform {

// The effective user of the process that listens behind a connected Unix-domain socket;
// absent when the system does not say.
[[nodiscard]] std::optional<uid_t> peer_user(const Descriptor& connection);

}  // namespace qv::platform
