#include <unistd.h>

#include "platform/peer.h"

namespace qv::platform {

std::optional<uid_t> peer_user(const Descriptor& connection) {
  uid_t user = 0;
  gid_t group = 0;
  if (::getpeereid(connection.get(), &user, &group) != 0) return std::nullopt;
  return user;
}

}  // namespace qv::platform
