// A note may be many megabytes long, and its reader is an agent that pays for every
// character. So a long note is read in pages, bounded in lines and in characters, and
// each page names the offset of the next. Only lines that may stand on the page are kept.
// Their numbers are as wide as the last of them, which is known when the note has ended,
// so the page is laid out then; until then a line is kept while there is room for it
// behind the narrowest number it could have.

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

std::string numbered(std::int64_t number, std::size_t width, std::string_view line) {
  const std::string digits = std::to_string(number);
  const std::string_view kept = text::first_characters(line, kCharactersOfALine);
  std::string row(width - std::min(width, digits.size()), ' ');
  row.append(digits).append("\t").append(kept);
  if (kept.size() < line.size()) row += "…";
  return row;
}

// What a written line takes of the page: its characters and its line feed.
std::int64_t cost(std::string_view row) {
  return static_cast<std::int64_t>(text::count_characters(row)) + 1;
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

LinePager::LinePager(std::optional<std::int64_t> offset, std::optional<std::int64_t> limit)
    : first_(std::max<std::int64_t>(offset.value_or(1), 1)),
      limit_(std::max<std::int64_t>(limit.value_or(kLinesOfAPage), 1)),
      room_(kCharactersOfAPage),
      wanted_(first_ == 1) {
  if (wanted_) lines_.emplace_back();
}

void LinePager::add(std::string_view text) {
  if (!text.empty()) empty_ = false;
  if (!wanted_ || line_is_cut_) return;
  std::string& line = lines_.back();
  line += text;
  if (line.size() < look_again_at_) return;
  // More characters than are shown, the last of which may yet grow: what follows is cut.
  line_is_cut_ = text::count_characters(line) > kCharactersOfALine + 1;
  look_again_at_ = line.size() * 2;
}

void LinePager::end_line() {
  if (wanted_) room_ -= cost(numbered(total_, 0, lines_.back()));
  empty_ = false;
  ++total_;
  wanted_ = total_ >= first_ && total_ - first_ < limit_ && room_ >= 0;
  if (wanted_) lines_.emplace_back();
  line_is_cut_ = false;
  look_again_at_ = kLongLine;
}

std::optional<std::int64_t> LinePager::lines_to_skip() const {
  if (wanted_) return std::nullopt;
  return total_ < first_ ? first_ - total_ - 1 : INT64_MAX;
}

void LinePager::skip(std::int64_t lines) {
  total_ += lines;
  empty_ = false;
}

std::string LinePager::page() const {
  if (empty_) return "(This note has no body.)";
  if (first_ > total_) return past_the_end(first_, total_);
  const std::int64_t last = limit_ > total_ - first_ ? total_ : first_ + limit_ - 1;
  const std::size_t width = std::to_string(last).size();
  std::string page;
  std::int64_t budget = kCharactersOfAPage;
  std::int64_t next = first_;
  for (const std::string& line : lines_) {
    const std::string row = numbered(next, width, line);
    budget -= cost(row);
    if (next > first_ && budget < 0) break;
    if (next > first_) page += '\n';
    page += row;
    ++next;
  }
  if (first_ > 1 || next <= total_) page += footer(first_, next - 1, total_);
  return page;
}

std::string line_page(std::string_view content, std::optional<std::int64_t> offset,
                      std::optional<std::int64_t> limit) {
  LinePager pager(offset, limit);
  for (std::size_t end = content.find('\n'); end != std::string_view::npos;
       end = content.find('\n')) {
    pager.add(content.substr(0, end));
    pager.end_line();
    content.remove_prefix(end + 1);
  }
  pager.add(content);
  return pager.page();
}

}  // namespace qv::notes
