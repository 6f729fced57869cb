#include <sys/socket.h>

#include "platform/peer.h"

namespace qv::platform {

std::optional<uid_t> peer_user(const Descriptor& connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return std::nullopt;
  }
  return peer.uid;
}

}  // namespace qv::platform
