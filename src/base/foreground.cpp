// A program that is run in the place of this one has to feel the terminal as if it had
// been typed itself. It stays in this process's group, so the keyboard's signals and
// job control reach both at once: a stop stops both, and an interrupt is the program's to
// answer. This process only has to outlive the interrupt, to report how the program took
// it, so it ignores the keyboard's signals while it waits.

#include "base/foreground.h"

#include <signal.h>
#include <sys/wait.h>

#include <cerrno>

#include "base/process.h"
#include "base/signal_disposition.h"

extern "C" {
extern char** environ;
}

namespace qv {

std::optional<int> run_in_foreground(const std::string& path,
                                     const std::vector<std::string>& arguments) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const std::vector<char*> pointers = process::pointers_to(texts);
  const SignalDisposition interrupt(SIGINT, SIG_IGN);
  const SignalDisposition quit(SIGQUIT, SIG_IGN);
  // Where a parent left this one ignored, the system would throw the child's status away.
  const SignalDisposition ended(SIGCHLD, SIG_DFL);
  sigset_t reset;
  sigemptyset(&reset);
  if (!interrupt.was_ignored()) sigaddset(&reset, SIGINT);
  if (!quit.was_ignored()) sigaddset(&reset, SIGQUIT);

  process::Launch launch;
  launch.path = path.c_str();
  launch.arguments = pointers.data();
  launch.environment = environ;
  launch.reset = &reset;
  const pid_t child = process::spawn(launch);
  if (child == 0) return std::nullopt;
  int status = 0;
  for (;;) {
    if (::waitpid(child, &status, WUNTRACED) < 0) {
      if (errno != EINTR) return std::nullopt;
    } else if (WIFSTOPPED(status)) {
      ::raise(SIGSTOP);  // with it, so that the shell takes the terminal back
    } else {
      break;
    }
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace qv
