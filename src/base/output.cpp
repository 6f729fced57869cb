#include "base/output.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "base/io.h"
#include "base/signal_disposition.h"
#include "base/text.h"

namespace qv {

bool OutputStream::write_line(std::string_view text) { return write(text, "\n"); }

bool OutputStream::write(std::string_view text, std::string_view end) {
  if (error_ != 0) return false;
  std::string visible;
  if (::isatty(fd_) == 1) {
    visible = text::with_visible_controls(text);
    text = visible;
  }
  const SignalDisposition no_end(SIGXFSZ, SIG_IGN);  // a limit on files is an error like others
  iovec parts[2] = {{const_cast<char*>(text.data()), text.size()},
                    {const_cast<char*>(end.data()), end.size()}};
  const ssize_t count = ::writev(fd_, parts, 2);
  if (count < 0 && errno != EINTR && errno != EAGAIN) {
    error_ = errno;
    return false;
  }
  const std::size_t written = count < 0 ? 0 : static_cast<std::size_t>(count);
  if (written > text.size()) return true;
  if (!io::write_all(fd_, text.substr(written)) || !io::write_all(fd_, end)) error_ = errno;
  return error_ == 0;
}

}  // namespace qv
