#include <fcntl.h>
#include <sys/socket.h>

#include "platform/sockets.h"

namespace qv::platform {

Descriptor open_stream_socket() {
  Descriptor opened(::socket(AF_UNIX, SOCK_STREAM, 0));
  if (!opened.valid()) return opened;
  ::fcntl(opened.get(), F_SETFD, FD_CLOEXEC);
  const int on = 1;
  ::setsockopt(opened.get(), SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
  return opened;
}

int send_flags() { return 0; }

}  // namespace qv::platform
