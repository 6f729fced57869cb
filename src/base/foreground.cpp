// A program that is run in the place of this one has to feel the terminal as if it had
// been typed itself. It stays in this process's group, so the keyboard's signals and
// job control reach both at once: a stop stops both, and an interrupt is each one's own to
// answer. A signal that is sent to this process alone ends this process alone.

#include "base/foreground.h"

#include <signal.h>
#include <sys/wait.h>

#include <cerrno>

#include "base/process.h"

extern "C" {
extern char** environ;
}

namespace qv {

std::optional<int> run_in_foreground(const std::string& path,
                                     const std::vector<std::string>& arguments) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const std::vector<char*> pointers = process::pointers_to(texts);
  process::Launch launch;
  launch.path = path.c_str();
  launch.arguments = pointers.data();
  launch.environment = environ;
  // Where a parent left this one ignored, the system would throw the child's status away.
  ::signal(SIGCHLD, SIG_DFL);
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
