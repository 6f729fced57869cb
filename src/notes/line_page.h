#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qv::notes {

// Makes one page of a note whose text comes in pieces, each line behind its number, and
// below it where the page stands in the note when it is not the whole.
class LinePager {
 public:
  // `offset` is the first line wanted, counted from 1; `limit` how many lines, 2000 when
  // absent. Smaller values count as 1.
  LinePager(std::optional<std::int64_t> offset, std::optional<std::int64_t> limit);

  // Adds to the line under way; `text` holds no line feed and may end within a character.
  void add(std::string_view text);
  void end_line();

  // How many lines may end before one begins whose text is wanted; absent when that of the line
  // under way is.
  [[nodiscard]] std::optional<std::int64_t> lines_to_skip() const;
  // Passes over text, in which that many lines end.
  void skip(std::int64_t lines);

  // The page of all that was added.
  [[nodiscard]] std::string page() const;

 private:
  static constexpr std::size_t kLongLine = 16 * 1024;  // bytes

  std::int64_t first_;
  std::int64_t limit_;
  std::int64_t total_ = 1;    // lines so far, the one under way included
  std::int64_t room_;         // characters the page can hold beyond the lines collected
  bool wanted_;               // whether the line under way may stand on the page
  bool line_is_cut_ = false;  // the line under way is longer than what is shown of it
  std::size_t look_again_at_ = kLongLine;  // bytes of that line
  bool empty_ = true;                      // nothing was added at all
  std::vector<std::string> lines_;         // from the first line of the page on
};

// The page of a note that is there as a whole.
[[nodiscard]] std::string line_page(std::string_view content, std::optional<std::int64_t> offset,
                                    std::optional<std::int64_t> limit);

}  // namespace qv::notes
