#pragma once

#include <string>
#include <string_view>

#include "board/pages.h"
#include "board/response.h"

namespace qv::board {

// What the reader asked to see of a reply.
struct View {
  std::string_view method;   // the wire method that was sent
  std::string_view reader;   // the fingerprint of the reader's seat; empty without one
  bool include_all = false;  // list done and declined work in full
  Page page;                 // lines of a task's body, or of the plan
  Page log_page;             // lines of a task's log
};

// The whole text for one reply: the body for its kind, then the bridge's notice, the
// subscription link, the Thread tag and what the reader still owes.
[[nodiscard]] std::string render(const TeamworkResponse& response, const View& view);

// The seat the reply says the caller has; null when it names none.
[[nodiscard]] const TeamworkAgent* own_seat(const TeamworkResponse& response);

}  // namespace qv::board
