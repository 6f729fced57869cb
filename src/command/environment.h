#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/endpoint.h"

namespace qv {

// The value of an environment variable; absent when it is not set at all.
using EnvironmentMap = std::function<std::optional<std::string>(std::string_view name)>;

// Everything a command takes from its environment. Empty text means there is none.
struct CLIEnvironment {
  std::string sessionID;
  bridge::Endpoint board;
  bridge::Endpoint notes;
  bridge::Endpoint vault;
  std::string secretBin;
  std::string agentSeatFile;

  // Never fails. For a bridge that no variable names it asks the seat file below
  // `application_support`, and without one searches there for the one live instance.
  [[nodiscard]] static CLIEnvironment from(const EnvironmentMap& variables,
                                           const std::string& application_support);
};

// The variables of this process.
[[nodiscard]] std::optional<std::string> process_variable(std::string_view name);

}  // namespace qv
