#include "room.h"

#include <algorithm>

#include "base/text.h"

namespace qv::sandbox {

namespace {

// The title of a heading; empty for any other line.
std::string_view title_of(std::string_view line) {
  const std::size_t marks = line.find_first_not_of('#');
  if (marks == 0 || marks == std::string_view::npos || line[marks] != ' ') return {};
  return text::trimmed(line.substr(marks));
}

}  // namespace

RoomNote* Room::note(std::string_view name) {
  const auto found = std::ranges::find(notes, name, &RoomNote::name);
  return found == notes.end() ? nullptr : &*found;
}

std::int64_t line_count(std::string_view content) {
  return content.empty() ? 0 : std::ranges::count(content, '\n') + (content.back() == '\n' ? 0 : 1);
}

std::vector<std::string> sections(std::string_view content) {
  std::vector<std::string> titles;
  for (const std::string_view line : text::split(content, '\n')) {
    if (const std::string_view title = title_of(line); !title.empty()) titles.emplace_back(title);
  }
  return titles;
}

std::string section_of(std::string_view content, std::string_view title) {
  std::string section;
  bool inside = false;
  for (const std::string_view line : text::split(content, '\n')) {
    const std::string_view heading = title_of(line);
    if (!heading.empty()) inside = text::equal_ignoring_case(heading, title);
    if (inside) section.append(line).append("\n");
  }
  return section;
}

std::string difference(std::string_view before, std::string_view after) {
  const auto old_lines = text::split(before, '\n');
  const auto new_lines = text::split(after, '\n');
  const std::size_t shorter = std::min(old_lines.size(), new_lines.size());
  std::size_t start = 0;
  while (start < shorter && old_lines[start] == new_lines[start]) ++start;
  std::size_t end = 0;
  while (end < shorter - start &&
         old_lines[old_lines.size() - 1 - end] == new_lines[new_lines.size() - 1 - end]) {
    ++end;
  }
  std::string out;
  const auto add = [&](std::string_view sign, const auto& lines) {
    for (std::size_t i = start; i < lines.size() - end; ++i) {
      out.append(out.empty() ? "" : "\n").append(sign).append(lines[i]);
    }
  };
  add("- ", old_lines);
  add("+ ", new_lines);
  return out;
}

}  // namespace qv::sandbox
