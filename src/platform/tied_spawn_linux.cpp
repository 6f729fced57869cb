// Only the child itself can ask to be killed with its parent, so posix_spawn cannot do it.
// The child runs in the parent's memory, while the parent stands still, until it becomes the
// program; no handler of the parent's may run in it.

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "base/signal_disposition.h"
#include "platform/tied_spawn.h"

namespace qv::platform {

namespace {

constexpr int kFailed = 127;

void reset_signals(const sigset_t* reset) {
  const struct sigaction usual = signal_action(SIG_DFL);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction now {};
    if (::sigaction(signal, nullptr, &now) != 0) continue;  // the C library's own
    const bool wanted = reset != nullptr && sigismember(reset, signal) == 1;
    if (wanted || !is_ignored(now)) ::sigaction(signal, &usual, nullptr);
  }
}

[[noreturn]] void become(const process::Launch& launch, const sigset_t& mask, pid_t parent,
                         volatile int& error) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(kFailed);  // it was killed before that
  for (int fd = 0; fd <= 2; ++fd) {
    if (launch.standard[fd] < 0 || ::dup2(launch.standard[fd], fd) == fd) continue;
    error = errno;
    ::_exit(kFailed);
  }
  reset_signals(launch.reset);
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
  ::execve(launch.path, launch.arguments, launch.environment);
  error = errno;
  ::_exit(kFailed);
}

}  // namespace

pid_t spawn_tied(const process::Launch& launch) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, &before);
  const pid_t parent = ::getpid();
  volatile int error = 0;
  const pid_t child = ::vfork();
  // NOLINTNEXTLINE(clang-analyzer-unix.Vfork): become() calls only what a signal's handler may.
  if (child == 0) become(launch, launch.mask != nullptr ? *launch.mask : before, parent, error);
  if (child < 0) error = errno;
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  if (error == 0) return child;
  if (child > 0) ::waitpid(child, nullptr, 0);
  errno = error;
  return 0;
}

}  // namespace qv::platform
