#pragma once

#include <boost/json/value.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qv::json {

using Value = boost::json::value;

// Reads one JSON document (strict UTF-8, at most 512 levels deep). Integers keep all 64
// bits, other numbers are the nearest double. Absent when the text is not such a document.
[[nodiscard]] std::optional<Value> parse(std::string_view text);

// The value over several lines, two blanks a level, keys sorted by their bytes, text in
// UTF-8 with slashes as they are. The members of `unsorted`, an object somewhere inside
// the value, keep the order they have.
[[nodiscard]] std::string pretty(const Value& value, const boost::json::object* unsorted = nullptr);

// The same on one line without blanks.
[[nodiscard]] std::string compact(const Value& value);

enum class Slashes { plain, escaped };

// Appends one JSON scalar to a document under construction. `text` must be UTF-8.
void append_text(std::string& out, std::string_view text, Slashes slashes = Slashes::plain);
void append_number(std::string& out, std::int64_t number);
void append_number(std::string& out, double number);

}  // namespace qv::json
