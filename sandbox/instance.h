#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qv::sandbox {

// A sandbox on disk: a private directory, laid out as a home in which the app has left its
// sockets and tokens where it leaves them in any home. So an agent from outside finds it
// when HOME says so, and a further pane needs to know no more than the directory.
struct Instance {
  std::string home;

  // The file of a bridge, "teamwork", "mcp" or "vault": its "sock" or its "token".
  [[nodiscard]] std::string file(const std::string& bridge, const std::string& extension) const;
  // The program that stands in for the secret broker.
  [[nodiscard]] std::string broker() const;
};

// Makes the directory, with this token for all bridges; absent, with a complaint, when it
// cannot be made.
[[nodiscard]] std::optional<Instance> create_instance(const std::string& token);
void remove_instance(const Instance& instance);

// The running sandbox that QV_SANDBOX names, or the only one; absent, with a complaint, when
// that is none.
[[nodiscard]] std::optional<Instance> running_instance();

// Gives this process, and so what it starts, the environment of a pane.
void enter_pane(const Instance& instance, const std::string& session);

// `digits` random hexadecimal digits, for tokens, codes and secrets.
[[nodiscard]] std::string random_hex(std::size_t digits);

void complain(const std::string& sentence);

}  // namespace qv::sandbox
