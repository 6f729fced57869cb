#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "command/exit_code.h"
#include "command/runtime.h"
#include "command/verb.h"

namespace qv::seat {

// What was typed behind `qv whoami` or `qv join`.
struct Options {
  bool wantsHelp = false;
  bool wantsJSON = false;
  std::map<std::string, std::string, std::less<>> values;  // the options that take a name
  std::vector<std::string> words;    // what is neither an option nor an option's value
  std::vector<std::string> unknown;  // without dashes, in the order met
  std::string nameless;              // the first option that lacks its name; mostly empty
};

// A text among `named` takes a name: behind "=", or the next argument unless that begins
// with "--", so that a forgotten name never swallows an option. Help is asked for by
// "--help" or "-h" anywhere, even where a name stands.
[[nodiscard]] Options parse_options(const std::vector<std::string>& arguments,
                                    std::span<const Flag> named);

// What both commands do before their own work: help ends a command, a missing name is
// refused, and an unknown option is warned about and passed over. Absent when there is
// work left to do.
[[nodiscard]] std::optional<ExitCode> settled(const Options& options, std::span<const Flag> named,
                                              std::string_view command, std::string_view help,
                                              CLIRuntime& runtime);

}  // namespace qv::seat
