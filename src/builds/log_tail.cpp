#include "builds/log_tail.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace qv::build {

bool LogTail::show_until(off_t end) {
  while (read_piece(end)) {
    while (const auto item = parser_.next()) {
      if (const auto* exit = std::get_if<BuildLog::Exit>(&*item)) {
        exit_ = exit->value;
        return false;
      }
      const auto& output = std::get<BuildLog::Output>(*item);
      pane_.show(output.stream, output.bytes);
    }
    if (parser_.damaged()) return false;
  }
  return true;
}

// False at the end, and where the log cannot be read.
bool LogTail::read_piece(off_t end) {
  if (position_ >= end) return false;
  const auto space = parser_.space();
  const auto wanted =
      static_cast<std::size_t>(std::min(static_cast<off_t>(space.size()), end - position_));
  ssize_t count = 0;
  do {
    count = ::pread(log_.get(), space.data(), wanted, position_);
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return false;
  parser_.added(static_cast<std::size_t>(count));
  position_ += count;
  return true;
}

bool LogTail::is_unlinked() const {
  struct stat status {};
  return ::fstat(log_.get(), &status) == 0 && status.st_nlink == 0;
}

}  // namespace qv::build
