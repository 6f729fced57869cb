#pragma once

#include <string>
#include <variant>

#include "board/request.h"
#include "command/arg_box.h"

namespace qv::TeamworkRequestBuilder {

struct Refused {
  std::string message;  // the whole sentence to print
};

using Outcome = std::variant<TeamworkRequest, Refused>;

// Turns a verb's method and its flags into a request, whose token and session are left to
// whoever sends it. Refuses only a goal without text
// and a blocker question that would not fit its one line; the board judges the rest.
[[nodiscard]] Outcome build(std::string_view method, const ArgBox& flags);

// The sentence about flags that are not sent as they were typed: those that say nothing
// without another one, and a kind of blocker nobody knows. Empty when there are none.
[[nodiscard]] std::string warning(const ArgBox& flags);

}  // namespace qv::TeamworkRequestBuilder
