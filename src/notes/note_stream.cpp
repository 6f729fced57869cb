// A page of a note is a few hundred lines, but its reply is the whole note, and to hold
// one of 16 MiB, parse it and copy it out costs several times what it takes to receive
// it. So the reply is looked at while it arrives: everything but the note's text is kept
// and read as any other reply, and the text, which is nearly all of it, is unescaped run
// by run, checked as strictly as the JSON reader would, and given to the pager. Should the
// sender write the path to the text in an unusual way, nothing is diverted, and the
// reply is read whole.

#include "notes/note_stream.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>

#include "base/text.h"
#include "notes/skipped_text.h"

namespace qv::notes {

namespace {

// The bytes of eight, as their high bits, that are a quote, a backslash, a control or beyond
// ASCII. The first one found is right; those above it may be mistaken.
std::uint64_t specials(std::uint64_t bytes) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighs = 0x8080808080808080U;
  const std::uint64_t quote = (bytes ^ (kOnes * '"')) - kOnes;
  const std::uint64_t backslash = (bytes ^ (kOnes * '\\')) - kOnes;
  const std::uint64_t control = bytes - kOnes * 0x20;
  return (quote | backslash | control | bytes) & kHighs;
}

std::string_view after(std::string_view bytes, std::size_t count) {
  bytes.remove_prefix(count);
  return bytes;
}

bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

bool is_plain(char byte) {
  return is_ascii(byte) && static_cast<unsigned char>(byte) >= 0x20 && byte != '"' && byte != '\\';
}

// How many bytes at the start stand for themselves.
std::size_t plain_run(std::string_view bytes) {
  static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");
  const char* const data = bytes.data();
  std::size_t run = 0;
  for (std::uint64_t word = 0; run + sizeof word <= bytes.size(); run += sizeof word) {
    std::memcpy(&word, data + run, sizeof word);
    const std::uint64_t found = specials(word);
    if (found != 0) return run + static_cast<std::size_t>(std::countr_zero(found)) / 8;
  }
  while (run < bytes.size() && is_plain(data[run])) ++run;
  return run;
}

// The four hexadecimal digits behind "\u".
std::optional<std::uint32_t> code_unit(std::string_view digits) {
  std::uint32_t unit = 0;
  for (const char digit : digits.substr(0, 4)) {
    const std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) return std::nullopt;
    unit = unit * 16 + static_cast<std::uint32_t>(value % 16);
  }
  return unit;
}

std::string utf8(std::uint32_t point) {
  const auto byte = [](std::uint32_t value) { return static_cast<char>(value); };
  const auto rest = [&](unsigned shift) { return byte(0x80U | ((point >> shift) & 0x3FU)); };
  if (point < 0x80) return {byte(point)};
  if (point < 0x800) return {byte(0xC0U | (point >> 6U)), rest(0)};
  if (point < 0x10000) return {byte(0xE0U | (point >> 12U)), rest(6), rest(0)};
  return {byte(0xF0U | (point >> 18U)), rest(12), rest(6), rest(0)};
}

}  // namespace

void NoteStream::take(std::string_view piece) {
  std::string joined;
  if (!held_.empty()) {
    joined = held_.append(piece);
    held_.clear();
    piece = joined;
  }
  while (!piece.empty()) piece = in_text_ ? take_text(piece) : take_frame(piece);
}

std::optional<std::string> NoteStream::page() const {
  return diverted_ ? std::optional(pager_.page()) : std::nullopt;
}

// Each of the following gives back what it leaves.

std::string_view NoteStream::take_frame(std::string_view bytes) {
  if (refused_) return {};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    frame_ += bytes[i];
    if (in_string_) {
      follow_string(bytes[i]);
    } else if (bytes[i] == '"' && at_note_text()) {
      in_text_ = diverted_ = true;
      pager_ = fresh_;  // of several texts the last stands
      frame_ += kTextTaken;
      return after(bytes, i + 1);
    } else {
      follow(bytes[i]);
    }
  }
  return {};
}

std::string_view NoteStream::take_text(std::string_view bytes) {
  if (const auto lines = pager_.lines_to_skip()) {
    const Stretch stretch = skippable_text(bytes, *lines);
    if (stretch.bytes > 0) pager_.skip(stretch.lines);
    bytes.remove_prefix(stretch.bytes);
  }
  std::size_t run = plain_run(bytes);
  while (run < bytes.size() && !is_ascii(bytes[run])) {
    const std::size_t length = text::sequence_length(bytes.substr(run));
    if (length == 0) break;
    run += length;
    run += plain_run(bytes.substr(run));
  }
  if (run > 0) pager_.add({bytes.data(), run});
  bytes.remove_prefix(run);
  if (bytes.empty()) return {};
  if (!is_ascii(bytes.front())) return take_beyond_ascii(bytes);
  if (bytes.front() == '\\') return take_escape(bytes);
  if (bytes.front() != '"') return refuse();
  in_text_ = false;
  frame_ += '"';
  previous_ = '"';
  return after(bytes, 1);
}

std::string_view NoteStream::take_escape(std::string_view bytes) {
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (bytes.size() < 2) return hold(bytes);
  if (bytes[1] == 'u') return take_unicode_escape(bytes);
  const std::size_t letter = kLetters.find(bytes[1]);
  if (letter == std::string_view::npos) return refuse();
  if (bytes[1] == 'n') {
    pager_.end_line();
  } else {
    pager_.add(kMeanings.substr(letter, 1));
  }
  return after(bytes, 2);
}

// A character beyond 16 bits is written as two escapes, high half first.
std::string_view NoteStream::take_unicode_escape(std::string_view bytes) {
  constexpr std::size_t kLength = 6;
  if (bytes.size() < kLength) return hold(bytes);
  const auto unit = code_unit(bytes.substr(2));
  if (!unit || (*unit >= 0xDC00 && *unit < 0xE000)) return refuse();
  if (*unit == '\n') {
    pager_.end_line();
  } else if (*unit < 0xD800 || *unit >= 0xE000) {
    pager_.add(utf8(*unit));
  } else {
    if (bytes.size() < 2 * kLength) return hold(bytes);
    const auto low = code_unit(bytes.substr(kLength + 2));
    if (bytes.substr(kLength, 2) != "\\u" || !low || *low < 0xDC00 || *low >= 0xE000) {
      return refuse();
    }
    pager_.add(utf8(0x10000 + ((*unit - 0xD800) << 10U) + (*low - 0xDC00)));
    bytes.remove_prefix(kLength);
  }
  return after(bytes, kLength);
}

// No whole character stands there: it goes on in the next piece, or never was one.
std::string_view NoteStream::take_beyond_ascii(std::string_view bytes) {
  constexpr std::size_t kLongest = 4;
  std::size_t length = 1;
  while (length < bytes.size() && (static_cast<unsigned char>(bytes[length]) & 0xC0U) == 0x80U) {
    ++length;
  }
  return length == bytes.size() && length < kLongest ? hold(bytes) : refuse();
}

std::string_view NoteStream::hold(std::string_view bytes) {
  held_ = bytes;
  return {};
}

std::string_view NoteStream::refuse() {
  refused_ = true;
  in_text_ = false;
  frame_.clear();
  return {};
}

void NoteStream::follow(char byte) {
  if (byte == ' ' || byte == '\t' || byte == '\r') return;
  previous_ = byte;
  if (byte == '{' || byte == '[') ++depth_;
  if ((byte == '}' || byte == ']') && depth_ > 0) --depth_;
  if (byte == ':' && (depth_ == 1 || depth_ == 2)) keys_[depth_ - 1] = string_;
  in_string_ = byte == '"';
  if (in_string_) string_start_ = frame_.size();
}

void NoteStream::follow_string(char byte) {
  if (escaped_) {
    escaped_ = false;
  } else if (byte == '\\') {
    escaped_ = true;
  } else if (byte == '"') {
    in_string_ = false;
    string_ = frame_.substr(string_start_, frame_.size() - 1 - string_start_);
  }
}

bool NoteStream::at_note_text() const {
  return previous_ == ':' && depth_ == 2 && keys_[0] == "note" && keys_[1] == "content";
}

}  // namespace qv::notes
