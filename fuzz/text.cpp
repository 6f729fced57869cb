// The questions about text, answered a second time by utf8proc alone, without fast paths.

#include "base/text.h"

#include <utf8proc.h>

#include <span>

#include "support/support.h"

namespace qv::fuzz {

namespace {

// The ends of the characters, as utf8proc itself cuts them: it marks where they begin.
std::vector<std::size_t> ends_of(std::string_view text) {
  static std::vector<utf8proc_int32_t> points;
  points.resize(2 * text.size() + 1);
  const auto count =
      utf8proc_decompose(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                         static_cast<utf8proc_ssize_t>(text.size()), points.data(),
                         static_cast<utf8proc_ssize_t>(points.size()), UTF8PROC_CHARBOUND);
  promise(count >= 0, "utf8proc reads what is UTF-8", text);
  std::vector<std::size_t> ends;
  std::size_t end = 0;
  for (const auto point : std::span(points).first(static_cast<std::size_t>(count))) {
    if (point < 0) {
      ends.push_back(end);
    } else {
      end += point < 0x80 ? 1 : point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
      ends.back() = end;
    }
  }
  return ends;
}

void check_characters(std::string_view text) {
  const auto ends = ends_of(text);
  text::Characters characters(text);
  for (std::size_t begin = 0; const std::size_t end : ends) {
    promise_same(characters.next(), text.substr(begin, end - begin), "a character is utf8proc's");
    begin = end;
  }
  promise(characters.next().empty(), "there are no more characters", text);
  promise(text::count_characters(text) == ends.size(), "they are counted", text);
  const std::size_t half = ends.size() / 2;
  const std::string_view first = text.substr(0, half == 0 ? 0 : ends[half - 1]);
  promise_same(text::first_characters(text, half), first, "the first ones");
  promise_same(text::first_characters(text, ends.size() + 1), text, "all are the first ones");
  promise(text::padded(text, ends.size() + 2) == std::string(text) + "  ", "padded", text);
}

// Breaks and tabs in a row become one blank.
std::string literal_line(std::string_view text) {
  std::string line;
  bool after_break = false;
  while (!text.empty()) {
    const std::string_view before = text;
    const bool breaks = breaks_line(take_point(text));
    if (!breaks) line += before.substr(0, before.size() - text.size());
    if (breaks && !after_break) line += ' ';
    after_break = breaks;
  }
  return line;
}

}  // namespace

void try_input(std::string_view bytes) {
  bytes = bytes.substr(0, 200);
  bool valid = true;
  for (auto left = bytes; !left.empty();) valid &= take_point(left) >= 0;
  promise(text::is_utf8(bytes) == valid, "UTF-8 is known", bytes);
  const std::string text = text::repaired(bytes);
  promise(text::is_utf8(text) && (!valid || text == bytes), "what is malformed is repaired", bytes);
  check_characters(text);
  check_printed(text);
  promise_same(text::on_one_line(text), literal_line(text), "one line");

  const std::string lowered = text::lowered(text);
  promise(text::is_utf8(lowered) && text::is_utf8(text::uppered(text)), "cased it is UTF-8", text);
  promise(text::equal_ignoring_case(text, lowered), "case is ignored", text);
  const std::string_view trimmed = text::trimmed(text);
  promise(text.find(trimmed) != text.npos && text::trimmed(trimmed) == trimmed, "trimmed", text);
  const std::string name = text::letters_digits_hyphens(text);
  check_line(name);
  promise(name.find_first_of("/. ") == name.npos, "a name of letters names no path", name);
  promise_same(text::joined(text::split(bytes, ','), ","), bytes, "pieces join again");
  promise(text::find_byte(bytes, ',') == bytes.find(','), "a byte is found", bytes);

  for (const auto slashes : {json::Slashes::plain, json::Slashes::escaped}) {
    std::string quoted;
    json::append_text(quoted, text, slashes);
    const auto again = json::parse(quoted);
    promise(again && again->root().text() == text, "in JSON it reads as itself", quoted);
  }
}

}  // namespace qv::fuzz
