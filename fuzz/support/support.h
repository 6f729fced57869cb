#pragma once

// What the fuzzers share. Each is one .cpp: it takes apart the bytes that libFuzzer makes up,
// gives them to a part of the program, and ends the process where a promise is not kept.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/json.h"
#include "base/record.h"
#include "base/text.h"

namespace qv::fuzz {

// Ends the process with both texts shown, unless the promise is kept.
[[noreturn]] void end_broken(const char* what, std::string_view shown, std::string_view expected);
inline void promise(bool kept, const char* what, std::string_view shown = {},
                    std::string_view expected = {}) {
  if (!kept) end_broken(what, shown, expected);
}
inline void promise_same(std::string_view shown, std::string_view expected, const char* what) {
  promise(shown == expected, what, shown, expected);
}

// Takes the first code point; where bytes are no UTF-8, -1 and all that is left.
std::int32_t take_point(std::string_view& text);
// Whether it ends a line somewhere, or is a tab.
[[nodiscard]] bool breaks_line(std::int32_t point);

// Of what a command prints: it is UTF-8, and as a terminal gets it nothing in it is a control.
void check_printed(std::string_view text);
// It is UTF-8, and nobody takes it for more than one line.
void check_line(std::string_view text);
// Printed in both ways, it reads as the same again.
void check_json(json::Value value);

// Takes bytes apart into choices and values. Whatever is taken beyond their end is zero or empty.
class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] bool empty() const { return bytes_.empty(); }
  std::uint8_t byte();
  std::size_t below(std::size_t count) { return count == 0 ? 0 : byte() % count; }
  bool coin() { return (byte() & 1U) != 0; }
  // Small numbers mostly, and now and then the outermost ones.
  std::int64_t integer();
  std::optional<std::int64_t> maybe_integer();
  // UTF-8 with a liking for what breaks lines, joins characters or drives a terminal.
  std::string text();
  // Any bytes, at most so many.
  std::string_view bytes(std::size_t most);

 private:
  std::string_view bytes_;
};

// A reply as it comes over a socket, and choices about it: a text that begins with "{" is the
// reply up to its last line feed. Other bytes make up a record, which is then encoded.
struct Reply {
  std::string json;
  Input choices;
};

template <class T>
void fill(Input& in, T& out) {
  if constexpr (std::same_as<T, std::string>) {
    out = in.text();
  } else if constexpr (std::same_as<T, bool>) {
    out = in.coin();
  } else if constexpr (std::is_arithmetic_v<T>) {
    out = static_cast<T>(in.integer());
  } else if constexpr (record::Enumeration<T>) {
    out = static_cast<T>(in.below(record::Words<T>::words.size()));
  } else if constexpr (record::Record<T>) {
    std::apply([&](const auto&... field) { (fill(in, out.*field.member), ...); },
               record::Schema<T>::fields);
  } else if constexpr (record::detail::is_optional<T>) {
    out.reset();
    if (in.coin()) fill(in, out.emplace());
  } else if constexpr (record::detail::is_list<T>) {
    fill(in, out.owned());
  } else {
    out.resize(in.below(4));
    for (auto& element : out) fill(in, element);
  }
}

template <record::Record T>
Reply reply_of(std::string_view bytes) {
  if (bytes.starts_with('{')) {
    const std::size_t end = std::min(bytes.rfind('\n'), bytes.size());
    return {std::string(bytes.substr(0, end)), Input(bytes.substr(end))};
  }
  Input in(bytes);
  T made;
  fill(in, made);
  return {record::to_text(made), in};
}

// Visits every text of the record with the key it stands under.
template <class T, class Visit>
void for_each_text(T& in, const Visit& visit, std::string_view key = {}) {
  if constexpr (std::same_as<T, std::string>) {
    visit(key, in);
  } else if constexpr (record::detail::is_optional<T>) {
    if (in) for_each_text(*in, visit, key);
  } else if constexpr (record::detail::is_list<T>) {
    for_each_text(in.owned(), visit, key);
  } else if constexpr (record::detail::is_vector<T>) {
    for (auto& element : in) for_each_text(element, visit, key);
  } else if constexpr (record::Record<T>) {
    std::apply(
        [&](const auto&... field) { (for_each_text(in.*field.member, visit, field.key), ...); },
        record::Schema<T>::fields);
  }
}

// Texts with line breaks, in places where one line is promised, forge no row of what is shown.
// Under `kept` keys there are texts that may be several lines.
template <record::Record T, class Show>
void check_rows(const T& in, const Show& show, std::initializer_list<std::string_view> kept) {
  T flat = in;
  for_each_text(flat, [&](std::string_view key, std::string& value) {
    if (std::ranges::find(kept, key) == kept.end()) text::put_on_one_line(value);
  });
  const std::string shown = show(in);
  const std::string expected = show(flat);
  check_printed(shown);
  promise(std::ranges::count(shown, '\n') == std::ranges::count(expected, '\n'),
          "no text forges a row", shown, expected);
}

// A record survives being sent.
template <record::Record T>
void check_stable(const T& in) {
  const std::string sent = record::to_text(in, json::Slashes::escaped);
  promise(sent.find('\n') == sent.npos, "a record is sent as one line", sent);
  const auto again = record::from_text<T>(sent);
  promise(again.has_value(), "what was encoded decodes", sent);
  promise_same(record::to_text(*again, json::Slashes::escaped), sent, "it encodes as before");
}

// The path of a file in a directory that is this process's own and goes with it; and the same
// once the file is written.
[[nodiscard]] std::string scratch_file(const std::string& name);
std::string write_file(const std::string& name, std::string_view content);

// What one fuzzer tries.
void try_input(std::string_view bytes);

}  // namespace qv::fuzz
