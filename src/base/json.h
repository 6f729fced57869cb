#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

// JSON as it is read, looked at and printed here. A document is one flat list of nodes in
// the order of the text, and its strings are views of that text, so that the largest reply
// costs little more than its own size.
namespace qv::json {

enum class Kind : std::uint8_t {
  null,
  boolean,
  integer,
  unsigned_integer,
  real,
  text,
  array,
  object
};

struct Node {
  Kind kind = Kind::null;
  std::uint32_t size = 0;  // bytes of a text, elements of an array, members of an object
  union {
    bool boolean;
    std::int64_t integer = 0;
    std::uint64_t unsigned_integer;  // only beyond the signed range
    double real;
    const char* text;
    std::uint64_t span;  // of an array or object: the nodes it takes, itself included
  };

  [[nodiscard]] std::string_view view() const { return {text, size}; }
  [[nodiscard]] const Node* next() const {
    return this + (kind == Kind::array || kind == Kind::object ? span : 1);
  }
};

// One value inside a document, and valid as long as that.
class Value {
 public:
  explicit Value(const Node* node) : node_(node) {}

  [[nodiscard]] Kind kind() const { return node_->kind; }
  [[nodiscard]] bool is(Kind kind) const { return node_->kind == kind; }
  [[nodiscard]] std::size_t size() const { return node_->size; }

  // Each asks for its kind to have been tested.
  [[nodiscard]] bool boolean() const { return node_->boolean; }
  [[nodiscard]] std::int64_t integer() const { return node_->integer; }
  [[nodiscard]] std::uint64_t unsigned_integer() const { return node_->unsigned_integer; }
  [[nodiscard]] double real() const { return node_->real; }
  [[nodiscard]] std::string_view text() const { return node_->view(); }

  struct Member;
  template <class Item>
  class Range;

  // What an array or object holds, in the order of the text; nothing for other kinds.
  [[nodiscard]] Range<Value> elements() const;
  [[nodiscard]] Range<Member> members() const;

  // Visits every node of the value, keys included, in the order of the text.
  template <class Visit>
  void for_each_node(Visit visit) const {
    for (const Node *node = node_, *end = node_->next(); node != end; ++node) visit(*node);
  }

  // The last member of that key; absent without one.
  [[nodiscard]] std::optional<Value> member(std::string_view key) const;

 private:
  const Node* node_;
};

struct Value::Member {
  std::string_view key;
  Value value;
};

template <class Item>
class Value::Range {
 public:
  class Iterator {
   public:
    explicit Iterator(const Node* node) : node_(node) {}
    Item operator*() const {
      if constexpr (std::is_same_v<Item, Value>) {
        return Value(node_);
      } else {
        return {node_->view(), Value(node_ + 1)};
      }
    }
    Iterator& operator++() {
      node_ = std::is_same_v<Item, Value> ? node_->next() : (node_ + 1)->next();
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    const Node* node_;
  };

  Range(const Node* first, const Node* end) : first_(first), end_(end) {}
  [[nodiscard]] Iterator begin() const { return Iterator(first_); }
  [[nodiscard]] Iterator end() const { return Iterator(end_); }

 private:
  const Node* first_;
  const Node* end_;
};

// A whole text that was read. Move-only.
class Document {
 public:
  [[nodiscard]] Value root() const& { return Value(nodes_.get()); }
  operator Value() const& { return root(); }  // NOLINT: a document stands for its value
  Value root() const&& = delete;              // a value must not outlive its document
  operator Value() const&& = delete;

 private:
  friend class Builder;
  friend std::optional<Document> parse(std::string_view text);
  struct Free {
    void operator()(Node* nodes) const { std::free(nodes); }
  };
  std::unique_ptr<Node[], Free> nodes_;
  std::unique_ptr<char[]> text_;  // none of a text that was read in place
};

// Reads one JSON document (strict UTF-8, at most 512 levels deep). Integers keep all 64
// bits, other numbers are the nearest double. Absent when the text is not such a document, or
// holds a number beyond every double.
[[nodiscard]] std::optional<Document> parse(std::string_view text);

// The same without a copy of the text: that is written over and has to outlive the document.
[[nodiscard]] std::optional<Document> parse_in_place(std::span<char> text);

// A member added to the outermost object while it is printed, in the place of one of the
// same key. The keys inside its value keep the order they have.
struct AddedMember {
  std::string_view key;
  Value value;
};

// The value over several lines, two blanks a level, keys sorted by their bytes (the last
// of several equal ones stands), text in UTF-8 with slashes as they are.
[[nodiscard]] std::string pretty(Value value, const std::optional<AddedMember>& added = {});

// The same, but of a long text only the end: `take` gets the parts before it, none of which ends
// inside a character.
[[nodiscard]] std::string pretty(Value value, const std::optional<AddedMember>& added,
                                 const std::function<void(std::string_view)>& take);

// The same on one line without blanks.
[[nodiscard]] std::string compact(Value value);

enum class Slashes { plain, escaped };

// Appends one JSON scalar to a document under construction. `text` must be UTF-8.
void append_text(std::string& out, std::string_view text, Slashes slashes = Slashes::plain);
void append_number(std::string& out, std::int64_t number);
void append_number(std::string& out, double number);

}  // namespace qv::json
