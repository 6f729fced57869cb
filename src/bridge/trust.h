#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

// Whose programs and sockets are used as the app's. A path may lead through a folder in
// which any user of the machine can put things; what is found there counts as the app's
// only when it is this user's own or root's.
namespace qv::trust {

// Whether what belongs to `user` is used by a process of the effective user `self`: its
// own and root's, and for root under sudo also the user's who called it. `sudo_user` is
// the value of SUDO_UID; null when it is not set.
[[nodiscard]] bool covers(uid_t user, uid_t self, const char* sudo_user);

// The same for this process.
[[nodiscard]] bool covers(uid_t user);

// Something on the way to a file that another user may have put there.
struct ForeignComponent {
  std::string path;
  uid_t owner;
};

// The first component of `path`, links on the way followed, that stands in a folder that
// anybody can write to and belongs to a user who is not trusted; absent when there is none.
[[nodiscard]] std::optional<ForeignComponent> foreign_component(const std::string& path);

}  // namespace qv::trust
