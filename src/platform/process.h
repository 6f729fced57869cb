#pragma once

#include <sys/types.h>

#include <optional>

namespace qv::platform {

// What a look at a process found.
struct ProcessLook {
  // Unknown: the system was too short of something to say. A process that has ended and
  // only waits for its parent to ask how is gone.
  enum Found { alive, gone, unknown };
  Found found = unknown;
  double start_time = 0;  // of one alive, in seconds since 1970, the same to every reader
  bool stopped = false;   // of one alive: by a signal or a debugger
};
[[nodiscard]] ProcessLook look_at_process(pid_t pid);

// When the process started; absent unless it is alive.
[[nodiscard]] inline std::optional<double> start_time(pid_t pid) {
  const ProcessLook look = look_at_process(pid);
  return look.found == ProcessLook::alive ? std::optional(look.start_time) : std::nullopt;
}

}  // namespace qv::platform
