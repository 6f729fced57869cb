#pragma once

#include <functional>
#include <string_view>

namespace qv {

// Takes one text without its final line feed.
using Sink = std::function<void(std::string_view)>;

// One of the two standard streams. Each text goes out with a line feed in one write.
// On a terminal, control characters are made visible first.
class OutputStream {
 public:
  explicit OutputStream(int fd) : fd_(fd) {}

  void write_line(std::string_view text);

  // The errno of the first write that failed, 0 when none did.
  [[nodiscard]] int error() const { return error_; }

 private:
  int fd_;
  int error_ = 0;
};

}  // namespace qv
