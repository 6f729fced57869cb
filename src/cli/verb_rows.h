#pragma once

// The vocabulary in which the rows of the verb table are written.

#include "command/verb.h"

namespace qv::VerbTable {

inline constexpr bool kEmptyMeansNotFound = true;

constexpr Flag text(std::string_view name, std::string_view help) {
  return {.name = name, .kind = FlagKind::string, .help = help};
}
constexpr Flag number(std::string_view name, std::string_view help) {
  return {.name = name, .kind = FlagKind::integer, .help = help};
}
constexpr Flag boolean(std::string_view name, std::string_view help) {
  return {.name = name, .kind = FlagKind::boolean, .help = help};
}
constexpr Flag list(std::string_view name, std::string_view help) {
  return {.name = name, .kind = FlagKind::list, .help = help};
}

constexpr Flag required(Flag flag) {
  flag.required = true;
  return flag;
}
constexpr Flag at(Position position, Flag flag) {
  flag.positional = position;
  return flag;
}
constexpr Flag first(Flag flag) { return at(Position::first, flag); }
constexpr Flag second(Flag flag) { return at(Position::second, flag); }
constexpr Flag third(Flag flag) { return at(Position::third, flag); }
constexpr Flag unlisted(Flag flag) { return at(Position::unlisted, flag); }

}  // namespace qv::VerbTable
