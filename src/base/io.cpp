#include "base/io.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace qv::io {

std::optional<std::string> read_to_end(int fd, std::size_t limit) {
  std::string bytes;
  char block[4096];  // most files fit
  for (;;) {
    const ssize_t count = ::read(fd, block, sizeof block);
    if (count < 0 && errno == EAGAIN) {
      pollfd ready{fd, POLLIN, 0};
      ::poll(&ready, 1, -1);
      continue;
    }
    if (count < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (count == 0) return bytes;
    bytes.append(block, static_cast<std::size_t>(count));
    if (bytes.size() > limit) {
      errno = EFBIG;
      return std::nullopt;
    }
  }
}

bool write_all(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(fd, bytes.data(), bytes.size());
    if (count > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (count < 0 && errno == EAGAIN) {
      pollfd ready{fd, POLLOUT, 0};
      ::poll(&ready, 1, -1);
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool reader_has_gone(int fd) {
  pollfd state{fd, POLLOUT, 0};  // macOS tells nothing to who asks for nothing
  return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLERR | POLLHUP)) != 0;
}

void occupy_standard_descriptors() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && errno == EBADF) ::open("/dev/null", O_RDWR);
  }
}

}  // namespace qv::io
