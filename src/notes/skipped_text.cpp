// Most of a long note lies outside the page: of that text only the line feeds count, and
// that it is well formed. So it is taken in blocks of 64 bytes. What needs a look is
// found for the whole block at once, in loops without a branch that compilers turn into a few
// vector instructions, as one bit for each byte; then only those bytes are visited.

#include "notes/skipped_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/text.h"

namespace qv::notes {

namespace {

constexpr std::size_t kBlock = 64;

// The bytes of a block that need a look, the first byte as the lowest bit.
struct Marks {
  std::uint64_t backslashes = 0;
  std::uint64_t ends = 0;  // quotes, and controls, which no string has
  std::uint64_t beyond_ascii = 0;
};

Marks marks_of(const char* block) {
  enum : std::uint8_t { kBackslash = 1, kEnd = 2, kBeyondAscii = 4 };
  std::uint8_t kinds[kBlock];
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto byte = static_cast<std::uint8_t>(block[i]);
    kinds[i] =
        static_cast<std::uint8_t>((byte == '\\' ? kBackslash : 0) | (byte == '"' ? kEnd : 0) |
                                  (byte < 0x20 ? kEnd : 0) | (byte >= 0x80 ? kBeyondAscii : 0));
  }
  static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");
  Marks marks;
  for (std::size_t i = 0; i < kBlock; i += 8) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, kinds + i, sizeof eight);
    if (eight == 0) continue;
    // The lowest bits of the eight bytes, side by side.
    const auto packed = [&](std::uint8_t kind) {
      const std::uint64_t each = (eight >> std::countr_zero(kind)) & 0x0101010101010101U;
      return ((each * 0x0102040810204080U) >> 56U) << i;
    };
    marks.backslashes |= packed(kBackslash);
    marks.ends |= packed(kEnd);
    marks.beyond_ascii |= packed(kBeyondAscii);
  }
  return marks;
}

enum class Escape : std::uint8_t { other, letter, line_feed };

constexpr auto kEscapes = [] {
  std::array<Escape, 256> escapes{};
  for (const char letter : {'"', '\\', '/', 'b', 'f', 'r', 't'}) {
    escapes[static_cast<std::uint8_t>(letter)] = Escape::letter;
  }
  escapes['n'] = Escape::line_feed;
  return escapes;
}();

std::size_t first_of(std::uint64_t marks) {
  return static_cast<std::size_t>(std::countr_zero(marks));
}

// Where the first character stands that is malformed or goes on behind the block.
std::size_t well_formed(const char* block, std::uint64_t beyond_ascii) {
  while (beyond_ascii != 0) {
    const std::size_t at = first_of(beyond_ascii);
    const std::size_t length = text::sequence_length({block + at, kBlock - at});
    if (length == 0) return at;
    beyond_ascii &= ~(((std::uint64_t{1} << length) - 1) << at);
  }
  return kBlock;
}

Stretch skippable_block(const char* block) {
  Marks marks = marks_of(block);
  std::size_t end = well_formed(block, marks.beyond_ascii);
  std::uint64_t line_feeds = 0;
  while (marks.backslashes != 0) {
    const std::size_t at = first_of(marks.backslashes);
    const auto letter = static_cast<std::uint8_t>(at + 1 < kBlock ? block[at + 1] : '\0');
    if (kEscapes[letter] == Escape::other) {
      end = std::min(end, at);
      break;
    }
    if (kEscapes[letter] == Escape::line_feed) line_feeds |= std::uint64_t{1} << at;
    const std::uint64_t escape = std::uint64_t{3} << at;
    marks.backslashes &= ~escape;
    marks.ends &= ~escape;
  }
  end = std::min(end, first_of(marks.ends));
  if (end < kBlock) line_feeds &= (std::uint64_t{1} << end) - 1;
  return {end, std::popcount(line_feeds)};
}

}  // namespace

Stretch skippable_text(std::string_view bytes, std::int64_t most_lines) {
  Stretch all;
  while (bytes.size() - all.bytes >= kBlock) {
    const Stretch block = skippable_block(bytes.data() + all.bytes);
    if (block.bytes == 0 || block.lines > most_lines - all.lines) break;
    all.bytes += block.bytes;
    all.lines += block.lines;
  }
  return all;
}

}  // namespace qv::notes
