#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/squad.h"

// Who is here and what this Thread allows. Each row and paragraph is one line, whatever
// stands in a name; an empty text means that it has nothing to say.
namespace qv::board {

[[nodiscard]] std::string roster_row(const TeamworkAgent& agent);

// Whether agents here may hand work to one another.
[[nodiscard]] std::string squad_paragraph(const TeamworkSquadState& squad);

// How many helpers may still start; empty when the board told no limit.
[[nodiscard]] std::string helper_limit(const TeamworkSquadState& squad);

// Which helpers may be started; what the board does not offer is not allowed.
[[nodiscard]] std::string helpers_offered(const TeamworkSquadState& squad);

[[nodiscard]] std::string running_helpers(const std::vector<TeamworkHelperRun>& runs);
[[nodiscard]] std::string nobody_home(const std::vector<TeamworkPane>& panes);
[[nodiscard]] std::string other_machines(const std::vector<TeamworkMac>& macs);

}  // namespace qv::board
