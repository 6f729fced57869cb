#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/squad.h"

// Who is here and what this Thread allows. Each paragraph is one line; an empty text means
// that it has nothing to say.
namespace qv::board {

[[nodiscard]] std::string roster_row(const TeamworkAgent& agent);

// Whether agents here may hand work to one another.
[[nodiscard]] std::string squad_paragraph(const TeamworkSquadState& squad);

// How many helpers may still start; empty when the board told no limit.
[[nodiscard]] std::string helper_limit(const TeamworkSquadState& squad);

// Which helpers may be started; empty when the board did not say.
[[nodiscard]] std::string helpers_offered(const TeamworkSquadState& squad);

[[nodiscard]] std::string running_helpers(const std::vector<TeamworkHelperRun>& runs);
[[nodiscard]] std::string nobody_home(const std::vector<TeamworkPane>& panes);
[[nodiscard]] std::string other_machines(const std::vector<TeamworkMac>& macs);

}  // namespace qv::board
