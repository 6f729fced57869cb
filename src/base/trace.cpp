// Off, a trace costs one look at the environment and then a boolean for each step. On, each line
// is one write at the end of the file, so that several processes can share it.

#include "base/trace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/signal_disposition.h"
#include "base/text.h"

namespace qv::trace {

namespace {

using Clock = std::chrono::steady_clock;

int g_descriptor = -1;
Clock::time_point g_start;

// Not valid with errno set: EPERM for what is not a file of this user's own under one name.
Descriptor open_file(const char* path) {
  Descriptor file(
      ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  struct stat status {};
  if (!file.valid() || ::fstat(file.get(), &status) != 0) return {};
  const bool own = S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1;
  if (own && ::fchmod(file.get(), 0600) == 0) return file;
  errno = EPERM;
  return {};
}

void refuse(const std::string& why) {
  (void)io::write_all(STDERR_FILENO, "qv: there is no trace: " + why + ".\n");
}

}  // namespace

void begin() {
  const char* wish = std::getenv("QUORVEL_TRACE");
  if (wish == nullptr || *wish == '\0' || std::strcmp(wish, "0") == 0) return;
  g_start = Clock::now();
  if (std::strcmp(wish, "1") == 0) {
    g_descriptor = STDERR_FILENO;
  } else if (*wish != '/') {
    return refuse("QUORVEL_TRACE is neither 1 nor a path that begins with \"/\"");
  } else {
    Descriptor file = open_file(wish);
    if (!file.valid())
      return refuse(text::with_visible_controls(wish) + ": " + std::strerror(errno));
    g_descriptor = file.release();  // open until the process ends
  }
  detail::on = true;
}

namespace detail {

void write(std::string_view step) {
  const int error = errno;
  const auto passed =
      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - g_start).count();
  const std::string line = text::on_one_line("qv[" + std::to_string(::getpid()) + "] " +
                                             std::to_string(passed) + "us " + std::string(step));
  const SignalDisposition file_full(SIGXFSZ, SIG_IGN);
  const SignalDisposition reader_gone(SIGPIPE, SIG_IGN);
  (void)io::write_all(g_descriptor, text::with_visible_controls(line) + "\n");
  errno = error;
}

}  // namespace detail

}  // namespace qv::trace
