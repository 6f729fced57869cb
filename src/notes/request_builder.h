#pragma once

#include <string>
#include <string_view>

#include "command/arg_box.h"
#include "notes/request.h"

namespace qv::MCPRequestBuilder {

// Turns a verb's method and its flags into a request, whose token and session are left to
// whoever sends it. Nothing is refused here: the bridge judges.
[[nodiscard]] MCPBridgeRequest build(std::string_view method, const ArgBox& flags);

}  // namespace qv::MCPRequestBuilder
