#include <sys/socket.h>

#include "platform/peer.h"

namespace qv::platform {

namespace {

std::optional<ucred> credentials(const Descriptor& connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  const bool told = ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
  return told ? std::optional(peer) : std::nullopt;
}

}  // namespace

std::optional<uid_t> peer_user(const Descriptor& connection) {
  const auto peer = credentials(connection);
  return peer ? std::optional(peer->uid) : std::nullopt;
}

// 0 stands for a process that cannot be seen from here.
std::optional<pid_t> peer_process(const Descriptor& connection) {
  const auto peer = credentials(connection);
  return peer && peer->pid > 0 ? std::optional(peer->pid) : std::nullopt;
}

}  // namespace qv::platform
