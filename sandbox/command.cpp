#include "command.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/descriptor.h"

namespace qv::sandbox {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kGrace{1};
constexpr std::array kEndings = {SIGTERM, SIGINT, SIGHUP};

sigset_t ending_set() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kEndings) sigaddset(&set, number);
  return set;
}

// Signals arrive in a pipe, where poll sees them.
int g_signal_pipe = -1;

void note_signal(int number) {
  const int saved = errno;
  const char byte = static_cast<char>(number);
  static_cast<void>(!::write(g_signal_pipe, &byte, 1));
  errno = saved;
}

class Signals {
 public:
  Signals() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe(ends.data()) != 0) std::abort();
    reading_ = Descriptor(ends[0]);
    writing_ = Descriptor(ends[1]);
    for (const int end : ends) {
      ::fcntl(end, F_SETFD, FD_CLOEXEC);
      ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    g_signal_pipe = writing_.get();
    struct sigaction action {};
    action.sa_handler = note_signal;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGCHLD, &action, nullptr);
    for (const int number : kEndings) ::sigaction(number, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGTTOU, SIG_IGN);  // the terminal is taken back from the background
    const sigset_t endings = ending_set();
    ::sigprocmask(SIG_UNBLOCK, &endings, nullptr);
  }

  ~Signals() { g_signal_pipe = -1; }
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  [[nodiscard]] int descriptor() const { return reading_.get(); }

  // The next one that has arrived; 0 when there is none.
  [[nodiscard]] int next() {
    char byte = 0;
    return ::read(reading_.get(), &byte, 1) == 1 ? byte : 0;
  }

 private:
  Descriptor reading_;
  Descriptor writing_;
};

// The standard stream that is our terminal while we are in its foreground; -1 for none.
int own_terminal() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (::isatty(fd) != 0 && ::tcgetpgrp(fd) == ::getpgrp()) return fd;
  }
  return -1;
}

[[noreturn]] void become(const std::vector<std::string>& command, const Variables& variables,
                         int terminal) {
  ::setpgid(0, 0);
  if (terminal >= 0) ::tcsetpgrp(terminal, ::getpgrp());
  for (const int number : {SIGPIPE, SIGTTOU, SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
    ::signal(number, SIG_DFL);
  }
  for (const auto& [name, value] : variables) {
    value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  }
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  ::execvp(arguments[0], arguments.data());
  std::fprintf(stderr, "qv-sandbox: could not start %s: %s.\n", arguments[0], std::strerror(errno));
  ::_exit(127);
}

// Waits, and passes endings on, until the command is over. Gives the status to end with.
int see_through(pid_t child, bool has_terminal, Signals& signals, const Meanwhile& meanwhile) {
  int ending = 0;
  Clock::time_point patience_ends;
  for (;;) {
    int status = 0;
    const pid_t changed = ::waitpid(child, &status, WNOHANG | WUNTRACED);
    if (changed == child && WIFSTOPPED(status)) {
      if (has_terminal) ::kill(-child, SIGCONT);  // nobody else is there to continue it
    } else if (changed != 0) {
      const int own = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
      return ending != 0 ? 128 + ending : own;
    }
    meanwhile(signals.descriptor(), ending != 0 ? 100 : -1);
    while (const int number = signals.next()) {
      if (number == SIGCHLD) continue;
      if (ending == 0) patience_ends = Clock::now() + kGrace;
      ending = number;
      ::kill(-child, number);
      ::kill(-child, SIGHUP);  // an interactive shell minds no other
      ::kill(-child, SIGCONT);
    }
    if (ending != 0 && Clock::now() >= patience_ends) ::kill(-child, SIGKILL);
  }
}

}  // namespace

void hold_endings() {
  const sigset_t endings = ending_set();
  ::sigprocmask(SIG_BLOCK, &endings, nullptr);
}

int run_command(const std::vector<std::string>& command, const Variables& variables,
                const Meanwhile& meanwhile) {
  Signals signals;
  const int terminal = own_terminal();
  const pid_t child = ::fork();
  if (child < 0) {
    std::fprintf(stderr, "qv-sandbox: no process could be started: %s.\n", std::strerror(errno));
    return 126;
  }
  if (child == 0) become(command, variables, terminal);
  ::setpgid(child, child);  // whichever of the two comes first
  const int status = see_through(child, terminal >= 0, signals, meanwhile);
  ::kill(-child, SIGHUP);
  if (terminal >= 0) ::tcsetpgrp(terminal, ::getpgrp());
  return status;
}

}  // namespace qv::sandbox
