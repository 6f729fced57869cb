#include <os/log.h>

#include "platform/log.h"

namespace qv::platform {

namespace {

// Made by the first record.
os_log_t governor() {
  static os_log_t log = ::os_log_create("com.quorvel.app", "governor");
  return log;
}

}  // namespace

void log_held_for_memory(pid_t build, std::int64_t ahead, bool critical) {
  os_log_info(governor(),
              "build %{public}d held for memory, %{public}ld ahead, critical %{bool,public}d",
              build, static_cast<long>(ahead), critical ? 1 : 0);
}

void log_held_for_cores(pid_t build, std::int64_t ahead) {
  os_log_info(governor(), "build %{public}d held for cores, %{public}ld ahead", build,
              static_cast<long>(ahead));
}

void log_started(pid_t build, std::int64_t jobs, std::int64_t cores, std::int64_t others) {
  os_log_info(governor(),
              "build %{public}d started with %{public}ld of %{public}ld jobs, %{public}ld others "
              "running",
              build, static_cast<long>(jobs), static_cast<long>(cores), static_cast<long>(others));
}

}  // namespace qv::platform
