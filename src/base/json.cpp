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

namespace qv::json {

namespace bj = boost::json;

// What a node can tell of a size.
constexpr std::uint32_t kLargest = (1U << 29U) - 1;

// Receives the parser's events. False with an error ends the reading.
class Builder {
 public:
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);
  using Error = boost::system::error_code;
  using Part = bj::string_view;

  // `expected`: the bytes that the text may come to have.
  Builder(std::span<char> source, std::size_t expected) : source_(source) {
    constexpr std::size_t kBytesPerNode = 12;  // of text, in replies of the usual make
    make_room(expected / kBytesPerNode + 4);
    document_.source_ = source.data();
  }

  void arrived(std::span<char> source) { source_ = source; }
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
  bool on_number_part(Part part, Error&) {
    number_ += part;
    return true;
  }
  bool on_int64(std::int64_t number, Part part, Error&) {
    const bool minus_zero = whole_number(part).starts_with('-') && number == 0;
    return minus_zero ? add_number(Kind::real, -0.0) : add_number(Kind::integer, number);
  }
  bool on_uint64(std::uint64_t number, Part part, Error&) {
    static_cast<void>(whole_number(part));
    return add_number(Kind::unsigned_integer, number);
  }
  bool on_double(double, Part part, Error& failure) {
    const double number = std::strtod(whole_number(part).c_str(), nullptr);
    if (std::isfinite(number)) return add_number(Kind::real, number);
    failure = bj::error::exponent_overflow;
    return false;
  }
  bool on_bool(bool flag, Error&) { return add(Kind::boolean, flag); }
  bool on_null(Error&) { return add(Kind::null); }
  bool on_comment_part(Part, Error&) { return true; }
  bool on_comment(Part, Error&) { return true; }

 private:
  bool add(Kind kind, std::size_t size = 0, std::size_t at = 0) {
    return add(
        Node{kind, static_cast<std::uint32_t>(size) & kLargest, static_cast<std::uint32_t>(at)});
  }

  template <class Number>
  bool add_number(Kind kind, Number number) {
    return add(kind, 0, 2) && add(std::bit_cast<Node>(number));
  }

  bool add(Node node) {
    if (size_ == capacity_) make_room(capacity_ * 2);
    new (document_.nodes_.get() + size_++) Node(node);
    return true;
  }

  // The nodes of a large document are larger than its text. The system moves them page by page,
  // where a vector would copy them, and of the new room gives only what is used.
  void make_room(std::size_t capacity) {
    void* const larger = std::realloc(document_.nodes_.get(), capacity * sizeof(Node));
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(document_.nodes_.release());
    document_.nodes_.reset(static_cast<Node*>(larger));
    capacity_ = capacity;
  }

  bool open(Kind kind) {
    open_.push_back(size_);
    return add(kind);
  }

  bool close(std::size_t count) {
    const std::size_t index = open_.back();
    open_.pop_back();
    Node& node = document_.nodes_[index];
    node.size = static_cast<std::uint32_t>(count) & kLargest;
    node.at = static_cast<std::uint32_t>(size_ - index);
    return true;
  }

  // Of one that arrived in parts, the last one was given.
  std::string whole_number(Part last) {
    std::string whole = std::exchange(number_, {});
    return whole.append(last);
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
    const char* const begin = std::exchange(text_, text_end_);
    return add(Kind::text, static_cast<std::size_t>(text_end_ - begin),
               static_cast<std::size_t>(begin - source_.data()));
  }

  std::span<char> source_;
  Document document_;
  std::size_t size_ = 0;  // of the nodes
  std::size_t capacity_ = 0;
  std::vector<std::size_t> open_;  // arrays and objects not yet closed
  std::string number_;             // the parts of the one under way
  char* text_ = source_.data();    // the text under way, where it is put together
  char* text_end_ = text_;
};

namespace {

bj::parse_options our_options() {
  constexpr std::size_t kDeepest = 512;
  bj::parse_options options;
  options.max_depth = kDeepest;
  return options;
}

}  // namespace

// How far the reading of one text has come.
class Parsing {
 public:
  Parsing(std::span<char> text, std::size_t expected) : parser_(our_options(), text, expected) {}

  void read(std::span<char> text, bool more) {
    const std::span<char> rest = text.subspan(used_);
    if (failed_ || (rest.empty() && (more || parser_.done()))) return;
    parser_.handler().arrived(text);
    boost::system::error_code failure;
    used_ += parser_.write_some(more, rest.data(), rest.size(), failure);
    failed_ = failure || used_ != text.size() || text.size() > kLargest;
  }

  std::optional<Document> finish(std::span<char> text) {
    read(text, false);
    return failed_ ? std::nullopt : std::optional(parser_.handler().take());
  }

 private:
  bj::basic_parser<Builder> parser_;
  std::size_t used_ = 0;
  bool failed_ = false;
};

Reader::Reader() = default;
Reader::~Reader() = default;

void Reader::read(std::span<char> so_far) {
  constexpr std::size_t kLongestReply = 16U * 1024 * 1024;  // of the memory, what is used counts
  if (!parsing_) parsing_ = std::make_unique<Parsing>(so_far, kLongestReply);
  parsing_->read(so_far, true);
}

std::optional<Document> Reader::finish(std::span<char> text) {
  return parsing_ ? parsing_->finish(text) : parse_in_place(text);
}

std::optional<Document> parse_in_place(std::span<char> text) {
  return Parsing(text, text.size()).finish(text);
}

std::optional<Document> parse(std::string_view text) {
  std::unique_ptr<char[]> copy(new char[text.size()]);
  std::copy(text.begin(), text.end(), copy.get());
  auto document = parse_in_place({copy.get(), text.size()});
  if (document) document->text_ = std::move(copy);
  return document;
}

Value::Range<Value> Value::elements() const {
  if (!is(Kind::array)) return {};
  return {node_ + 1, node_->next(), source_};
}

Value::Range<Value::Member> Value::members() const {
  if (!is(Kind::object)) return {};
  return {node_ + 1, node_->next(), source_};
}

std::optional<Value> Value::member(std::string_view key) const {
  std::optional<Value> found;
  for (const Member& member : members()) {
    if (member.key == key) found = member.value;
  }
  return found;
}

}  // namespace qv::json
