#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Cutting a long view to the lines that were asked for, and saying what was left out.
namespace qv::board {

struct Page {
  std::optional<std::int64_t> offset;  // the first line wanted, counted from 1
  std::optional<std::int64_t> limit;   // how many lines

  [[nodiscard]] bool asked() const { return offset || limit; }
};

// What a page is cut from, in words: "body lines" and the flags that page it.
struct PageNames {
  std::string_view lines;
  std::string_view offset;
  std::string_view limit;
};

struct Cut {
  std::vector<std::string_view> lines;
  std::string shown;    // which of how many; empty when nothing was left out
  std::string problem;  // why the page holds nothing; empty when it holds something
  std::string next;     // the flags that show what follows; empty when nothing does
};

// The lines of `page`. A page outside the text holds none, and its problem says why.
[[nodiscard]] Cut cut(std::vector<std::string_view> lines, const Page& page,
                      const PageNames& names);

// The lines of a text; a line feed at its end starts no further line, and an empty text
// has none.
[[nodiscard]] std::vector<std::string_view> lines_of(std::string_view text);

// The value as a word of a command line, for any shell: as it is, or in single quotes when it
// is no plain word.
[[nodiscard]] std::string shell_word(const std::string& value);

// One line that says what was cut and gives the exact commands that go on and that show it
// whole; empty when nothing was left out.
[[nodiscard]] std::string closing_line(const std::vector<Cut>& cuts, std::string_view command);

}  // namespace qv::board
