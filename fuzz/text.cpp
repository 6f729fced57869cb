// The questions about text, answered a second time by utf8proc alone, without fast paths.

#include "base/text.h"

#include <utf8proc.h>

#include "support/support.h"

namespace qv::fuzz {

namespace {

std::string utf8(utf8proc_int32_t point) {
  utf8proc_uint8_t bytes[4];
  const auto size = utf8proc_encode_char(point, bytes);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

// As utf8proc itself cuts it: it marks where characters begin.
std::vector<std::string> characters_of(std::string_view text) {
  std::vector<utf8proc_int32_t> points(2 * text.size() + 1);
  const auto count =
      utf8proc_decompose(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), points.data(),
                         static_cast<utf8proc_ssize_t>(points.size()), UTF8PROC_CHARBOUND);
  promise(count >= 0, "utf8proc reads what is UTF-8", text);
  points.resize(static_cast<std::size_t>(count));
  std::vector<std::string> characters;
  for (const auto point : points) {
    if (point < 0) {
      characters.emplace_back();
    } else {
      characters.back() += utf8(point);
    }
  }
  return characters;
}

void check_characters(std::string_view text) {
  const auto expected = characters_of(text);
  text::Characters characters(text);
  for (const std::string& one : expected) {
    promise_same(characters.next(), one, "a character is what utf8proc says");
  }
  promise(characters.next().empty(), "there are no more characters", text);
  promise(text::count_characters(text) == expected.size(), "they are counted", text);
  for (const std::size_t count : {expected.size() / 2, expected.size() + 1}) {
    std::vector<std::string> first = expected;
    first.resize(std::min(count, first.size()));
    promise_same(text::first_characters(text, count), text::joined(first, ""), "the first ones");
  }
  promise(text::padded(text, expected.size() + 2) == std::string(text) + "  ", "padded", text);
}

// Breaks and tabs in a row become one blank.
std::string literal_line(std::string_view text) {
  std::string line;
  bool after_break = false;
  for (const auto point : points_of(text)) {
    const bool breaks = breaks_line(point);
    if (!breaks) line += utf8(point);
    if (breaks && !after_break) line += ' ';
    after_break = breaks;
  }
  return line;
}

}  // namespace

void try_input(std::string_view bytes) {
  bytes = bytes.substr(0, 300);
  const bool valid = std::ranges::count(points_of(bytes), -1) == 0;
  promise(text::is_utf8(bytes) == valid, "UTF-8 is known", bytes);
  const std::string text = text::repaired(bytes);
  promise(text::is_utf8(text) && (!valid || text == bytes), "what is malformed is repaired", bytes);
  check_characters(text);
  check_printed(text);
  promise_same(text::on_one_line(text), literal_line(text), "one line");

  for (const auto& cased : {text::lowered(text), text::uppered(text)}) {
    promise(text::is_utf8(cased), "letters of another case are UTF-8", cased);
  }
  promise(text::equal_ignoring_case(text, text::lowered(text)), "case is ignored", text);
  const std::string_view trimmed = text::trimmed(text);
  promise(text.find(trimmed) != text.npos && text::trimmed(trimmed) == trimmed, "trimmed", text);
  const std::string name = text::letters_digits_hyphens(text);
  check_line(name);
  promise(name.find_first_of("/. ") == name.npos, "a name of letters names no path", name);
  promise_same(text::joined(text::split(bytes, ','), ","), bytes, "pieces join again");
  promise(text::find_byte(bytes, ',') == bytes.find(','), "a byte is found", bytes);

  const std::string_view one = bytes.substr(0, bytes.size() / 2);
  const std::string_view other = bytes.substr(one.size());
  promise(text::same_word(one, other) == (one == other), "words are compared", bytes);
  for (const auto slashes : {json::Slashes::plain, json::Slashes::escaped}) {
    std::string quoted;
    json::append_text(quoted, text, slashes);
    const auto again = json::parse(quoted);
    promise(again && again->root().text() == text, "in JSON it reads as itself", quoted);
  }
}

}  // namespace qv::fuzz
