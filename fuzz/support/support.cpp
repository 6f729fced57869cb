// The judges do not ask the code that they judge: code points come from utf8proc.

#include "support/support.h"

#include <unistd.h>
#include <utf8proc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/text.h"

namespace qv::fuzz {

namespace {

// Controls, and what turns the direction of writing.
bool drives_terminal(utf8proc_int32_t point) {
  return utf8proc_category(point) == UTF8PROC_CATEGORY_CC || point == 0x61C || point == 0x200E ||
         point == 0x200F || (point >= 0x2028 && point <= 0x202E) ||
         (point >= 0x2066 && point <= 0x2069);
}

}  // namespace

void promise(bool kept, const char* what, std::string_view shown, std::string_view expected) {
  if (kept) return;
  std::fprintf(stderr, "not kept: %s\n%.*s\n", what, static_cast<int>(shown.size()), shown.data());
  if (!expected.empty()) {
    std::fprintf(stderr, "expected:\n%.*s\n", static_cast<int>(expected.size()), expected.data());
  }
  std::abort();
}

std::vector<std::int32_t> points_of(std::string_view text) {
  std::vector<std::int32_t> points;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (auto left = static_cast<utf8proc_ssize_t>(text.size()); left > 0;) {
    const auto length = utf8proc_iterate(bytes, left, &points.emplace_back());
    if (length <= 0) break;
    bytes += length;
    left -= length;
  }
  return points;
}

bool breaks_line(std::int32_t point) {
  return (point >= '\t' && point <= '\r') || point == 0x85 || point == 0x2028 || point == 0x2029;
}

void check_printed(std::string_view text) {
  for (const auto point : points_of(text)) promise(point >= 0, "what is printed is UTF-8", text);
  for (const auto point : points_of(text::with_visible_controls(text))) {
    promise(point == '\n' || point == '\t' || !drives_terminal(point), "no control is shown", text);
  }
}

void check_line(std::string_view text) {
  check_printed(text);
  for (const auto point : points_of(text)) promise(!breaks_line(point), "it is one line", text);
}

void check_json(json::Value value) {
  const std::string expected = json::pretty(value);
  for (const std::string& printed : {expected, json::compact(value)}) {
    const auto again = json::parse(printed);
    promise(again.has_value(), "what is printed as JSON can be read", printed);
    promise_same(json::pretty(*again), expected, "it prints as before");
  }
}

std::uint8_t Input::byte() {
  if (bytes_.empty()) return 0;
  const auto byte = static_cast<std::uint8_t>(bytes_.front());
  bytes_.remove_prefix(1);
  return byte;
}

std::string_view Input::bytes(std::size_t most) {
  const std::string_view taken = bytes_.substr(0, most);
  bytes_.remove_prefix(taken.size());
  return taken;
}

std::int64_t Input::integer() {
  constexpr std::int64_t kOutermost[] = {INT64_MIN, INT64_MIN + 1, INT32_MIN, -1,
                                         INT32_MAX, INT64_MAX - 1, INT64_MAX, 59};
  const std::uint8_t choice = byte();
  if (choice >= 0xF8) return kOutermost[choice - 0xF8];
  return choice >= 0xF0 ? byte() * 256 + byte() : choice;
}

std::optional<std::int64_t> Input::maybe_integer() {
  return coin() ? std::optional(integer()) : std::nullopt;
}

std::string Input::text() {
  constexpr std::string_view kPieces[] = {"\n",
                                          "\r\n",
                                          "\t",
                                          "\v",
                                          "\x1B[2J",
                                          "\x7F",
                                          "\xC2\x85",
                                          "\xE2\x80\xA8",
                                          "\xE2\x80\xA9",
                                          "\xE2\x80\xAE",
                                          "\xE2\x81\xA6",
                                          "\xCC\x81",
                                          "\xE2\x80\x8D",
                                          "👩‍👩‍👧",
                                          "🇩🇪",
                                          "é",
                                          "ß",
                                          "—",
                                          "'",
                                          "\"",
                                          "\\",
                                          "/",
                                          " ",
                                          "`",
                                          "done",
                                          "rejected",
                                          "open",
                                          "on",
                                          "f1",
                                          "T-1",
                                          "KQ3",
                                          "secret: s"};
  std::string out;
  for (std::size_t parts = below(4); parts > 0; --parts) {
    const std::uint8_t choice = byte();
    if (choice < std::size(kPieces)) {
      out += kPieces[choice];
    } else {
      out += text::repaired(bytes(choice % 16U));
    }
  }
  return out;
}

std::string scratch_file(const std::string& name) {
  struct Directory {
    std::string path = std::filesystem::temp_directory_path() / "qv-fuzz-XXXXXX";
    Directory() { promise(::mkdtemp(path.data()) != nullptr, "there is a place for files", path); }
    ~Directory() { std::filesystem::remove_all(path); }
  };
  static const Directory directory;
  return directory.path + "/" + name;
}

std::string write_file(const std::string& name, std::string_view content) {
  std::ofstream(scratch_file(name), std::ios::binary) << content;
  return scratch_file(name);
}

}  // namespace qv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qv::fuzz::try_input({reinterpret_cast<const char*>(data), size});
  return 0;
}
