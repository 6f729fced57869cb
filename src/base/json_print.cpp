// Printing. Keys are sorted, numbers stand in their shortest form and text with as few
// escapes as JSON allows, so that two equal documents print alike. A large document is
// millions of short pieces, so they are put together in a buffer first: to grow a string, or to
// call for a copy, costs more than such a piece.

#include <algorithm>
#include <charconv>
#include <cstring>
#include <deque>
#include <tuple>
#include <utility>
#include <vector>

#include "base/json.h"
#include "base/text.h"

namespace qv::json {

namespace {

// Whether the byte needs an escape inside a JSON string.
template <Slashes kSlashes>
bool is_special(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\' ||
         (byte == '/' && kSlashes == Slashes::escaped);
}

// Whether one of eight bytes does.
template <Slashes kSlashes>
bool any_special(const char* bytes) {
  using text::kEachByte;
  const std::uint64_t word = text::word_at(bytes);
  // With this bit turned, the controls and the quotation mark are the bytes below 0x21.
  const std::uint64_t turned = word ^ kEachByte * 0x02;
  const std::uint64_t below = (turned - kEachByte * 0x21) & ~turned & (kEachByte << 7U);
  const std::uint64_t slash =
      kSlashes == Slashes::escaped ? text::zero_bytes(word ^ kEachByte * '/') : 0;
  return (below | text::zero_bytes(word ^ kEachByte * '\\') | slash) != 0;
}

// The first position from `i` on where a special byte stands.
template <Slashes kSlashes>
std::size_t plain_run(std::string_view text, std::size_t i) {
  constexpr std::size_t kStep = 8;
  for (; i + kStep <= text.size(); i += kStep) {
    if (any_special<kSlashes>(text.data() + i)) break;
  }
  const std::size_t left = text.size() - i;
  if (left < kStep && text.size() >= kStep &&
      !any_special<kSlashes>(text.data() + text.size() - kStep))
    return text.size();
  while (i < text.size() && !is_special<kSlashes>(text[i])) ++i;
  return i;
}

template <class Out>
void put_escape(Out& out, unsigned char byte) {
  constexpr std::pair<unsigned char, char> kShort[] = {
      {'\n', 'n'}, {'\t', 't'}, {'\r', 'r'},  {'\b', 'b'},
      {'\f', 'f'}, {'"', '"'},  {'\\', '\\'}, {'/', '/'},
  };
  out += '\\';
  for (const auto& [plain, letter] : kShort) {
    if (plain != byte) continue;
    out += letter;
    return;
  }
  constexpr char kHex[] = "0123456789abcdef";
  out += "u00";
  out += kHex[byte >> 4U];
  out += kHex[byte & 0xFU];
}

template <Slashes kSlashes, class Out>
void put_text(Out& out, std::string_view text) {
  out += '"';
  std::size_t plain = 0;  // start of the run that needs no escape
  for (std::size_t i; (i = plain_run<kSlashes>(text, plain)) < text.size(); plain = i + 1) {
    out += text.substr(plain, i - plain);
    put_escape(out, static_cast<unsigned char>(text[i]));
  }
  out += text.substr(plain);
  out += '"';
}

class Digits {
 public:
  template <class Number>
  explicit Digits(Number number) : end_(std::to_chars(digits_, std::end(digits_), number).ptr) {}
  [[nodiscard]] std::string_view view() const { return {digits_, end_}; }

 private:
  char digits_[40];
  const char* end_;
};

using Take = std::function<void(std::string_view)>;

// A text that is put together of short pieces. What `take` does not get is kept.
class Pieces {
 public:
  explicit Pieces(const Take* take) : take_(take) {}

  Pieces& operator+=(char byte) {
    if (used_ == sizeof buffer_) flush();
    buffer_[used_++] = byte;
    return *this;
  }

  Pieces& operator+=(std::string_view piece) {
    if (piece.size() > sizeof buffer_ - used_) flush();
    if (piece.size() > sizeof buffer_) {
      give(piece);
      return *this;
    }
    copy(buffer_ + used_, piece);
    used_ += piece.size();
    return *this;
  }

  std::string rest() {
    text_.append(buffer_, used_);
    return std::move(text_);
  }

 private:
  void flush() { give({buffer_, std::exchange(used_, 0)}); }

  void give(std::string_view part) {
    if (take_ != nullptr) {
      (*take_)(part);
    } else {
      text_ += part;
    }
  }

  // Copies of a known length are instructions, not calls.
  static void copy(char* to, std::string_view piece) {
    constexpr std::size_t kLong = 128;
    const std::size_t size = piece.size();
    if (size > kLong) {
      std::memcpy(to, piece.data(), size);
    } else if (size >= 16) {
      copy_by<16>(to, piece);
    } else if (size >= 8) {
      copy_by<8>(to, piece);
    } else {
      for (std::size_t i = 0; i < size; ++i) to[i] = piece[i];
    }
  }

  // The last step begins where it ends with the piece.
  template <std::size_t kStep>
  static void copy_by(char* to, std::string_view piece) {
    const std::size_t last = piece.size() - kStep;
    for (std::size_t i = 0; i < last; i += kStep) std::memcpy(to + i, piece.data() + i, kStep);
    std::memcpy(to + last, piece.data() + last, kStep);
  }

  const Take* take_;
  std::string text_;
  std::size_t used_ = 0;
  char buffer_[32 * 1024];
};

class Printer {
 public:
  Printer(Value value, bool multiline, const std::optional<AddedMember>& added, const Take* take)
      : out_(take), multiline_(multiline), added_(added) {
    append(value, 0);
  }

  std::string rest() { return out_.rest(); }

 private:
  // What stands before each value of an object. The objects of a list mostly have the same keys
  // in the same order, so the last object of each depth tells how the next one is printed.
  struct Shape {
    struct Line {
      std::string_view key;
      std::size_t member;  // its place among the members as they came
      std::size_t end;     // of its text in `text`
    };
    bool keeps_order = true;
    std::vector<std::string_view> keys;  // as they came
    std::vector<Line> lines;             // as they are printed
    std::string text;                    // of one line after the other: its comma, indent and key
  };

  void append(Value value, std::size_t depth) {
    switch (value.kind()) {
      case Kind::null: out_ += "null"; break;
      case Kind::boolean: out_ += std::string_view(value.boolean() ? "true" : "false"); break;
      case Kind::integer: append_digits(value.integer()); break;
      case Kind::unsigned_integer: append_digits(value.unsigned_integer()); break;
      case Kind::real: append_digits(value.real()); break;
      case Kind::text: put_text<Slashes::plain>(out_, value.text()); break;
      case Kind::array: append_array(value, depth); break;
      case Kind::object: append_object(value, depth); break;
    }
  }

  template <class Number>
  void append_digits(Number number) {
    out_ += Digits(number).view();
  }

  void append_array(Value array, std::size_t depth) {
    out_ += '[';
    bool first = true;
    for (const Value element : array.elements()) {
      start_line(out_, !std::exchange(first, false), depth + 1);
      append(element, depth + 1);
    }
    finish(first, depth, ']');
  }

  void append_object(Value object, std::size_t depth) {
    if (shapes_.size() <= depth) shapes_.resize(depth + 1);
    Shape& shape = shapes_[depth];
    const std::size_t base = values_.size();  // values_ serves all levels, like a stack
    keys_.clear();
    const auto add = [&](std::string_view key, Value value) {
      keys_.push_back(key);
      values_.push_back(value);
    };
    for (const auto& member : object.members()) add(member.key, member.value);
    if (depth == 0 && added_) add(added_->key, added_->value);
    if (shape.keeps_order != keeps_order_ || !std::ranges::equal(shape.keys, keys_, text::same)) {
      shape.keys.swap(keys_);
      arrange(shape, depth + 1);
    }

    out_ += '{';
    std::size_t start = 0;
    for (const auto& line : shape.lines) {
      out_ += std::string_view(shape.text).substr(start, line.end - start);
      start = line.end;
      const bool was_added = line.member == object.size();
      const bool outer = std::exchange(keeps_order_, keeps_order_ || was_added);
      append(values_[base + line.member], depth + 1);
      keeps_order_ = outer;
    }
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(base), values_.end());
    finish(shape.lines.empty(), depth, '}');
  }

  // Works out the lines of an object from its keys; of equal ones the last one stands.
  void arrange(Shape& shape, std::size_t depth) {
    shape.keeps_order = keeps_order_;
    shape.lines.clear();
    for (const std::string_view key : shape.keys)
      shape.lines.push_back({key, shape.lines.size(), 0});
    if (!shape.keeps_order) {
      std::sort(shape.lines.begin(), shape.lines.end(), [](const auto& a, const auto& b) {
        return std::tie(a.key, a.member) < std::tie(b.key, b.member);
      });
    }
    const auto last = std::unique(shape.lines.rbegin(), shape.lines.rend(),
                                  [](const auto& a, const auto& b) { return a.key == b.key; });
    shape.lines.erase(shape.lines.begin(), last.base());
    shape.text.clear();
    for (auto& line : shape.lines) {
      start_line(shape.text, !shape.text.empty(), depth);
      put_text<Slashes::plain>(shape.text, line.key);
      shape.text += multiline_ ? ": " : ":";
      line.end = shape.text.size();
    }
  }

  template <class Out>
  void start_line(Out& out, bool after_another, std::size_t depth) {
    if (after_another) out += ',';
    if (multiline_) new_line(out, depth);
  }

  void finish(bool empty, std::size_t depth, char bracket) {
    if (multiline_ && !empty) new_line(out_, depth);
    out_ += bracket;
  }

  template <class Out>
  static void new_line(Out& out, std::size_t depth) {
    constexpr std::string_view kBlanks = "\n                                ";
    const std::size_t width = 1 + depth * 2;
    out += kBlanks.substr(0, width);
    for (std::size_t i = kBlanks.size(); i < width; ++i) out += ' ';
  }

  Pieces out_;
  std::deque<Shape> shapes_;            // of each depth
  std::vector<std::string_view> keys_;  // of the object that begins
  std::vector<Value> values_;           // of the objects under way
  bool multiline_;
  bool keeps_order_ = false;  // inside the member that was added
  std::optional<AddedMember> added_;
};

}  // namespace

std::string pretty(Value value, const std::optional<AddedMember>& added) {
  return Printer(value, true, added, nullptr).rest();
}

std::string pretty(Value value, const std::optional<AddedMember>& added, const Take& take) {
  return Printer(value, true, added, &take).rest();
}

std::string compact(Value value) { return Printer(value, false, std::nullopt, nullptr).rest(); }

void append_text(std::string& out, std::string_view text, Slashes slashes) {
  if (slashes == Slashes::plain) {
    put_text<Slashes::plain>(out, text);
  } else {
    put_text<Slashes::escaped>(out, text);
  }
}

void append_number(std::string& out, std::int64_t number) { out += Digits(number).view(); }

void append_number(std::string& out, double number) { out += Digits(number).view(); }

}  // namespace qv::json
