#pragma once

// A list of records that may be as long as the largest reply. A decoded record takes many
// times the room of its text, so a list that was read only remembers where its array stands
// in the document: it was read through once, and each record is made again when it is looked
// at. A list that a program puts together owns its records.

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "base/json.h"

namespace qv::record {

template <class T>
[[nodiscard]] bool decode(json::Value value, T& out);
template <class T>
[[nodiscard]] bool is(json::Value value);

template <class T>
class List {
 public:
  List() = default;
  List(std::vector<T> records) : records_(std::move(records)) {}  // NOLINT: it is a list already

  [[nodiscard]] std::size_t size() const { return array_ ? array_->size() : records_.size(); }
  [[nodiscard]] bool empty() const { return size() == 0; }

  // Visits the records in their order. Each lasts until the visit is over. Who needs little of
  // them names the record that has it, into which a T turns, which is all that is decoded then.
  template <class Part = T, class Visit>
  void for_each(Visit visit) const {
    for (const T& record : records_) visit(record);
    Part record;  // one for all, whose texts keep their memory
    for (const json::Value element : elements()) {
      if (decode(element, record)) visit(std::as_const(record));
    }
  }

  // The records as the list's own, for good: it no longer needs the document it was read from.
  std::vector<T>& owned() {
    for (const json::Value element : elements()) {
      static_cast<void>(decode(element, records_.emplace_back()));
    }
    array_.reset();
    return records_;
  }

  // Becomes the list of an array, which has to outlive it; false when an element is no T.
  [[nodiscard]] bool read(json::Value array) {
    if (!array.is(json::Kind::array)) return false;
    for (const json::Value element : array.elements()) {
      if (!is<T>(element)) return false;
    }
    records_.clear();
    array_ = array;
    return true;
  }

 private:
  [[nodiscard]] json::Value::Range<json::Value> elements() const {
    return array_ ? array_->elements() : json::Value::Range<json::Value>();
  }

  std::vector<T> records_;
  std::optional<json::Value> array_;
};

}  // namespace qv::record
