// The pager keeps only what may stand on the page. Here is the page as its rules say it, from
// all the lines at once.

#include "notes/line_page.h"

#include "base/text.h"
#include "support/support.h"

namespace qv::fuzz {

namespace {

std::string literal_page(std::string_view content, std::int64_t offset, std::int64_t limit) {
  const auto lines = text::split(content, '\n');
  const auto count = static_cast<std::int64_t>(lines.size());
  const auto number = [](std::int64_t value) { return std::to_string(value); };
  if (content.empty()) return "(This note has no body.)";
  const std::int64_t first = offset >= 1 ? offset : 1;
  if (count < first) {
    return "(offset " + number(first) + " is past the last line — this note has " + number(count) +
           (count == 1 ? " line.)" : " lines.)");
  }
  const std::int64_t most = limit >= 1 ? limit : 1;
  const std::int64_t last = most > count - first ? count : first + most - 1;
  std::vector<std::string> rows;
  std::int64_t budget = 29'760;
  for (std::int64_t line = first; line <= last; ++line) {
    const std::string_view all = lines[static_cast<std::size_t>(line - 1)];
    std::string row = number(line);
    while (row.size() < number(last).size()) row.insert(0, " ");
    row += "\t";
    const std::string_view shown = text::first_characters(all, 2000);
    row.append(shown) += shown.size() < all.size() ? "…" : "";
    budget -= static_cast<std::int64_t>(text::count_characters(row)) + 1;
    if (budget < 0 && line > first) break;
    rows.push_back(std::move(row));
  }
  std::string page = text::joined(rows, "\n");
  const std::int64_t written = first + static_cast<std::int64_t>(rows.size()) - 1;
  if (first == 1 && written == count) return page;
  page += "\n\n(Lines " + number(first) + "–" + number(written) + " of " + number(count) + ".";
  if (written < count) {
    page += " Call read_note again with offset=" + number(written + 1) + " to continue.";
  }
  return page + ")";
}

// Few bytes make many and long lines.
std::string note(Input& in) {
  constexpr std::size_t kLargest = 40'000;
  constexpr std::size_t kTimes[] = {1, 2, 10, 99, 1000, 1856, 1998, 2000, 2001, 16'384};
  std::string content;
  while (!in.empty() && content.size() < kLargest) {
    const std::string piece = in.text() + (in.coin() ? "\n" : "x");
    std::size_t times = kTimes[in.below(std::size(kTimes))];
    for (; times > 0 && content.size() < kLargest; --times) content += piece;
  }
  return content;
}

}  // namespace

void try_input(std::string_view bytes) {
  Input in(bytes);
  const auto offset = in.maybe_integer();
  const auto limit = in.maybe_integer();
  const std::string content = note(in);
  const std::string expected = literal_page(content, offset.value_or(1), limit.value_or(2000));
  promise_same(notes::line_page(content, offset, limit), expected, "a page follows its rules");
  check_printed(expected);
}

}  // namespace qv::fuzz
