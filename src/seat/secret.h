#pragma once

#include <string>
#include <vector>

#include "command/runtime.h"
#include "command/verb.h"

namespace qv::seat {

// What the broker can be asked to do.
struct Deed {
  std::string_view name;
  std::string_view summary;
};
inline constexpr Deed kSecretDeeds[] = {
    {"list", "Names available to this Thread."},
    {"exec", "Run a command with the secret resolved."},
    {"suggest", "Propose one more destination; the user decides."}};
inline constexpr Flag kSecretFlags[] = {
    {.name = "env", .help = "A secret for a tool that cannot read a path."}};

// Runs `qv secret` with the arguments behind the word, byte for byte as they were typed:
// the broker gets them all. Gives the process status, which is mostly the broker's.
[[nodiscard]] int secret(const std::vector<std::string>& arguments, CLIRuntime& runtime);

}  // namespace qv::seat
