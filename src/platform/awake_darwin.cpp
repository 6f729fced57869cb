#include <sys/sysctl.h>
#include <sys/time.h>

#include <algorithm>

#include "platform/awake.h"
#include "platform/clock.h"

namespace qv::platform {

// Since its last wake the machine has not slept.
double certainly_awake(double seconds) {
  timeval wake{};
  std::size_t size = sizeof wake;
  if (::sysctlbyname("kern.waketime", &wake, &size, nullptr, 0) != 0) return 0;
  const double since = wall_clock_seconds() - static_cast<double>(wake.tv_sec);
  return std::clamp(since, 0.0, std::max(seconds, 0.0));
}

}  // namespace qv::platform
