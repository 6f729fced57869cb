#include <syslog.h>

#include "platform/log.h"

namespace qv::platform {

namespace {

// Opened by the first record; the records name their category themselves.
int governor() {
  static const int priority = [] {
    ::openlog("com.quorvel.app", LOG_PID, LOG_USER);
    return LOG_INFO;
  }();
  return priority;
}

}  // namespace

void log_held_for_memory(pid_t build, std::int64_t ahead, bool critical) {
  ::syslog(governor(), "governor: build %d held for memory, %ld ahead, critical %s", build,
           static_cast<long>(ahead), critical ? "true" : "false");
}

void log_held_for_cores(pid_t build, std::int64_t ahead) {
  ::syslog(governor(), "governor: build %d held for cores, %ld ahead", build,
           static_cast<long>(ahead));
}

void log_started(pid_t build, std::int64_t jobs, std::int64_t cores, std::int64_t others) {
  ::syslog(governor(), "governor: build %d started with %ld of %ld jobs, %ld others running", build,
           static_cast<long>(jobs), static_cast<long>(cores), static_cast<long>(others));
}

}  // namespace qv::platform
