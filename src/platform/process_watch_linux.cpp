#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/process_watch.h"

namespace qv::platform {

namespace {

// The upper half of the descriptors is left to everything that matters more.
bool is_spare(int fd) {
  rlimit limit{};
  return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && static_cast<rlim_t>(fd) < limit.rlim_cur / 2;
}

}  // namespace

// A process descriptor becomes readable when the process ends.
ProcessWatch::ProcessWatch(pid_t pid)
    : process_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {
  if (process_.valid() && !is_spare(process_.get())) process_.reset();
}

std::optional<bool> ProcessWatch::has_ended() const {
  if (!process_.valid()) return std::nullopt;
  pollfd ended{process_.get(), POLLIN, 0};
  const int count = ::poll(&ended, 1, 0);
  return count < 0 ? std::nullopt : std::optional(count > 0);
}

}  // namespace qv::platform
