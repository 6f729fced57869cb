#include "board/response.h"

namespace qv {

template bool record::decode(json::Value value, TeamworkResponse& out);
template bool record::decode(json::Value value, TeamworkTask& out);
template std::optional<TeamworkResponse> record::from_text(std::string_view text);
template std::string record::to_text(const TeamworkResponse& in, json::Slashes slashes);

}  // namespace qv
