#pragma once

#include <string>
#include <vector>

namespace qv::sandbox {

// The name under which this program is the broker.
inline constexpr const char* kBrokerName = "quorvel-secret";

// Stands in for the app's secret broker, with made-up values: lists names, runs a command with
// a secret, and returns none. `arguments` are those of `qv secret`. Gives the exit status.
[[nodiscard]] int run_broker(const std::vector<std::string>& arguments);

}  // namespace qv::sandbox
