// A program that is run in the place of this one has to feel the terminal as if it had
// been typed itself. It stays in this process's group, so the keyboard's signals and
// job control reach both at once: a stop stops both, and an interrupt is the program's to
// answer. This process only has to outlive the interrupt, to report how the program took
// it, so it ignores the keyboard's signals while it waits.

#include "base/foreground.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>

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

// The child's process id, or 0 with errno set. The signals in `reset` get their default
// action in the child.
pid_t spawn(const std::string& path, const std::vector<std::string>& arguments,
            const sigset_t& reset) {
  std::vector<char*> pointers{const_cast<char*>(path.c_str())};
  for (const std::string& argument : arguments) {
    pointers.push_back(const_cast<char*>(argument.c_str()));
  }
  pointers.push_back(nullptr);

  posix_spawnattr_t attributes;
  pid_t child = 0;
  errno = ::posix_spawnattr_init(&attributes);
  if (errno != 0) return 0;
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  ::posix_spawnattr_setsigdefault(&attributes, &reset);
  const int error =
      ::posix_spawn(&child, path.c_str(), nullptr, &attributes, pointers.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  errno = error;
  return error == 0 ? child : 0;
}

}  // namespace

std::optional<int> run_in_foreground(const std::string& path,
                                     const std::vector<std::string>& arguments) {
  const Disposition interrupt(SIGINT, SIG_IGN);
  const Disposition quit(SIGQUIT, SIG_IGN);
  // Where a parent left this one ignored, the system would throw the child's status away.
  const Disposition ended(SIGCHLD, SIG_DFL);
  sigset_t reset;
  ::sigemptyset(&reset);
  if (!interrupt.was_ignored()) ::sigaddset(&reset, SIGINT);
  if (!quit.was_ignored()) ::sigaddset(&reset, SIGQUIT);

  const pid_t child = spawn(path, arguments, reset);
  if (child == 0) return std::nullopt;
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace qv
