#pragma once

// A wire record is a plain struct; beside it stands one table of its fields. The table
// alone decodes the record from JSON and encodes it again:
//
//   template <> struct qv::record::Schema<Volley> {
//     static constexpr auto fields = std::tuple{
//         required("author", &Volley::author), optional("reply", &Volley::reply)};
//   };
//
// required: the key must be there with the right type. optional: the member is a
// std::optional; an absent key or null leaves it empty. defaulted: an absent key or null
// leaves the member's initial value. Keys the table does not know are ignored. A record is
// decoded as a whole: nothing stays of what it held before, and on failure nobody looks at it.

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/json.h"
#include "base/record_list.h"
#include "base/word_index.h"

namespace qv::record {

enum class Presence { required, optional, defaulted };

template <class Owner, class Member>
struct Field {
  std::string_view key;
  Member Owner::*member;
  Presence presence;
};

template <class Owner, class Member>
constexpr Field<Owner, Member> required(std::string_view key, Member Owner::*member) {
  return {key, member, Presence::required};
}
template <class Owner, class Member>
constexpr Field<Owner, std::optional<Member>> optional(std::string_view key,
                                                       std::optional<Member> Owner::*member) {
  return {key, member, Presence::optional};
}
template <class Owner, class Member>
constexpr Field<Owner, Member> defaulted(std::string_view key, Member Owner::*member) {
  return {key, member, Presence::defaulted};
}

// The field table of a record.
template <class T>
struct Schema;

// The words of an enumeration, in the order of its cases.
template <class T>
struct Words;

template <class T>
concept Record = requires {
  Schema<T>::fields;
};
template <class T>
concept Text = std::same_as<T, std::string> || std::same_as<T, std::string_view>;
template <class T>
concept Enumeration = std::is_enum_v<T> && requires {
  Words<T>::words;
};

// False when the value is no T. What was decoded is valid as long as the document, if it has a
// record::List or a view somewhere; otherwise for good.
template <class T>
[[nodiscard]] bool decode(json::Value value, T& out);
// Whether it could be decoded.
template <class T>
[[nodiscard]] bool is(json::Value value);
template <class T>
void encode(const T& in, std::string& out, json::Slashes slashes = json::Slashes::plain);

namespace detail {
template <class T>
void own_lists(T& in);
}

// The record in a JSON text; absent when it is not JSON or not such a record. It needs that
// text no longer.
template <Record T>
[[nodiscard]] std::optional<T> from_text(std::string_view text) {
  T out;
  const auto value = json::parse(text);
  if (!value || !decode(*value, out)) return std::nullopt;
  detail::own_lists(out);
  return out;
}

// The record as compact JSON, keys in table order; absent optional fields are left out.
template <Record T>
[[nodiscard]] std::string to_text(const T& in, json::Slashes slashes = json::Slashes::plain) {
  std::string out;
  encode(in, out, slashes);
  return out;
}

// The record as a person reads JSON: over several lines, keys sorted.
template <Record T>
[[nodiscard]] std::string to_pretty(const T& in) {
  const std::string text = to_text(in);
  const auto document = json::parse(text);
  return document ? json::pretty(*document) : text;
}

template <Enumeration T>
constexpr std::string_view word(T value) {
  return Words<T>::words[static_cast<std::size_t>(value)];
}

namespace detail {

template <class T>
inline constexpr bool is_optional = false;
template <class T>
inline constexpr bool is_optional<std::optional<T>> = true;
template <class T>
inline constexpr bool is_vector = false;
template <class T>
inline constexpr bool is_vector<std::vector<T>> = true;
template <class T>
inline constexpr bool is_list = false;
template <class T>
inline constexpr bool is_list<List<T>> = true;

// Reads the value, and puts it into `out` unless that is null. False when it is no T.
template <class T>
bool read(json::Value value, T* out);

template <class T>
struct Slot {
  std::string_view key;
  bool required;
  bool (*read)(json::Value, T*);
  void (*reset)(T&);
};

template <class T>
const T& initial() {
  static const T record;
  return record;
}

template <class T, std::size_t I>
void reset_field(T& out) {
  constexpr auto field = std::get<I>(Schema<T>::fields);
  if constexpr (field.presence == Presence::optional) {
    (out.*field.member).reset();
  } else if constexpr (field.presence == Presence::defaulted) {
    out.*field.member = initial<T>().*field.member;
  }
}

template <class T, std::size_t I>
bool read_field(json::Value value, T* out) {
  constexpr auto field = std::get<I>(Schema<T>::fields);
  const bool absent = field.presence != Presence::required && value.is(json::Kind::null);
  if (!absent) return read(value, out == nullptr ? nullptr : &(out->*field.member));
  if (out != nullptr) reset_field<T, I>(*out);
  return true;
}

template <class T>
inline constexpr auto slots = []<std::size_t... I>(std::index_sequence<I...>) {
  const auto& fields = Schema<T>::fields;
  return std::array{Slot<T>{std::get<I>(fields).key,
                            std::get<I>(fields).presence == Presence::required, &read_field<T, I>,
                            &reset_field<T, I>}...};
}
(std::make_index_sequence<std::tuple_size_v<decltype(Schema<T>::fields)>>{});

template <class T>
inline constexpr auto keys = [] {
  std::array<std::string_view, slots<T>.size()> all{};
  std::ranges::transform(slots<T>, all.begin(), &Slot<T>::key);
  return WordIndex(all);
}();

template <class T>
bool read_record(json::Value value, T* out) {
  constexpr auto& table = slots<T>;
  static_assert(table.size() <= 64);
  if (!value.is(json::Kind::object)) return false;
  std::uint64_t seen = 0;
  for (const auto& [key, member] : value.members()) {
    const std::size_t i = keys<T>.find(key);
    if (i == table.size()) continue;
    if (!table[i].read(member, out)) return false;
    seen |= std::uint64_t{1} << i;
  }
  for (std::size_t i = 0; i < table.size(); ++i) {
    if ((seen & (std::uint64_t{1} << i)) != 0) continue;
    if (table[i].required) return false;
    if (out != nullptr) table[i].reset(*out);
  }
  return true;
}

template <std::integral T>
bool read_integer(json::Value value, T* out) {
  std::int64_t number = 0;
  if (value.is(json::Kind::integer)) {
    number = value.integer();
  } else {
    constexpr double kLimit = 9007199254740992.0;  // beyond 2^53 a double is no exact integer
    if (!value.is(json::Kind::real) || !(std::abs(value.real()) <= kLimit)) return false;
    number = static_cast<std::int64_t>(value.real());
    if (static_cast<double>(number) != value.real()) return false;
  }
  if (!std::in_range<T>(number)) return false;
  if (out != nullptr) *out = static_cast<T>(number);
  return true;
}

template <std::floating_point T>
bool read_number(json::Value value, T* out) {
  T number = 0;
  switch (value.kind()) {
    case json::Kind::integer: number = static_cast<T>(value.integer()); break;
    case json::Kind::unsigned_integer: number = static_cast<T>(value.unsigned_integer()); break;
    case json::Kind::real: number = static_cast<T>(value.real()); break;
    default: return false;
  }
  if (out != nullptr) *out = number;
  return true;
}

template <class T>
inline constexpr std::size_t required_count = static_cast<std::size_t>(
    std::ranges::count_if(slots<T>, [](const Slot<T>& slot) { return slot.required; }));

// What cannot be a T is refused before there is memory for a whole list of them.
template <class T>
bool may_be(json::Value value) {
  if constexpr (Text<T>) {
    return value.is(json::Kind::text);
  } else {
    return value.is(json::Kind::object) && value.size() >= required_count<T>;
  }
}

template <class T>
bool read_elements(json::Value value, std::vector<T>* out) {
  if (!value.is(json::Kind::array)) return false;
  for (const json::Value element : value.elements()) {
    if (!may_be<T>(element)) return false;
  }
  if (out != nullptr) out->resize(value.size());
  std::size_t i = 0;
  for (const json::Value element : value.elements()) {
    if (!read(element, out == nullptr ? nullptr : &(*out)[i++])) return false;
  }
  return true;
}

template <class T>
bool read_word(json::Value value, T* out) {
  if (!value.is(json::Kind::text)) return false;
  for (std::size_t i = 0; i < Words<T>::words.size(); ++i) {
    if (Words<T>::words[i] != value.text()) continue;
    if (out != nullptr) *out = static_cast<T>(i);
    return true;
  }
  return false;
}

template <class T>
bool read(json::Value value, T* out) {
  if constexpr (Text<T>) {
    if (!value.is(json::Kind::text)) return false;
    if (out != nullptr) *out = value.text();
    return true;
  } else if constexpr (std::same_as<T, bool>) {
    if (!value.is(json::Kind::boolean)) return false;
    if (out != nullptr) *out = value.boolean();
    return true;
  } else if constexpr (std::integral<T>) {
    return read_integer(value, out);
  } else if constexpr (std::floating_point<T>) {
    return read_number(value, out);
  } else if constexpr (is_optional<T>) {
    if (out != nullptr && !*out) out->emplace();
    return read(value, out == nullptr ? nullptr : &**out);
  } else if constexpr (is_vector<T>) {
    return read_elements(value, out);
  } else if constexpr (is_list<T>) {
    return out == nullptr ? T().read(value) : out->read(value);
  } else if constexpr (Enumeration<T>) {
    return read_word(value, out);
  } else {
    static_assert(Record<T>, "no field table for this type");
    return read_record(value, out);
  }
}

template <class T>
void own_lists(T& in) {
  if constexpr (is_list<T>) {
    in.owned();
  } else if constexpr (is_optional<T>) {
    if (in) own_lists(*in);
  } else if constexpr (is_vector<T>) {
    for (auto& element : in) own_lists(element);
  } else if constexpr (Record<T>) {
    std::apply([&](const auto&... field) { (own_lists(in.*field.member), ...); },
               Schema<T>::fields);
  }
}

template <class T>
void encode_record(const T& in, std::string& out, json::Slashes slashes) {
  char before = '{';
  const auto append = [&](const auto& field) {
    const auto& member = in.*field.member;
    if constexpr (is_optional<std::remove_cvref_t<decltype(member)>>) {
      if (!member) return;
    }
    out += std::exchange(before, ',');
    json::append_text(out, field.key);
    out += ':';
    encode(member, out, slashes);
  };
  std::apply([&](const auto&... field) { (append(field), ...); }, Schema<T>::fields);
  if (before == '{') out += '{';
  out += '}';
}

}  // namespace detail

template <class T>
bool decode(json::Value value, T& out) {
  return detail::read(value, &out);
}

template <class T>
bool is(json::Value value) {
  return detail::read<T>(value, nullptr);
}

template <class T>
void encode(const T& in, std::string& out, json::Slashes slashes) {
  if constexpr (std::same_as<T, std::string>) {
    json::append_text(out, in, slashes);
  } else if constexpr (std::same_as<T, bool>) {
    out += in ? "true" : "false";
  } else if constexpr (std::integral<T>) {
    json::append_number(out, static_cast<std::int64_t>(in));
  } else if constexpr (std::floating_point<T>) {
    json::append_number(out, static_cast<double>(in));
  } else if constexpr (detail::is_optional<T>) {
    encode(*in, out, slashes);
  } else if constexpr (detail::is_vector<T>) {
    out += '[';
    for (const auto& element : in) {
      if (&element != in.data()) out += ',';
      encode(element, out, slashes);
    }
    out += ']';
  } else if constexpr (detail::is_list<T>) {
    char before = '[';
    in.for_each([&](const auto& element) {
      out += std::exchange(before, ',');
      encode(element, out, slashes);
    });
    out += in.empty() ? "[]" : "]";
  } else if constexpr (Enumeration<T>) {
    json::append_text(out, word(in), slashes);
  } else {
    static_assert(Record<T>, "no field table for this type");
    detail::encode_record(in, out, slashes);
  }
}

}  // namespace qv::record
