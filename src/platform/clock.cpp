#include "platform/clock.h"

#include <ctime>

namespace qv::platform {

namespace {

double seconds_on(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace

double monotonic_seconds() {
#ifdef CLOCK_BOOTTIME
  return seconds_on(CLOCK_BOOTTIME);  // Linux: its plain monotonic clock stops in sleep
#else
  return seconds_on(CLOCK_MONOTONIC);
#endif
}

double waking_seconds() {
#ifdef CLOCK_UPTIME_RAW
  return seconds_on(CLOCK_UPTIME_RAW);  // macOS: its plain monotonic clock goes on in sleep
#else
  return seconds_on(CLOCK_MONOTONIC);
#endif
}

double wall_clock_seconds() { return seconds_on(CLOCK_REALTIME); }

}  // namespace qv::platform
