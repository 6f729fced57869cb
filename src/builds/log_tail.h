#pragma once

#include <sys/types.h>

#include <cstdint>
#include <limits>
#include <optional>

#include "base/descriptor.h"
#include "builds/log.h"
#include "builds/pane_output.h"

namespace qv::build {

// Shows in the pane what somebody else appends to a log.
class LogTail {
 public:
  static constexpr off_t kEverything = std::numeric_limits<off_t>::max();

  LogTail(Descriptor log, PaneOutput& pane) : log_(std::move(log)), pane_(pane) {}

  // Shows what the log holds by now, but nothing from position `end` on. False once
  // nothing more can come of it: an exit was read, or damage.
  bool show_until(off_t end);

  [[nodiscard]] off_t position() const { return position_; }
  // Goes on at the frame that begins there.
  void skip_to(off_t position) { position_ = position; }

  // How the tool ended, once that was read.
  [[nodiscard]] const std::optional<std::int32_t>& exit() const { return exit_; }
  // Nobody who comes now will find the log.
  [[nodiscard]] bool is_unlinked() const;

 private:
  bool read_piece(off_t end);

  Descriptor log_;
  PaneOutput& pane_;
  BuildLogParser parser_;
  off_t position_ = 0;
  std::optional<std::int32_t> exit_;
};

}  // namespace qv::build
