#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace qv::sandbox {

struct NoteRevision {
  std::int64_t number = 0;
  std::string author;
  std::string why;
  std::string milestone;  // empty unless this revision was handed off
  std::string content;
};

// A note of the Thread's room. It always has a revision; the last one is what it says.
struct RoomNote {
  std::string name;
  std::string description;
  std::string notebook;
  bool read_only = false;
  std::vector<NoteRevision> revisions;

  [[nodiscard]] const NoteRevision& newest() const { return revisions.back(); }
};

struct Room {
  std::deque<RoomNote> notes;
  std::vector<std::string> notebooks{"Working notes"};  // a new note goes into the first

  // Null when there is no note of exactly this name.
  [[nodiscard]] RoomNote* note(std::string_view name);
};

[[nodiscard]] std::int64_t line_count(std::string_view content);

// The titles of a Markdown text's sections, in order.
[[nodiscard]] std::vector<std::string> sections(std::string_view content);

// The section of this title, its heading included, up to the next one; empty when there is
// none.
[[nodiscard]] std::string section_of(std::string_view content, std::string_view title);

// The lines that went, then those that came, each behind its sign: everything between what
// the two texts begin and end with in common.
[[nodiscard]] std::string difference(std::string_view before, std::string_view after);

}  // namespace qv::sandbox
