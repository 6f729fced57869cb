#pragma once

#include <bit>
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

// The first three take one node, the others as many as their `at` says.
enum class Kind : std::uint8_t {
  null,
  boolean,
  text,
  integer,
  unsigned_integer,  // only beyond the signed range
  real,
  array,
  object
};

// The largest reply is a million of these, which is why they are this small. A number takes a
// second node for its bits.
struct Node {
  Kind kind : 3;
  std::uint32_t size : 29;  // bytes of a text, elements of an array, members of an object, a flag
  std::uint32_t at;  // where in the source a text begins, or the nodes it takes, itself included

  [[nodiscard]] const Node* next() const { return this + (kind <= Kind::text ? 1 : at); }
};
static_assert(sizeof(Node) == 8);

// One value inside a document, and valid as long as that.
class Value {
 public:
  Value(const Node* node, const char* source) : node_(node), source_(source) {}

  [[nodiscard]] Kind kind() const { return node_->kind; }
  [[nodiscard]] bool is(Kind kind) const { return node_->kind == kind; }
  [[nodiscard]] std::size_t size() const { return node_->size; }

  // Each asks for its kind to have been tested.
  [[nodiscard]] bool boolean() const { return node_->size != 0; }
  [[nodiscard]] std::int64_t integer() const { return std::bit_cast<std::int64_t>(node_[1]); }
  [[nodiscard]] std::uint64_t unsigned_integer() const {
    return std::bit_cast<std::uint64_t>(node_[1]);
  }
  [[nodiscard]] double real() const { return std::bit_cast<double>(node_[1]); }
  [[nodiscard]] std::string_view text() const { return {source_ + node_->at, node_->size}; }

  struct Member;
  template <class Item>
  class Range;

  // What an array or object holds, in the order of the text; nothing for other kinds.
  [[nodiscard]] Range<Value> elements() const;
  [[nodiscard]] Range<Member> members() const;

  // The last member of that key; absent without one.
  [[nodiscard]] std::optional<Value> member(std::string_view key) const;

 private:
  const Node* node_;
  const char* source_;
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
    Iterator(const Node* node, const char* source) : node_(node), source_(source) {}
    Item operator*() const {
      if constexpr (std::is_same_v<Item, Value>) {
        return {node_, source_};
      } else {
        return {Value(node_, source_).text(), {node_ + 1, source_}};
      }
    }
    Iterator& operator++() {
      node_ = std::is_same_v<Item, Value> ? node_->next() : (node_ + 1)->next();
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    const Node* node_;
    const char* source_;
  };

  Range() = default;  // of nothing
  Range(const Node* first, const Node* end, const char* source)
      : first_(first), end_(end), source_(source) {}
  [[nodiscard]] Iterator begin() const { return {first_, source_}; }
  [[nodiscard]] Iterator end() const { return {end_, source_}; }

 private:
  const Node* first_ = nullptr;
  const Node* end_ = nullptr;
  const char* source_ = nullptr;
};

// A whole text that was read. Move-only.
class Document {
 public:
  [[nodiscard]] Value root() const& { return {nodes_.get(), source_}; }
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
  const char* source_ = nullptr;
  std::unique_ptr<char[]> text_;  // none of a text that was read in place
};

// Reads one JSON document (strict UTF-8, at most 512 levels deep). Integers keep all 64
// bits, other numbers are the nearest double. Absent when the text is not such a document,
// holds a number beyond every double, or has 512 MiB and more.
[[nodiscard]] std::optional<Document> parse(std::string_view text);

// The same without a copy of the text: that is written over and has to outlive the document.
[[nodiscard]] std::optional<Document> parse_in_place(std::span<char> text);

class Parsing;

// Reads a text in place while it is still arriving, so that both take their time at once.
class Reader {
 public:
  Reader();
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // All of the text that is there, which stays where it is and only grows from call to call.
  void read(std::span<char> so_far);

  // The document, as `parse_in_place` gives it, now that the text is whole; whether any of it was
  // read before does not matter.
  [[nodiscard]] std::optional<Document> finish(std::span<char> text);

 private:
  std::unique_ptr<Parsing> parsing_;  // none before the first reading
};

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
