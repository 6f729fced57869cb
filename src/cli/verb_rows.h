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
constexpr Flag naming(Values values, Flag flag) {
  flag.values = values;
  return flag;
}
constexpr Flag task(Flag flag) { return naming(Values::tasks, flag); }
constexpr Flag peer(Flag flag) { return naming(Values::handles, flag); }
constexpr Flag debate(Flag flag) { return naming(Values::debates, flag); }
constexpr Flag note(Flag flag) { return naming(Values::notes, flag); }
constexpr Flag notebook(Flag flag) { return naming(Values::notebooks, flag); }
constexpr Flag one_of(std::span<const std::string_view> words, Flag flag) {
  flag.words = words;
  return flag;
}
constexpr Flag first(Flag flag) { return at(Position::first, flag); }
constexpr Flag second(Flag flag) { return at(Position::second, flag); }
constexpr Flag third(Flag flag) { return at(Position::third, flag); }
constexpr Flag unlisted(Flag flag) { return at(Position::unlisted, flag); }

}  // namespace qv::VerbTable
