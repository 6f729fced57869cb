#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// The shape of the verb table: plain constant data, read by dispatch, parser, help and
// the bridge drivers.
namespace qv {

enum class FlagKind : std::uint8_t { string, integer, boolean, list };

// Whether, and how, a positional argument may fill a flag.
enum class Position : std::int8_t {
  none = -1,
  first = 0,
  second = 1,
  third = 2,
  unlisted = 3,  // the first positional fills it, though help shows it as a flag only
};

// What a text names on the board or among the notes, for whoever completes a command line.
enum class Values : std::uint8_t { any, tasks, handles, debates, notes, notebooks };

struct Flag {
  std::string_view name;  // without dashes
  FlagKind kind = FlagKind::string;
  bool required = false;
  Position positional = Position::none;
  std::string_view help;
  Values values = Values::any;
  std::span<const std::string_view> words = {};  // those it may be, where they are known
};

// What every command takes that has an answer of the app's to print.
inline constexpr Flag kJSONFlag{.name = "json",
                                .kind = FlagKind::boolean,
                                .help = "Print the bridge's raw JSON instead of prose."};

struct Verb {
  std::string_view name;    // as typed after the group
  std::string_view method;  // on the wire
  std::string_view summary;
  std::span<const Flag> flags;
  std::string_view detail = {};     // a paragraph for the verb's help; may be empty
  bool emptyMeansNotFound = false;  // an empty answer ends the command with `notFound`
};

enum class Bridge : std::uint8_t { teamwork, notes, vault };

struct Group {
  std::string_view name;
  std::string_view summary;
  Bridge bridge;
  std::span<const Verb> verbs;

  // The verb of exactly this name; null when there is none.
  [[nodiscard]] constexpr const Verb* verb(std::string_view wanted) const {
    for (const Verb& candidate : verbs) {
      if (candidate.name == wanted) return &candidate;
    }
    return nullptr;
  }
};

}  // namespace qv
