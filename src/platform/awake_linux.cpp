#include <algorithm>

#include "platform/awake.h"
#include "platform/clock.h"

namespace qv::platform {

// When the machine slept is not told, only for how long since it started.
double certainly_awake(double seconds) {
  const double slept = std::max(monotonic_seconds() - waking_seconds(), 0.0);
  return std::max(seconds - slept, 0.0);
}

}  // namespace qv::platform
