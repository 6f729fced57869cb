#include "notes/response.h"

namespace qv {

template bool record::decode(json::Value value, MCPBridgeResponse& out);
template std::optional<MCPBridgeResponse> record::from_text(std::string_view text);
template std::string record::to_text(const MCPBridgeResponse& in, json::Slashes slashes);

}  // namespace qv
