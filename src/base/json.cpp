// Reading. The grammar, UTF-8 and escapes are the library's; it calls the builder for each
// piece of the text. A string without escapes arrives as a view of the text and stays one; one
// with escapes arrives in parts, which are joined where the text has been read already. The
// library's own reading of doubles is one unit off now and then, so they are read from their
// text here.

#include "base/json.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/system/error_code.hpp>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#include "base/large_memory.h"

namespace qv::json {

namespace bj = boost::json;

// Receives the parser's events. False with an error ends the reading.
class Builder {
 public:
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);
  using Error = boost::system::error_code;
  using Part = bj::string_view;

  explicit Builder(std::span<char> source) : source_(source) {
    constexpr std::size_t kBytesPerNode = 12;  // of text, in replies of the usual make
    make_room(source.size() / kBytesPerNode + 4);
  }

  Document take() { return std::move(document_); }

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return open(Kind::object); }
  bool on_object_end(std::size_t count, Error&) { return close(count); }
  bool on_array_begin(Error&) { return open(Kind::array); }
  bool on_array_end(std::size_t count, Error&) { return close(count); }
  bool on_key_part(Part part, std::size_t, Error&) { return add_part(part); }
  bool on_key(Part part, std::size_t, Error&) { return end_text(part); }
  bool on_string_part(Part part, std::size_t, Error&) { return add_part(part); }
  bool on_string(Part part, std::size_t, Error&) { return end_text(part); }
  bool on_number_part(Part, Error&) { return true; }
  bool on_int64(std::int64_t number, Part part, Error&) {
    if (number == 0 && part.starts_with('-')) return add_real(-0.0);
    Node& node = add(Kind::integer);
    node.integer = number;
    return true;
  }
  bool on_uint64(std::uint64_t number, Part, Error&) {
    Node& node = add(Kind::unsigned_integer);
    node.unsigned_integer = number;
    return true;
  }
  bool on_double(double, Part part, Error& failure) {
    const double number = std::strtod(std::string(part).c_str(), nullptr);
    if (std::isfinite(number)) return add_real(number);
    failure = bj::error::exponent_overflow;
    return false;
  }
  bool on_bool(bool flag, Error&) {
    add(Kind::boolean).boolean = flag;
    return true;
  }
  bool on_null(Error&) {
    add(Kind::null);
    return true;
  }
  bool on_comment_part(Part, Error&) { return true; }
  bool on_comment(Part, Error&) { return true; }

 private:
  Node& add(Kind kind) {
    if (size_ == capacity_) make_room(capacity_ * 2);
    Node& node = *new (document_.nodes_.get() + size_++) Node;
    node.kind = kind;
    return node;
  }

  // The nodes of a large document are larger than its text. The system moves them page by page,
  // where a vector would copy them, and of the new room gives only what is used.
  void make_room(std::size_t capacity) {
    void* const larger = std::realloc(document_.nodes_.get(), capacity * sizeof(Node));
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(document_.nodes_.release());
    document_.nodes_.reset(static_cast<Node*>(larger));
    capacity_ = capacity;
    large_memory::prepare(larger, capacity * sizeof(Node));
  }

  bool add_real(double number) {
    add(Kind::real).real = number;
    return true;
  }

  bool open(Kind kind) {
    open_.push_back(size_);
    add(kind);
    return true;
  }

  bool close(std::size_t count) {
    const std::size_t index = open_.back();
    open_.pop_back();
    Node& node = document_.nodes_[index];
    node.size = static_cast<std::uint32_t>(count);
    node.span = size_ - index;
    return true;
  }

  // A text starts where it stands in the source or, beginning with an escape, behind the text
  // before it. None is longer than it was there, so it ends before what is still to be read.
  bool add_part(Part part) {
    const std::less_equal<const char*> not_after;
    const char* const end = source_.data() + source_.size();
    const bool in_source = not_after(source_.data(), part.data()) && not_after(part.data(), end);
    if (text_ == text_end_ && in_source) {
      text_ = text_end_ = source_.data() + (part.data() - source_.data());
    } else {
      std::memmove(text_end_, part.data(), part.size());
    }
    text_end_ += part.size();
    return true;
  }

  bool end_text(Part part) {
    add_part(part);
    Node& node = add(Kind::text);
    node.text = text_;
    node.size = static_cast<std::uint32_t>(text_end_ - text_);
    text_ = text_end_;
    return true;
  }

  std::span<char> source_;
  Document document_;
  std::size_t size_ = 0;  // of the nodes
  std::size_t capacity_ = 0;
  std::vector<std::size_t> open_;  // arrays and objects not yet closed
  char* text_ = source_.data();    // the text under way, where it is put together
  char* text_end_ = text_;
};

std::optional<Document> parse_in_place(std::span<char> text) {
  constexpr std::size_t kDeepest = 512;
  bj::parse_options options;
  options.max_depth = kDeepest;
  bj::basic_parser<Builder> parser(options, text);
  boost::system::error_code failure;
  const std::size_t used = parser.write_some(false, text.data(), text.size(), failure);
  if (failure || used != text.size()) return std::nullopt;
  return parser.handler().take();
}

std::optional<Document> parse(std::string_view text) {
  std::unique_ptr<char[]> copy(new char[text.size()]);
  std::copy(text.begin(), text.end(), copy.get());
  auto document = parse_in_place({copy.get(), text.size()});
  if (document) document->text_ = std::move(copy);
  return document;
}

Value::Range<Value> Value::elements() const {
  return is(Kind::array) ? Range<Value>(node_ + 1, node_->next()) : Range<Value>(node_, node_);
}

Value::Range<Value::Member> Value::members() const {
  return is(Kind::object) ? Range<Member>(node_ + 1, node_->next()) : Range<Member>(node_, node_);
}

std::optional<Value> Value::member(std::string_view key) const {
  std::optional<Value> found;
  for (const Member& member : members()) {
    if (member.key == key) found = member.value;
  }
  return found;
}

}  // namespace qv::json
