#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qv::build {

// The process environment: names to values, in ascending order of the name's bytes.
using Environment = std::map<std::string, std::string, std::less<>>;

// This process's environment. Of a name that stands there twice the first value counts,
// as it does for getenv.
[[nodiscard]] Environment read_environment();

// The folder in which the builds of this user meet.
[[nodiscard]] std::string ledger_directory();

// NAME=value texts, as a program is started with.
[[nodiscard]] std::vector<std::string> as_strings(const Environment& environment);

// The value of a variable, or nothing.
[[nodiscard]] const std::string* find(const Environment& environment, std::string_view name);

// True when the variable is exactly "1".
[[nodiscard]] bool is_on(const Environment& environment, std::string_view name);

}  // namespace qv::build
