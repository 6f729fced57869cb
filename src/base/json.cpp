// JSON comes from peers and goes to scripts, so it has to survive the trip: a revision
// of 64 bits, a double to its last bit, a name in any script. The library's own reading
// of doubles is one unit off now and then and its printing is scientific, so doubles are
// read from their text here and printed in their shortest form.

#include "base/json.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace qv::json {

namespace {

namespace bj = boost::json;

constexpr std::size_t kDeepest = 512;

// Receives the parser's events and builds the value; every text comes in one or more parts.
struct Builder {
  using error = bj::error_code;
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  bj::value_stack stack;

  bool on_document_begin(error&) { return true; }
  bool on_document_end(error&) { return true; }
  bool on_object_begin(error&) { return true; }
  bool on_object_end(std::size_t count, error&) { return stack.push_object(count), true; }
  bool on_array_begin(error&) { return true; }
  bool on_array_end(std::size_t count, error&) { return stack.push_array(count), true; }
  bool on_key_part(bj::string_view part, std::size_t, error&) {
    return stack.push_chars(part), true;
  }
  bool on_key(bj::string_view part, std::size_t, error&) { return stack.push_key(part), true; }
  bool on_string_part(bj::string_view part, std::size_t, error&) {
    return stack.push_chars(part), true;
  }
  bool on_string(bj::string_view part, std::size_t, error&) {
    return stack.push_string(part), true;
  }
  bool on_number_part(bj::string_view, error&) { return true; }
  bool on_int64(std::int64_t number, bj::string_view part, error&) {
    if (number == 0 && part.starts_with('-')) {
      stack.push_double(-0.0);
    } else {
      stack.push_int64(number);
    }
    return true;
  }
  bool on_uint64(std::uint64_t number, bj::string_view, error&) {
    return stack.push_uint64(number), true;
  }
  bool on_double(double, bj::string_view part, error& failure) {
    const double number = std::strtod(std::string(part).c_str(), nullptr);
    if (!std::isfinite(number)) {
      failure = bj::error::exponent_overflow;
      return false;
    }
    return stack.push_double(number), true;
  }
  bool on_bool(bool flag, error&) { return stack.push_bool(flag), true; }
  bool on_null(error&) { return stack.push_null(), true; }
  bool on_comment_part(bj::string_view, error&) { return true; }
  bool on_comment(bj::string_view, error&) { return true; }
};

class Printer {
 public:
  Printer(bool multiline, const bj::object* unsorted)
      : multiline_(multiline), unsorted_(unsorted) {}

  std::string print(const Value& value) {
    append(value, 0);
    return std::move(out_);
  }

 private:
  void append(const Value& value, std::size_t depth) {
    switch (value.kind()) {
      case bj::kind::null: out_ += "null"; break;
      case bj::kind::bool_: out_ += value.get_bool() ? "true" : "false"; break;
      case bj::kind::int64: append_number(out_, value.get_int64()); break;
      case bj::kind::uint64: out_ += std::to_string(value.get_uint64()); break;
      case bj::kind::double_: append_number(out_, value.get_double()); break;
      case bj::kind::string: append_text(out_, value.get_string()); break;
      case bj::kind::array: append_array(value.get_array(), depth); break;
      case bj::kind::object: append_object(value.get_object(), depth); break;
    }
  }

  void append_array(const bj::array& array, std::size_t depth) {
    out_ += '[';
    for (const Value& element : array) {
      start_line(&element != array.data(), depth + 1);
      append(element, depth + 1);
    }
    finish(array.empty(), depth, ']');
  }

  void append_object(const bj::object& object, std::size_t depth) {
    std::vector<const bj::key_value_pair*> members;
    members.reserve(object.size());
    for (const auto& member : object) members.push_back(&member);
    if (&object != unsorted_) {
      std::sort(members.begin(), members.end(),
                [](const auto* a, const auto* b) { return a->key() < b->key(); });
    }
    out_ += '{';
    for (const auto* member : members) {
      start_line(member != members.front(), depth + 1);
      append_text(out_, member->key());
      out_ += multiline_ ? ": " : ":";
      append(member->value(), depth + 1);
    }
    finish(members.empty(), depth, '}');
  }

  void start_line(bool after_another, std::size_t depth) {
    if (after_another) out_ += ',';
    if (multiline_) out_.append(1, '\n').append(depth * 2, ' ');
  }

  void finish(bool empty, std::size_t depth, char bracket) {
    if (multiline_ && !empty) out_.append(1, '\n').append(depth * 2, ' ');
    out_ += bracket;
  }

  std::string out_;
  bool multiline_;
  const bj::object* unsorted_;
};

}  // namespace

std::optional<Value> parse(std::string_view text) {
  bj::parse_options options;
  options.max_depth = kDeepest;
  bj::basic_parser<Builder> parser(options);
  parser.handler().stack.reset(bj::make_shared_resource<bj::monotonic_resource>());
  bj::error_code failure;
  const std::size_t used = parser.write_some(false, text.data(), text.size(), failure);
  if (failure || used != text.size()) return std::nullopt;
  return parser.handler().stack.release();
}

std::string pretty(const Value& value, const bj::object* unsorted) {
  return Printer(true, unsorted).print(value);
}

std::string compact(const Value& value) { return Printer(false, nullptr).print(value); }

void append_text(std::string& out, std::string_view text, Slashes slashes) {
  out += '"';
  std::size_t plain = 0;  // start of the run that needs no escape
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool special =
        byte < 0x20 || byte == '"' || byte == '\\' || (byte == '/' && slashes == Slashes::escaped);
    if (!special) continue;
    out += text.substr(plain, i - plain);
    plain = i + 1;
    out += '\\';
    switch (byte) {
      case '\n': out += 'n'; break;
      case '\t': out += 't'; break;
      case '\r': out += 'r'; break;
      case '\b': out += 'b'; break;
      case '\f': out += 'f'; break;
      case '"':
      case '\\':
      case '/': out += static_cast<char>(byte); break;
      default: {
        constexpr char kHex[] = "0123456789abcdef";
        out += "u00";
        out += kHex[byte >> 4U];
        out += kHex[byte & 0xFU];
      }
    }
  }
  out += text.substr(plain);
  out += '"';
}

void append_number(std::string& out, std::int64_t number) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  out.append(digits, end);
}

void append_number(std::string& out, double number) {
  char digits[40];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  out.append(digits, end);
}

}  // namespace qv::json
