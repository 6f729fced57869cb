#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

#include "platform/process_watch.h"

namespace qv::platform {

// A queue of kernel events that holds this one event.
ProcessWatch::ProcessWatch(pid_t pid) : process_(::kqueue()) {
  if (!process_.valid()) return;
  ::fcntl(process_.get(), F_SETFD, FD_CLOEXEC);
  struct kevent ended {};
  EV_SET(&ended, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD, NOTE_EXIT, 0, nullptr);
  if (::kevent(process_.get(), &ended, 1, nullptr, 0, nullptr) != 0) process_.reset();
  keep_if_spare();
}

}  // namespace qv::platform
