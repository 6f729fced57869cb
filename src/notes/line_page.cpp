// A note may be many megabytes long, and its reader is an agent that pays for every
// character. So a long note is read in pages, bounded in lines and in characters, and
// each page names the offset of the next. The note is scanned and never taken apart: the
// cost of a page is one pass over the bytes for the line feeds and the work for the few
// lines that are shown.

#include "notes/line_page.h"

#include <algorithm>

#include "base/text.h"

namespace qv::notes {

namespace {

constexpr std::int64_t kLinesOfAPage = 2000;
constexpr std::size_t kCharactersOfALine = 2000;
constexpr std::int64_t kCharactersOfAPage = 29'760;

std::string past_the_end(std::int64_t first, std::int64_t total) {
  return "(offset " + std::to_string(first) + " is past the last line — this note has " +
         std::to_string(total) + " line" + (total == 1 ? "" : "s") + ".)";
}

// Gives the lines of a text one after the other.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}

  std::string_view next() {
    const std::size_t end = rest_.find('\n');
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return line;
  }

 private:
  std::string_view rest_;
};

std::string numbered(std::int64_t number, std::size_t width, std::string_view line) {
  const std::string digits = std::to_string(number);
  const std::string_view kept = text::first_characters(line, kCharactersOfALine);
  std::string row(width - digits.size(), ' ');
  row.append(digits).append("\t").append(kept);
  if (kept.size() < line.size()) row += "…";
  return row;
}

std::string footer(std::int64_t first, std::int64_t last, std::int64_t total) {
  std::string out = "\n\n(Lines " + std::to_string(first) + "–" + std::to_string(last) + " of " +
                    std::to_string(total) + ".";
  if (last < total) {
    out += " Call read_note again with offset=" + std::to_string(last + 1) + " to continue.";
  }
  return out + ")";
}

}  // namespace

std::string line_page(std::string_view content, std::optional<std::int64_t> offset,
                      std::optional<std::int64_t> limit) {
  if (content.empty()) return "(This note has no body.)";
  const std::int64_t total = std::ranges::count(content, '\n') + 1;
  const std::int64_t first = std::max<std::int64_t>(offset.value_or(1), 1);
  if (first > total) return past_the_end(first, total);
  const std::int64_t count = std::max<std::int64_t>(limit.value_or(kLinesOfAPage), 1);
  const std::int64_t last = count > total - first ? total : first + count - 1;

  Lines lines(content);
  for (std::int64_t skipped = 1; skipped < first; ++skipped) lines.next();
  const std::size_t width = std::to_string(last).size();
  std::string page;
  std::int64_t budget = kCharactersOfAPage;
  std::int64_t next = first;
  for (; next <= last; ++next) {
    const std::string row = numbered(next, width, lines.next());
    budget -= static_cast<std::int64_t>(text::count_characters(row)) + 1;
    if (next > first && budget < 0) break;
    if (next > first) page += '\n';
    page += row;
  }
  if (first > 1 || next <= total) page += footer(first, next - 1, total);
  return page;
}

}  // namespace qv::notes
