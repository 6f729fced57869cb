#pragma once

#include <string>
#include <string_view>

#include "command/verb.h"

// Help is printed from the verb table, so it cannot disagree with what the parser takes.
// No text ends with a line feed.
namespace qv::Help {

[[nodiscard]] std::string top_level();
[[nodiscard]] std::string group(const Group& group);
[[nodiscard]] std::string verb(const Group& group, const Verb& verb);

// The whole working protocol, for an agent that reads nothing else.
[[nodiscard]] std::string brief();

}  // namespace qv::Help
