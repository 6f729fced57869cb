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
// leaves the member's initial value. Keys the table does not know are ignored. Nothing
// is half decoded on failure that anybody looks at: decode says false and that is all.

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
concept Enumeration = std::is_enum_v<T> && requires {
  Words<T>::words;
};

template <class T>
[[nodiscard]] bool decode(json::Value value, T& out);
template <class T>
void encode(const T& in, std::string& out, json::Slashes slashes = json::Slashes::plain);

// The record in a JSON text; absent when it is not JSON or not such a record.
template <Record T>
[[nodiscard]] std::optional<T> from_text(std::string_view text) {
  T out;
  const auto value = json::parse(text);
  if (!value || !decode(*value, out)) return std::nullopt;
  return out;
}

// The record as compact JSON, keys in table order; absent optional fields are left out.
template <Record T>
[[nodiscard]] std::string to_text(const T& in, json::Slashes slashes = json::Slashes::plain) {
  std::string out;
  encode(in, out, slashes);
  return out;
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
struct Slot {
  std::string_view key;
  bool required;
  bool (*read)(json::Value, T&);
  void (*reset)(T&);
};

template <class T, std::size_t I>
bool read_field(json::Value value, T& out) {
  constexpr auto field = std::get<I>(Schema<T>::fields);
  if (field.presence != Presence::required && value.is(json::Kind::null)) return true;
  return decode(value, out.*field.member);
}

template <class T, std::size_t I>
void reset_field(T& out) {
  constexpr auto field = std::get<I>(Schema<T>::fields);
  out.*field.member = T{}.*field.member;
}

template <class T>
inline constexpr auto slots = []<std::size_t... I>(std::index_sequence<I...>) {
  const auto& fields = Schema<T>::fields;
  return std::array{Slot<T>{std::get<I>(fields).key,
                            std::get<I>(fields).presence == Presence::required, &read_field<T, I>,
                            &reset_field<T, I>}...};
}
(std::make_index_sequence<std::tuple_size_v<decltype(Schema<T>::fields)>>{});

// Senders write keys in table order, so the search starts behind the last key found.
template <class T>
bool decode_record(json::Value value, T& out) {
  constexpr auto& table = slots<T>;
  static_assert(table.size() <= 64);
  if (!value.is(json::Kind::object)) return false;
  std::uint64_t seen = 0;
  std::size_t next = 0;
  for (const auto& member : value.members()) {
    for (std::size_t tried = 0; tried < table.size(); ++tried) {
      const std::size_t i =
          next + tried < table.size() ? next + tried : next + tried - table.size();
      if (table[i].key != member.key) continue;
      const std::uint64_t bit = std::uint64_t{1} << i;
      if ((seen & bit) != 0) table[i].reset(out);  // of several equal keys the last one stands
      if (!table[i].read(member.value, out)) return false;
      seen |= bit;
      next = i + 1;
      break;
    }
  }
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].required && (seen & (std::uint64_t{1} << i)) == 0) return false;
  }
  return true;
}

template <std::integral T>
bool decode_integer(json::Value value, T& out) {
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
  out = static_cast<T>(number);
  return true;
}

template <std::floating_point T>
bool decode_number(json::Value value, T& out) {
  switch (value.kind()) {
    case json::Kind::integer: out = static_cast<T>(value.integer()); return true;
    case json::Kind::unsigned_integer: out = static_cast<T>(value.unsigned_integer()); return true;
    case json::Kind::real: out = static_cast<T>(value.real()); return true;
    default: return false;
  }
}

template <class T>
bool decode_list(json::Value value, std::vector<T>& out) {
  if (!value.is(json::Kind::array)) return false;
  out.resize(value.size());
  std::size_t i = 0;
  for (const json::Value element : value.elements()) {
    if (!decode(element, out[i++])) return false;
  }
  return true;
}

template <class T>
bool decode_word(json::Value value, T& out) {
  if (!value.is(json::Kind::text)) return false;
  for (std::size_t i = 0; i < Words<T>::words.size(); ++i) {
    if (Words<T>::words[i] != value.text()) continue;
    out = static_cast<T>(i);
    return true;
  }
  return false;
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
  if constexpr (std::same_as<T, std::string>) {
    if (!value.is(json::Kind::text)) return false;
    out = value.text();
    return true;
  } else if constexpr (std::same_as<T, bool>) {
    if (!value.is(json::Kind::boolean)) return false;
    out = value.boolean();
    return true;
  } else if constexpr (std::integral<T>) {
    return detail::decode_integer(value, out);
  } else if constexpr (std::floating_point<T>) {
    return detail::decode_number(value, out);
  } else if constexpr (detail::is_optional<T>) {
    return decode(value, out.emplace());
  } else if constexpr (detail::is_vector<T>) {
    return detail::decode_list(value, out);
  } else if constexpr (Enumeration<T>) {
    return detail::decode_word(value, out);
  } else {
    static_assert(Record<T>, "no field table for this type");
    return detail::decode_record(value, out);
  }
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
  } else if constexpr (Enumeration<T>) {
    json::append_text(out, word(in), slashes);
  } else {
    static_assert(Record<T>, "no field table for this type");
    detail::encode_record(in, out, slashes);
  }
}

}  // namespace qv::record
