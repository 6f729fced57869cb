// Everything that asks "how many characters", "is this a letter", "where does white
// space end" asks it here, in the Unicode sense. Nearly all text is ASCII, so each
// question has a path that never leaves the byte, and utf8proc answers the rest.

#include "base/text.h"

#include <utf8proc.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace qv::text {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

// Decodes the code point at `position`; the length is 0 where the bytes are malformed.
struct CodePoint {
  utf8proc_int32_t value = 0;
  std::size_t length = 0;
};

CodePoint code_point_at(std::string_view text, std::size_t position) {
  CodePoint point;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + position;
  const auto length =
      utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - position), &point.value);
  point.length = length > 0 ? static_cast<std::size_t>(length) : 0;
  return point;
}

std::size_t last_code_point_start(std::string_view text) {
  std::size_t start = text.size() - 1;
  while (start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0U) == 0x80U) --start;
  return start;
}

bool is_space(utf8proc_int32_t point) {
  if (point < 0x80) return point == ' ' || (point >= '\t' && point <= '\r');
  const auto category = utf8proc_category(point);
  return point == 0x85 || category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL ||
         category == UTF8PROC_CATEGORY_ZP;
}

bool is_letter_or_digit(utf8proc_int32_t point) {
  switch (utf8proc_category(point)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_ND: return true;
    default: return false;
  }
}

bool is_mark(utf8proc_int32_t point) {
  const auto category = utf8proc_category(point);
  return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
         category == UTF8PROC_CATEGORY_ME;
}

// What a terminal obeys instead of showing it.
bool is_control(utf8proc_int32_t point) {
  constexpr std::pair<utf8proc_int32_t, utf8proc_int32_t> kRanges[] = {
      {0, 0x1F}, {0x7F, 0x9F}, {0x61C, 0x61C}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069},
  };
  return std::ranges::any_of(kRanges, [point](const auto& range) {
    return point >= range.first && point <= range.second;
  });
}

// The bytes of the line break or tab at `position`; 0 when there is none.
std::size_t break_length(std::string_view text, std::size_t position) {
  const char first = text[position];
  if (first >= '\t' && first <= '\r') return 1;
  const std::string_view rest = text.substr(position + 1, 2);
  if (first == '\xC2') return rest.starts_with('\x85') ? 2 : 0;
  if (first == '\xE2') return rest == "\x80\xA8" || rest == "\x80\xA9" ? 3 : 0;
  return 0;
}

// How many of the next eight bytes surely begin no line break and no tab. One that may is below
// U+000E, or C2 or E2, which differ in the bit 0x20 alone; each step looks at all eight at once,
// and of the marks it leaves the lowest is exact.
std::size_t plain_bytes(const char* eight) {
  const std::uint64_t word = word_at(eight);
  const std::uint64_t lead = (word | kEachByte * 0x20) ^ kEachByte * 0xE2;
  const std::uint64_t marks =
      (((word - kEachByte * 0x0E) & ~word) | ((lead - kEachByte) & ~lead)) & kEachByte * 0x80;
  if (marks == 0) return sizeof word;
  const bool lowest_is_first = std::endian::native == std::endian::little;
  return lowest_is_first ? static_cast<std::size_t>(std::countr_zero(marks)) / 8 : 0;
}

// Where the first line break or tab stands, from `position` on; the end when there is none.
// Nearly no line has one.
std::size_t next_break(std::string_view text, std::size_t position) {
  while (position < text.size()) {
    const std::size_t plain = text.size() - position < 8 ? 0 : plain_bytes(text.data() + position);
    position += plain;
    if (plain == 8) continue;
    if (break_length(text, position) > 0) return position;
    ++position;
  }
  return position;
}

template <class Map>
std::string mapped(std::string_view text, Map map) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    if (is_ascii(text[i])) {
      out += static_cast<char>(map(text[i++]));
      continue;
    }
    const CodePoint point = code_point_at(text, i);
    if (point.length == 0) {
      out += text[i++];
      continue;
    }
    utf8proc_uint8_t bytes[4];
    const auto length = utf8proc_encode_char(map(point.value), bytes);
    out.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    i += point.length;
  }
  return out;
}

}  // namespace

std::size_t find_byte(std::string_view bytes, char byte) {
  const std::uint64_t wanted = kEachByte * static_cast<unsigned char>(byte);
  std::uint64_t words[4];
  std::size_t position = 0;
  for (; bytes.size() - position >= sizeof words; position += sizeof words) {
    std::memcpy(words, bytes.data() + position, sizeof words);
    std::uint64_t found = 0;
    for (const std::uint64_t word : words) found |= zero_bytes(word ^ wanted);
    if (found != 0) break;
  }
  return bytes.find(byte, position);
}

bool is_utf8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t length = is_ascii(bytes[i]) ? 1 : sequence_length(bytes.substr(i));
    if (length == 0) return false;
    i += length;
  }
  return true;
}

std::size_t sequence_length(std::string_view bytes) {
  const auto byte = [&](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
  };
  const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
  const unsigned first = byte(0);
  if (first < 0x80) return bytes.empty() ? 0 : 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  if (first < 0xE0) return continues(1) ? 2 : 0;
  // The second byte rules out overlong forms, surrogates and what lies beyond the last plane.
  const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < low || byte(1) > high || !continues(2)) return 0;
  if (first < 0xF0) return 3;
  return continues(3) ? 4 : 0;
}

std::string repaired(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t length = sequence_length(bytes.substr(i));
    out += length == 0 ? kReplacement : bytes.substr(i, length);
    i += length == 0 ? 1 : length;
  }
  return out;
}

std::string_view Characters::next() {
  const std::size_t start = position_;
  if (start >= text_.size()) return {};
  const bool alone = start + 1 >= text_.size() || is_ascii(text_[start + 1]);
  if (is_ascii(text_[start]) && alone && text_[start] != '\r') {
    return text_.substr(position_++, 1);
  }
  CodePoint point = code_point_at(text_, start);
  position_ += point.length == 0 ? 1 : point.length;
  utf8proc_int32_t state = 0;
  while (point.length > 0 && position_ < text_.size()) {
    const CodePoint following = code_point_at(text_, position_);
    if (following.length == 0) break;
    if (utf8proc_grapheme_break_stateful(point.value, following.value, &state)) break;
    position_ += following.length;
    point = following;
  }
  return text_.substr(start, position_ - start);
}

std::size_t count_characters(std::string_view text) {
  Characters characters(text);
  std::size_t count = 0;
  while (!characters.next().empty()) ++count;
  return count;
}

std::string_view first_characters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return text;
  Characters characters(text);
  for (std::size_t i = 0; i < count; ++i) {
    if (characters.next().empty()) break;
  }
  return text.substr(0, characters.position());
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty()) {
    const CodePoint point = code_point_at(text, 0);
    if (point.length == 0 || !is_space(point.value)) break;
    text.remove_prefix(point.length);
  }
  while (!text.empty()) {
    const std::size_t start = last_code_point_start(text);
    const CodePoint point = code_point_at(text, start);
    if (point.length == 0 || !is_space(point.value)) break;
    text.remove_suffix(text.size() - start);
  }
  return text;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  pieces.reserve(static_cast<std::size_t>(std::ranges::count(text, separator)) + 1);
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::optional<std::string_view> piece(std::string_view text, char separator, std::size_t index) {
  for (; index > 0; --index) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) return std::nullopt;
    text.remove_prefix(end + 1);
  }
  return text.substr(0, text.find(separator));
}

std::optional<std::string_view> line_after(std::string_view text, std::string_view name) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    if (line.starts_with(name)) return line.substr(name.size());
    text.remove_prefix(std::min(text.size(), line.size() + 1));
  }
  return std::nullopt;
}

std::string lowered(std::string_view text) { return mapped(text, utf8proc_tolower); }

std::string uppered(std::string_view text) { return mapped(text, utf8proc_toupper); }

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return a == b || lowered(a) == lowered(b);
}

std::string padded(std::string_view text, std::size_t width) {
  std::string out(text);
  const std::size_t count = count_characters(text);
  if (count < width) out.append(width - count, ' ');
  return out;
}

std::string letters_digits_hyphens(std::string_view text) {
  std::string out;
  Characters characters(text);
  for (auto character = characters.next(); !character.empty(); character = characters.next()) {
    if (character == "-") out += '-';
    if (!is_letter_or_digit(code_point_at(character, 0).value)) continue;
    for (std::size_t i = 0; i < character.size();) {
      const CodePoint point = code_point_at(character, i);
      if (point.length == 0) break;
      if (is_letter_or_digit(point.value) || is_mark(point.value)) {
        out += character.substr(i, point.length);
      }
      i += point.length;
    }
  }
  return out;
}

bool is_plain_word(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.@";
  return !text.empty() && text.find_first_not_of(kPlain) == std::string_view::npos;
}

std::string with_visible_controls(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const CodePoint point = code_point_at(text, i);
    const std::string_view bytes = text.substr(i, point.length);
    i += point.length == 0 ? 1 : point.length;
    if (point.length == 0) {
      out += kReplacement;
    } else if (!is_control(point.value) || point.value == '\n' || point.value == '\t') {
      out += bytes;
    } else if (point.value < 0x80) {
      out += '^';
      out += static_cast<char>(point.value ^ 0x40);
    } else {
      char name[16];
      std::snprintf(name, sizeof name, "<U+%04X>", static_cast<unsigned>(point.value));
      out += name;
    }
  }
  return out;
}

void put_on_one_line(std::string& text, std::size_t start) {
  std::size_t from = next_break(text, start);
  std::size_t to = from;
  while (from < text.size()) {
    while (from < text.size() && break_length(text, from) > 0) from += break_length(text, from);
    text[to++] = ' ';
    const std::size_t end = next_break(text, from);
    std::memmove(&text[to], &text[from], end - from);
    to += end - from;
    from = end;
  }
  text.resize(to);
}

std::optional<std::int64_t> whole_number(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace qv::text
