#pragma once

#include <functional>
#include <string_view>

namespace qv {

// Takes a text; false when it could not be written.
using Sink = std::function<bool(std::string_view)>;

// One of the two standard streams. Each text goes out with a line feed in one write.
// On a terminal, control characters are made visible first.
class OutputStream {
 public:
  explicit OutputStream(int fd) : fd_(fd) {}

  // False when this text, or one before it, could not be written.
  bool write_line(std::string_view text);

  // The same for a part of a text, which a line ends.
  bool write_part(std::string_view part) { return write(part, ""); }

  // The errno of the first write that failed, 0 when none did.
  [[nodiscard]] int error() const { return error_; }

 private:
  bool write(std::string_view text, std::string_view end);

  int fd_;
  int error_ = 0;
};

}  // namespace qv
