#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "base/descriptor.h"

// The log of a running build: what its tool wrote, frame by frame, and how it ended. A
// frame is a kind (1 byte), a length (4 bytes, big-endian) and that many bytes.
namespace qv::build {

struct BuildLog {
  // The most that is read from a pipe or a log at once, and so the longest payload.
  static constexpr std::size_t kLargestPayload = 65536;
  static constexpr std::size_t kHeaderSize = 5;
  // A log of more output than this is given up.
  static constexpr off_t kLargestLog = off_t{256} << 20;

  enum Kind : unsigned char { kExit = 0, kOutput = 1, kError = 2 };

  struct Output {
    int stream = 1;  // 1 standard output, 2 standard error
    std::string_view bytes;
  };
  struct Exit {
    std::int32_t value = 0;  // exit status, or the negative number of the signal
  };
  using Item = std::variant<Output, Exit>;
};

// Appends frames to a log. After the first frame that cannot be written whole, or would make
// the log too large, the log is cut back to the frame before it and closed; later frames go
// nowhere.
class BuildLogWriter {
 public:
  BuildLogWriter() = default;  // writes nowhere
  explicit BuildLogWriter(Descriptor log) : log_(std::move(log)) {}

  // False when the log is, or has just been, given up.
  bool append_output(int stream, std::string_view bytes);
  bool append_exit(std::int32_t value);
  void close() { log_.reset(); }

  // Bytes of the frames written whole.
  [[nodiscard]] off_t size() const { return size_; }

 private:
  bool append(BuildLog::Kind kind, std::string_view payload);

  Descriptor log_;
  off_t size_ = 0;
};

// Cuts frames off a log that arrives in pieces. Takes no more memory than one frame and
// one piece, whatever the log holds.
class BuildLogParser {
 public:
  BuildLogParser() : buffer_(BuildLog::kHeaderSize + 2 * BuildLog::kLargestPayload) {}

  // Room for the next piece, to be read into and then reported. Views handed out by
  // next() end here.
  [[nodiscard]] std::span<char> space();
  void added(std::size_t count) { end_ += count; }

  // The next complete frame. Nothing when there is none yet, and for ever once the log
  // has shown a frame that no writer makes.
  [[nodiscard]] std::optional<BuildLog::Item> next();
  [[nodiscard]] bool damaged() const { return damaged_; }

 private:
  std::vector<char> buffer_;
  std::size_t begin_ = 0;  // of what is not yet parsed
  std::size_t end_ = 0;
  bool damaged_ = false;
};

}  // namespace qv::build
