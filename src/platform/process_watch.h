#pragma once

#include <sys/types.h>

#include <optional>

#include "base/descriptor.h"

namespace qv::platform {

// Keeps an eye on one process for far less than reading its start time again and again,
// and is never mistaken when the process id is given to another.
class ProcessWatch {
 public:
  explicit ProcessWatch(pid_t pid);

  // Whether the process has ended, reaped or not; absent when this system, or a shortage
  // of descriptors, allows no watch.
  [[nodiscard]] std::optional<bool> has_ended() const;

  // Becomes readable, for poll, when the process ends; negative without a watch.
  [[nodiscard]] int descriptor() const { return process_.get(); }

 private:
  void keep_if_spare();

  Descriptor process_;
};

}  // namespace qv::platform
