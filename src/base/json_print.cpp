// Printing. Keys are sorted, numbers stand in their shortest form and text with as few
// escapes as JSON allows, so that two equal documents print alike. A large document is
// millions of short pieces, so they are put together in a buffer first: to grow a string, or to
// call for a copy, costs more than such a piece.

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <utility>
#include <vector>

#include "base/json.h"

namespace qv::json {

namespace {

// Whether the byte may need an escape inside a JSON string.
constexpr auto kSpecial = [] {
  std::array<bool, 256> special{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) special[byte] = true;
  special['"'] = special['\\'] = special['/'] = true;
  return special;
}();

// The first position from `i` on where a special byte stands, eight bytes at a time.
std::size_t plain_run(std::string_view text, std::size_t i) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighs = 0x8080808080808080;
  const auto has_zero = [](std::uint64_t word) { return (word - kOnes) & ~word & kHighs; };
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + i, sizeof word);
    const std::uint64_t below_blank = (word - kOnes * 0x20) & ~word & kHighs;
    if ((below_blank | has_zero(word ^ kOnes * '"') | has_zero(word ^ kOnes * '\\') |
         has_zero(word ^ kOnes * '/')) != 0) {
      break;
    }
  }
  while (i < text.size() && !kSpecial[static_cast<unsigned char>(text[i])]) ++i;
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

template <class Out>
void put_text(Out& out, std::string_view text, Slashes slashes) {
  out += '"';
  std::size_t plain = 0;  // start of the run that needs no escape
  for (std::size_t i = plain_run(text, 0); i < text.size(); i = plain_run(text, i)) {
    const auto byte = static_cast<unsigned char>(text[i++]);
    if (byte == '/' && slashes == Slashes::plain) continue;
    out += text.substr(plain, i - 1 - plain);
    put_escape(out, byte);
    plain = i;
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
    constexpr std::size_t kWord = 8;
    constexpr std::size_t kShort = 64;
    const char* const from = piece.data();
    const std::size_t size = piece.size();
    if (size > kShort) {
      std::memcpy(to, from, size);
    } else if (size >= kWord) {
      for (std::size_t i = 0; i + kWord < size; i += kWord) std::memcpy(to + i, from + i, kWord);
      std::memcpy(to + size - kWord, from + size - kWord, kWord);
    } else {
      for (std::size_t i = 0; i < size; ++i) to[i] = from[i];
    }
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
  static constexpr std::size_t kAddedOrder = static_cast<std::size_t>(-1);

  struct Row {
    Row(std::string_view its_key, Value its_value, std::size_t its_order)
        : key(its_key), value(its_value), order(its_order) {
      for (std::size_t i = 0; i < sizeof start; ++i) {
        start = start << 8U | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
      }
    }

    // By the bytes of the key, of which the first eight usually decide.
    bool operator<(const Row& other) const {
      if (start != other.start) return start < other.start;
      const int by_key = key.compare(other.key);
      return by_key != 0 ? by_key < 0 : order < other.order;
    }

    std::string_view key;
    Value value;
    std::size_t order;  // of two equal keys, the later one stands
    std::uint64_t start = 0;
  };

  void append(Value value, std::size_t depth) {
    switch (value.kind()) {
      case Kind::null: out_ += "null"; break;
      case Kind::boolean: out_ += std::string_view(value.boolean() ? "true" : "false"); break;
      case Kind::integer: append_digits(value.integer()); break;
      case Kind::unsigned_integer: append_digits(value.unsigned_integer()); break;
      case Kind::real: append_digits(value.real()); break;
      case Kind::text: put_text(out_, value.text(), Slashes::plain); break;
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
      start_line(!std::exchange(first, false), depth + 1);
      append(element, depth + 1);
    }
    finish(first, depth, ']');
  }

  void append_object(Value object, std::size_t depth) {
    const std::size_t base = rows_.size();  // rows_ serves all levels, like a stack
    for (const auto& member : object.members()) {
      rows_.emplace_back(member.key, member.value, rows_.size());
    }
    if (depth == 0 && added_) rows_.emplace_back(added_->key, added_->value, kAddedOrder);
    const std::size_t end = rows_.size();
    if (!keeps_order_) {
      std::sort(rows_.begin() + static_cast<std::ptrdiff_t>(base), rows_.end());
    }
    out_ += '{';
    bool first = true;
    for (std::size_t i = base; i < end; ++i) {
      if (i + 1 < end && rows_[i + 1].key == rows_[i].key) continue;
      start_line(!std::exchange(first, false), depth + 1);
      append_member(rows_[i], depth + 1);
    }
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(base), rows_.end());
    finish(first, depth, '}');
  }

  void append_member(Row row, std::size_t depth) {
    put_text(out_, row.key, Slashes::plain);
    out_ += multiline_ ? std::string_view(": ") : ":";
    const bool outer = std::exchange(keeps_order_, keeps_order_ || row.order == kAddedOrder);
    append(row.value, depth);
    keeps_order_ = outer;
  }

  void start_line(bool after_another, std::size_t depth) {
    if (after_another) out_ += ',';
    if (multiline_) new_line(depth);
  }

  void finish(bool empty, std::size_t depth, char bracket) {
    if (multiline_ && !empty) new_line(depth);
    out_ += bracket;
  }

  void new_line(std::size_t depth) {
    constexpr std::string_view kBlanks = "\n                                ";
    const std::size_t width = 1 + depth * 2;
    out_ += kBlanks.substr(0, width);
    for (std::size_t i = kBlanks.size(); i < width; ++i) out_ += ' ';
  }

  Pieces out_;
  std::vector<Row> rows_;
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
  put_text(out, text, slashes);
}

void append_number(std::string& out, std::int64_t number) { out += Digits(number).view(); }

void append_number(std::string& out, double number) { out += Digits(number).view(); }

}  // namespace qv::json
