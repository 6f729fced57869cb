#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv::sandbox {

// Where a running sandbox keeps its sockets and tokens: a private directory named after its
// process below the user's temporary directory. The name is all that has to be known to find
// it again, and to see that its owner is gone.
struct Instance {
  std::string directory;
  pid_t owner = 0;

  // "teamwork" or "mcp"; the path without its extension.
  [[nodiscard]] std::string socket(std::string_view bridge) const;
  [[nodiscard]] std::string token_file(std::string_view bridge) const;

  // The home of an outside agent. The sandbox lies in its application support directory, so
  // that discovery finds it there, and only it.
  [[nodiscard]] std::string outside_home() const;
  // The program that stands in for the secret broker.
  [[nodiscard]] std::string broker() const;
};

// Makes the directory for this process, with fresh tokens in it and `program` as its broker.
// Removes what sandboxes that died by force have left. Absent when it cannot be made.
[[nodiscard]] std::optional<Instance> create_instance(const std::string& program);
void remove_instance(const Instance& instance);

// The user's sandboxes that are running.
[[nodiscard]] std::vector<Instance> running_instances();

// `digits` random hexadecimal digits, for tokens, codes and secrets.
[[nodiscard]] std::string random_hex(std::size_t digits);

}  // namespace qv::sandbox
