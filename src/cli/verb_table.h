#pragma once

#include "command/verb.h"

// The single description of every group command.
namespace qv::VerbTable {

// Every group, in the order help lists them.
[[nodiscard]] std::span<const Group> groups();

// The group of exactly this name; null when there is none.
[[nodiscard]] const Group* group(std::string_view name);

}  // namespace qv::VerbTable
