#pragma once

#include <string>
#include <variant>

#include "board/request.h"
#include "cli/arg_parser.h"

namespace qv::TeamworkRequestBuilder {

struct Refused {
  std::string message;  // the whole sentence to print
};

using Outcome = std::variant<TeamworkRequest, Refused>;

// Turns a verb's method and its flags into a request. Refuses only a goal without text
// and a blocker question that would not fit its one line; the board judges the rest.
[[nodiscard]] Outcome build(std::string_view method, const ArgParser::ArgBox& flags,
                            const std::string& token, const std::string& sessionID);

// The sentence about flags that are not sent as they were typed: those that say nothing
// without another one, and a kind of blocker nobody knows. Empty when there are none.
[[nodiscard]] std::string warning(const ArgParser::ArgBox& flags);

}  // namespace qv::TeamworkRequestBuilder
