#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "notes/line_page.h"

namespace qv::notes {

// Reads the JSON of a reply piece by piece and makes a page of its note's text without
// ever holding that text.
class NoteStream {
 public:
  // Stands for the text in the frame. A text that reads otherwise came later, under a key
  // spelled in a way that is not looked for, and is the one that counts.
  static constexpr std::string_view kTextTaken = "(taken by the page)";

  // As LinePager's.
  NoteStream(std::optional<std::int64_t> offset, std::optional<std::int64_t> limit)
      : fresh_(offset, limit), pager_(fresh_) {}

  void take(std::string_view piece);

  // The page of the note; absent when its text was not found on the way, and stands in the
  // frame.
  [[nodiscard]] std::optional<std::string> page() const;

  // The reply with `kTextTaken` in the place of the text that the page was made of. No JSON at
  // all if that text was malformed.
  [[nodiscard]] const std::string& frame() const { return frame_; }

 private:
  std::string_view take_frame(std::string_view bytes);
  std::string_view take_text(std::string_view bytes);
  std::string_view take_escape(std::string_view bytes);
  std::string_view take_unicode_escape(std::string_view bytes);
  std::string_view take_beyond_ascii(std::string_view bytes);
  std::string_view hold(std::string_view bytes);
  std::string_view refuse();
  void follow(char byte);
  void follow_string(char byte);
  [[nodiscard]] bool at_note_text() const;

  LinePager fresh_;
  LinePager pager_;
  std::string frame_;
  std::string held_;  // the start of a sequence that the next piece goes on with
  bool in_text_ = false;
  bool diverted_ = false;
  bool refused_ = false;

  // Where the frame stands.
  bool in_string_ = false;
  bool escaped_ = false;  // the next byte belongs to an escape
  std::size_t string_start_ = 0;
  std::size_t depth_ = 0;
  char previous_ = '\0';  // the last byte outside strings that is no white space
  std::string string_;    // the last string, as written
  std::string keys_[2];   // the key under way in the outermost object, and in its member
};

}  // namespace qv::notes
