#include "platform/process_watch.h"

#include <poll.h>
#include <sys/resource.h>

namespace qv::platform {

// The upper half of the descriptors is left to everything that matters more.
void ProcessWatch::keep_if_spare() {
  if (!process_.valid()) return;
  rlimit limit{};
  const bool spare = ::getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
                     static_cast<rlim_t>(process_.get()) < limit.rlim_cur / 2;
  if (!spare) process_.reset();
}

std::optional<bool> ProcessWatch::has_ended() const {
  if (!process_.valid()) return std::nullopt;
  pollfd ended{process_.get(), POLLIN, 0};
  const int count = ::poll(&ended, 1, 0);
  return count < 0 ? std::nullopt : std::optional(count > 0);
}

}  // namespace qv::platform
