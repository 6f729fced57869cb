#pragma once

#include <string>

#include "server.h"
#include "thread.h"

namespace qv::sandbox {

// The notes bridge: the room of the Thread, and the door through which agents from outside
// are admitted to its board.
class Notes : public Bridge {
 public:
  Notes(Thread& thread, std::string token) : thread_(thread), token_(std::move(token)) {}

  [[nodiscard]] Answer answer(const std::string& request, Clock::time_point received) override;

 private:
  Thread& thread_;
  std::string token_;
};

}  // namespace qv::sandbox
