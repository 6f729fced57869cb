#pragma once

#include <string>

#include "server.h"
#include "thread.h"

namespace qv::sandbox {

// The board bridge: reads a request, lets the Thread's rules answer it, writes the reply.
// Requests and replies are the program's own records.
class Board : public Bridge {
 public:
  Board(Thread& thread, std::string token) : thread_(thread), token_(std::move(token)) {}

  [[nodiscard]] Answer answer(const std::string& request, Clock::time_point received) override;

 private:
  Thread& thread_;
  std::string token_;
};

}  // namespace qv::sandbox
