#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/peer.h"

namespace qv::platform {

std::optional<uid_t> peer_user(const Descriptor& connection) {
  uid_t user = 0;
  gid_t group = 0;
  if (::getpeereid(connection.get(), &user, &group) != 0) return std::nullopt;
  return user;
}

std::optional<pid_t> peer_process(const Descriptor& connection) {
  pid_t process = 0;
  socklen_t size = sizeof process;
  if (::getsockopt(connection.get(), SOL_LOCAL, LOCAL_PEERPID, &process, &size) != 0) {
    return std::nullopt;
  }
  return process > 0 ? std::optional(process) : std::nullopt;
}

}  // namespace qv::platform
