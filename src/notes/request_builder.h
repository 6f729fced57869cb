#pragma once

#include <string>
#include <string_view>

#include "cli/arg_parser.h"
#include "notes/request.h"

namespace qv::MCPRequestBuilder {

// Turns a verb's method and its flags into a request. Nothing is refused here: the
// bridge judges.
[[nodiscard]] MCPBridgeRequest build(std::string_view method, const ArgParser::ArgBox& flags,
                                     const std::string& token, const std::string& sessionID);

}  // namespace qv::MCPRequestBuilder
