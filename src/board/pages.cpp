// A page that says what it leaves out, and how to get it.

#include "board/pages.h"

#include <algorithm>

#include "base/text.h"

namespace qv::board {

namespace {

// Why there is nothing on the page; empty when there is something.
std::string out_of_range(std::int64_t first, std::int64_t limit, std::int64_t total,
                         const PageNames& names) {
  const auto flag = [](std::string_view name, std::int64_t value) {
    return "--" + std::string(name) + " " + std::to_string(value);
  };
  if (first < 1) return flag(names.offset, first) + " is out of range, lines count from 1";
  if (limit < 1) return flag(names.limit, limit) + " is out of range, a page has 1 line at least";
  if (first <= total || (first == 1 && total == 0)) return "";
  return flag(names.offset, first) + " is past the last of " + std::to_string(total) + " " +
         std::string(names.lines);
}

}  // namespace

Cut cut(std::vector<std::string_view> lines, const Page& page, const PageNames& names) {
  const auto total = static_cast<std::int64_t>(lines.size());
  const std::int64_t first = page.offset.value_or(1);
  const std::int64_t limit = page.limit.value_or(std::max<std::int64_t>(total, 1));
  Cut result;
  if (!page.asked()) {
    result.lines = std::move(lines);
    return result;
  }
  result.problem = out_of_range(first, limit, total, names);
  if (!result.problem.empty()) return result;
  const std::int64_t last = limit > total - first ? total : first + limit - 1;
  result.lines.assign(lines.begin() + (first - 1), lines.begin() + last);
  if (first == 1 && last == total) return result;
  result.shown = std::string(names.lines) + " " + std::to_string(first) + "–" +
                 std::to_string(last) + " of " + std::to_string(total);
  if (last < total) {
    result.next = " --" + std::string(names.offset) + " " + std::to_string(last + 1);
    if (page.limit) result.next += " --" + std::string(names.limit) + " " + std::to_string(limit);
  }
  return result;
}

std::vector<std::string_view> lines_of(std::string_view text) {
  if (text.empty()) return {};
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text::split(text, '\n');
}

std::string shell_word(const std::string& value) {
  if (text::is_plain_word(value)) return value;
  return "'" + text::joined(text::split(value, '\''), "'\\''") + "'";
}

std::string closing_line(const std::vector<Cut>& cuts, std::string_view command) {
  std::vector<std::string> shown;
  std::string problems;
  std::string next;
  for (const Cut& cut : cuts) {
    if (!cut.shown.empty()) shown.push_back(cut.shown);
    if (!cut.problem.empty()) problems += cut.problem + ". ";
    next += cut.next;
  }
  if (shown.empty() && problems.empty()) return "";
  const std::string whole = std::string(command);
  return text::on_one_line("(" +
                           (shown.empty() ? "" : "Shown: " + text::joined(shown, "; ") + ". ") +
                           problems + (next.empty() ? "" : "`" + whole + next + "` goes on, ") +
                           "`" + whole + "` shows it whole.)");
}

}  // namespace qv::board
