// A coordinator lives through three stretches. While it queues, a stop signal ends it,
// after its lease is gone. While its tool runs, the stop signals are the tool's. And
// when the tool has been reaped, whose process id may already belong to somebody else, they
// end this process again, which may still be showing the output. Handlers do all of it,
// since each only makes a few calls that are safe in a handler.

#include "builds/signals.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <iterator>

namespace qv::build {

namespace {

static_assert(std::atomic<pid_t>::is_always_lock_free);  // and so usable in a handler

constexpr int kPauseSignals[] = {SIGTSTP, SIGTTIN, SIGTTOU};

char file_to_remove[PATH_MAX];
std::atomic<pid_t> forward_to{0};
std::atomic<int> wake_descriptor{-1};
bool ignored_by_caller[std::size(kStopSignals)];

void replace_unless_ignored(int signal, void (*handler)(int)) {
  struct sigaction before {};
  ::sigaction(signal, nullptr, &before);
  const struct sigaction replacement = signal_action(handler);
  if (!is_ignored(before)) ::sigaction(signal, &replacement, nullptr);
}

void remove_and_end(int signal) {
  ::unlink(file_to_remove);
  const struct sigaction usual = signal_action(SIG_DFL);
  ::sigaction(signal, &usual, nullptr);
  ::raise(signal);
}

// A build that is stopped in the queue must not keep the others waiting; it queues up again,
// in its old place, when it goes on.
void remove_and_pause(int) {
  const int error = errno;
  ::unlink(file_to_remove);
  ::raise(SIGSTOP);
  errno = error;
}

void forward(int signal) {
  const int error = errno;
  if (const pid_t pid = forward_to.load(); pid > 0) ::kill(pid, signal);
  errno = error;
}

void wake(int) {
  const int error = errno;
  (void)!::write(wake_descriptor.load(), "", 1);
  errno = error;
}

}  // namespace

CallerSignals::CallerSignals() {
  ::sigprocmask(SIG_SETMASK, nullptr, &mask_);
  sigemptyset(&reset_);
  sigset_t child;
  sigemptyset(&child);
  sigaddset(&child, SIGCHLD);
  ::sigprocmask(SIG_UNBLOCK, &child, nullptr);
  if (!broken_pipe_.was_ignored()) sigaddset(&reset_, SIGPIPE);
  if (!file_size_.was_ignored()) sigaddset(&reset_, SIGXFSZ);
}

void CallerSignals::restore() const {
  broken_pipe_.restore();
  file_size_.restore();
  child_.restore();
  ::sigprocmask(SIG_SETMASK, &mask_, nullptr);
}

SignalsHeld::SignalsHeld() {
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : kStopSignals) sigaddset(&held, signal);
  sigaddset(&held, SIGTSTP);
  ::sigprocmask(SIG_BLOCK, &held, &before_);
}

SignalsHeld::~SignalsHeld() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

void remove_file_on_stop(const std::string& path) {
  if (path.size() >= sizeof file_to_remove) return;
  std::memcpy(file_to_remove, path.c_str(), path.size() + 1);
  for (const int signal : kStopSignals) replace_unless_ignored(signal, remove_and_end);
  for (const int signal : kPauseSignals) replace_unless_ignored(signal, remove_and_pause);
}

void remove_file() { ::unlink(file_to_remove); }

void forward_stop_signals(pid_t pid, int wake_fd) {
  forward_to = pid;
  wake_descriptor = wake_fd;
  const struct sigaction forwarding = signal_action(forward);
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i) {
    struct sigaction before {};
    ::sigaction(kStopSignals[i], &forwarding, &before);
    ignored_by_caller[i] = is_ignored(before);
  }
  for (const int signal : kPauseSignals) replace_unless_ignored(signal, SIG_DFL);
  struct sigaction waking = signal_action(wake);
  waking.sa_flags = SA_NOCLDSTOP;
  ::sigaction(SIGCHLD, &waking, nullptr);
  wake(SIGCHLD);  // for an end that came before the handler
}

void stop_forwarding() {
  forward_to = 0;
  for (std::size_t i = 0; i < std::size(kStopSignals); ++i) {
    const auto ending = signal_action(ignored_by_caller[i] ? SIG_IGN : remove_and_end);
    ::sigaction(kStopSignals[i], &ending, nullptr);
  }
}

}  // namespace qv::build
