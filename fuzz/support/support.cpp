// The judges do not ask the code that they judge: code points come from utf8proc.

#include "support/support.h"

#include <fcntl.h>
#include <unistd.h>
#include <utf8proc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/text.h"

namespace qv::fuzz {

namespace {

// Controls, and what turns the direction of writing.
bool drives_terminal(std::int32_t point) {
  return point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x61C || point == 0x200E ||
         point == 0x200F || (point >= 0x2028 && point <= 0x202E) ||
         (point >= 0x2066 && point <= 0x2069);
}

}  // namespace

void end_broken(const char* what, std::string_view shown, std::string_view expected) {
  std::fprintf(stderr, "not kept: %s\n%.*s\n", what, static_cast<int>(shown.size()), shown.data());
  if (!expected.empty()) {
    std::fprintf(stderr, "expected:\n%.*s\n", static_cast<int>(expected.size()), expected.data());
  }
  std::abort();
}

std::int32_t take_point(std::string_view& text) {
  std::int32_t point = static_cast<unsigned char>(text.front());
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto left = static_cast<utf8proc_ssize_t>(text.size());
  const auto length = point < 0x80 ? 1 : utf8proc_iterate(bytes, left, &point);
  text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : text.size());
  return point;
}

bool breaks_line(std::int32_t point) {
  return (point >= '\t' && point <= '\r') || point == 0x85 || point == 0x2028 || point == 0x2029;
}

void check_printed(std::string_view text) {
  for (auto left = text; !left.empty();) promise(take_point(left) >= 0, "it is UTF-8", text);
  const std::string shown = text::with_visible_controls(text);
  for (std::string_view left = shown; !left.empty();) {
    const auto point = take_point(left);
    promise(point == '\n' || point == '\t' || !drives_terminal(point), "no control is shown", text);
  }
}

void check_line(std::string_view text) {
  check_printed(text);
  while (!text.empty()) promise(!breaks_line(take_point(text)), "it is one line", text);
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
  const std::string_view taken = bytes(1);
  return taken.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(taken[0]);
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
  static const auto pieces = text::split(
      "\n|\r\n|\t|\v|\x1B[2J|\x7F|\xC2\x85|\xE2\x80\xA8|\xE2\x80\xA9|\xE2\x80\xAE|\xE2\x81\xA6|"
      "\xCC\x81|\xE2\x80\x8D|👩‍👩‍👧|🇩🇪|é|ß|—|'|\"|\\|/| |`|"
      "done|rejected|open|on|f1|T-1|KQ3|secret: s",
      '|');
  std::string out;
  for (std::size_t parts = below(4); parts > 0; --parts) {
    const std::uint8_t choice = byte();
    if (choice < pieces.size()) {
      out += pieces[choice];
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
  std::string path = scratch_file(name);
  const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  promise(io::write_all(file.get(), content), "a file is written", path);
  return path;
}

}  // namespace qv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qv::fuzz::try_input({reinterpret_cast<const char*>(data), size});
  return 0;
}
