#include "platform/ancestors.h"

#include <unistd.h>

namespace qv::platform {

namespace {

constexpr int kMostSteps = 64;

}  // namespace

bool an_ancestor_was_started_with(std::string_view variable) {
  pid_t pid = ::getppid();
  for (int step = 0; step < kMostSteps && pid > 1; ++step, pid = parent_of(pid)) {
    if (was_started_with(pid, variable)) return true;
  }
  return false;
}

}  // namespace qv::platform
