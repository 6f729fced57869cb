#include <sys/syscall.h>
#include <unistd.h>

#include "platform/process_watch.h"

namespace qv::platform {

// A process descriptor becomes readable when the process ends.
ProcessWatch::ProcessWatch(pid_t pid)
    : process_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {
  keep_if_spare();
}

}  // namespace qv::platform
