#include <unistd.h>

#include "platform/parent.h"

namespace qv::platform {

// An orphan goes to process 1, or to a subreaper in between, which only the change shows.
bool parent_has_gone(pid_t parent_at_start) {
  const pid_t parent = ::getppid();
  return parent < 2 || parent != parent_at_start;
}

}  // namespace qv::platform
