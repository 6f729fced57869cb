#pragma once

#include <sys/types.h>

#include <optional>

#include "base/descriptor.h"

// Who listens behind a connected Unix-domain socket. Absent when the system does not say.
namespace qv::platform {

// The effective user of the process.
[[nodiscard]] std::optional<uid_t> peer_user(const Descriptor& connection);

// The process that began to listen.
[[nodiscard]] std::optional<pid_t> peer_process(const Descriptor& connection);

}  // namespace qv::platform
