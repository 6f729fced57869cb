#pragma once

#include <optional>

#include "base/process.h"

namespace qv {

// Wakes a poll, also from a signal handler or another thread. Neither side ever blocks.
class Notice {
 public:
  // Absent when there is no descriptor left.
  [[nodiscard]] static std::optional<Notice> open();

  // Becomes readable with give(), and is not any more after take().
  [[nodiscard]] int descriptor() const { return pipe_.read.get(); }
  // What give() writes a byte to, for a handler.
  [[nodiscard]] int giver() const { return pipe_.write.get(); }
  void give() const;
  void take() const;

 private:
  explicit Notice(process::Pipe pipe) : pipe_(std::move(pipe)) {}
  process::Pipe pipe_;
};

}  // namespace qv
