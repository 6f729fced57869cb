#include <sys/socket.h>

#include "platform/sockets.h"

namespace qv::platform {

Descriptor open_stream_socket() {
  return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

int send_flags() { return MSG_NOSIGNAL; }

}  // namespace qv::platform
