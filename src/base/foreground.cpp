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

extern "C" {
extern char** environ;
}

namespace qv {

namespace {

// One signal under another disposition for as long as this object lives.
class Disposition {
 public:
  Disposition(int signal, void (*handler)(int)) : signal_(signal) {
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigaction(signal, &action, &before_);
  }
  ~Disposition() { ::sigaction(signal_, &before_, nullptr); }
  Disposition(const Disposition&) = delete;
  Disposition& operator=(const Disposition&) = delete;

  [[nodiscard]] bool was_ignored() const { return before_.sa_handler == SIG_IGN; }

 private:
  int signal_;
  struct sigaction before_ {};
};

}  // namespace

std::optional<int> run_in_foreground(const std::string& path,
                                     const std::vector<std::string>& arguments) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const std::vector<char*> pointers = process::pointers_to(texts);
  const Disposition interrupt(SIGINT, SIG_IGN);
  const Disposition quit(SIGQUIT, SIG_IGN);
  // Where a parent left this one ignored, the system would throw the child's status away.
  const Disposition ended(SIGCHLD, SIG_DFL);
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
