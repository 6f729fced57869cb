#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

[[nodiscard]] inline bool is_help_flag(std::string_view argument) {
  return argument == "--help" || argument == "-h";
}

// Whether help is asked for anywhere among the arguments.
[[nodiscard]] inline bool asks_for_help(const std::vector<std::string>& arguments) {
  return std::ranges::any_of(arguments, is_help_flag);
}

}  // namespace qv
