#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Text is UTF-8, and a character is a grapheme cluster: what a person sees as one.
namespace qv::text {

// Eight bytes at a time, as one word: a word of such bytes is a byte times this, and what
// zero_bytes gives is zero when none of the eight is.
inline constexpr std::uint64_t kEachByte = 0x0101010101010101;
[[nodiscard]] inline std::uint64_t word_at(const char* eight) {
  std::uint64_t word = 0;
  std::memcpy(&word, eight, sizeof word);
  return word;
}
[[nodiscard]] constexpr std::uint64_t zero_bytes(std::uint64_t word) {
  return (word - kEachByte) & ~word & (kEachByte << 7U);
}

// Whether both texts are equal. For short ones, where a call costs more than to compare.
[[nodiscard]] inline bool same(std::string_view a, std::string_view b) {
  constexpr std::size_t kStep = 8;
  const auto differ = [&](std::size_t at) {
    return word_at(a.data() + at) != word_at(b.data() + at);
  };
  if (a.size() != b.size()) return false;
  if (a.size() >= kStep) {
    const std::size_t last = a.size() - kStep;
    for (std::size_t i = 0; i < last; i += kStep) {
      if (differ(i)) return false;
    }
    return !differ(last);
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i]) return false;
  }
  return true;
}

// Where the byte stands first; npos without it. For long texts, which a C library may search
// byte by byte.
[[nodiscard]] std::size_t find_byte(std::string_view bytes, char byte);

[[nodiscard]] bool is_utf8(std::string_view bytes);

// The bytes of the well-formed sequence that `bytes` begin with; 0 when it is malformed or
// cut short.
[[nodiscard]] std::size_t sequence_length(std::string_view bytes);

// The bytes with every malformed sequence replaced by U+FFFD.
[[nodiscard]] std::string repaired(std::string_view bytes);

// Walks a valid UTF-8 text character by character; ASCII takes a fast path.
class Characters {
 public:
  explicit Characters(std::string_view text) : text_(text) {}
  // The next character's bytes; empty at the end.
  std::string_view next();
  // Bytes consumed so far.
  [[nodiscard]] std::size_t position() const { return position_; }

 private:
  std::string_view text_;
  std::size_t position_ = 0;
};

[[nodiscard]] std::size_t count_characters(std::string_view text);

// The first `count` characters, or all of a shorter text.
[[nodiscard]] std::string_view first_characters(std::string_view text, std::size_t count);

// Without the white space and line breaks (in the Unicode sense) at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

// Pieces between separators, empty ones included; an empty text is one empty piece.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

// One of those pieces, counted from 0; absent when there are fewer.
[[nodiscard]] std::optional<std::string_view> piece(std::string_view text, char separator,
                                                    std::size_t index);

// The rest of the first line that starts with `name`.
[[nodiscard]] std::optional<std::string_view> line_after(std::string_view text,
                                                         std::string_view name);

[[nodiscard]] std::string lowered(std::string_view text);
[[nodiscard]] std::string uppered(std::string_view text);
[[nodiscard]] bool equal_ignoring_case(std::string_view a, std::string_view b);

// Blanks added on the right until the text is `width` characters wide.
[[nodiscard]] std::string padded(std::string_view text, std::size_t width);

// Only the characters that are letters (with their marks), decimal digits or the hyphen.
[[nodiscard]] std::string letters_digits_hyphens(std::string_view text);

// Whether every letter stands for itself in each shell: there is one, and all are ASCII letters,
// digits, "-", "_", "." or "@".
[[nodiscard]] bool is_plain_word(std::string_view text);

// Control characters other than line feed and tab made visible: ^[ for escape, ^? for delete,
// <U+0085> for the C1 range, for the line separators and for what turns the direction of
// writing; malformed bytes become U+FFFD. What peers wrote must not drive a terminal.
[[nodiscard]] std::string with_visible_controls(std::string_view text);

// Makes one line of what stands in `text` from byte `start` on: each run of line breaks (in
// the Unicode sense) and tabs becomes one blank. What peers wrote must not forge a row.
void put_on_one_line(std::string& text, std::size_t start = 0);

[[nodiscard]] inline std::string on_one_line(std::string text) {
  put_on_one_line(text);
  return text;
}

// An optional sign and decimal digits, nothing else; absent outside 64 bits.
[[nodiscard]] std::optional<std::int64_t> whole_number(std::string_view text);

// The elements (anything that converts to a string_view) with `separator` between them.
template <class List>
[[nodiscard]] std::string joined(const List& list, std::string_view separator) {
  std::string out;
  bool first = true;
  for (const auto& element : list) {
    if (!first) out += separator;
    out += element;
    first = false;
  }
  return out;
}

// There, and not empty.
template <class Text>
[[nodiscard]] bool given(const std::optional<Text>& text) {
  return text && !text->empty();
}

}  // namespace qv::text
