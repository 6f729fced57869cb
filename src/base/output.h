#pragma once

#include <functional>
#include <string_view>

namespace qv {

// Takes one text without its final line feed; false when it could not be written.
using Sink = std::function<bool(std::string_view)>;

// One of the two standard streams. Each text goes out with a line feed in one write.
// On a terminal, control characters are made visible first.
class OutputStream {
 public:
  explicit OutputStream(int fd) : fd_(fd) {}

  // False when this text, or one before it, could not be written.
  bool write_line(std::string_view text);

  // The errno of the first write that failed, 0 when none did.
  [[nodiscard]] int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
};

}  // namespace qv
