#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

// What a command does, step by step, for whoever wants to know why it did not work:
// QUORVEL_TRACE=1 writes it to standard error, and a path that begins with "/" to a file. Each
// step is a line with the process and the microseconds since its start. Of tokens, secrets and
// texts a trace has the length alone: whoever asks for help may show it around.
namespace qv::trace {

// Looks at the environment, once for the process, and opens the file. It is created with mode
// 0600 or belongs to this user alone, and no link leads to it; otherwise there is a complaint on
// standard error and no trace.
void begin();

namespace detail {

inline bool on = false;

// What errno is stays as it is.
void write(std::string_view step);

inline void append(std::string& line, std::string_view text) { line += text; }
template <std::integral Number>
void append(std::string& line, Number number) {
  line += std::to_string(number);
}

}  // namespace detail

// Before work that only a trace needs.
[[nodiscard]] inline bool on() { return detail::on; }

// One step: texts and numbers, put together as they are.
template <class... Pieces>
void step(const Pieces&... pieces) {
  if (!detail::on) return;
  std::string line;
  (detail::append(line, pieces), ...);
  detail::write(line);
}

}  // namespace qv::trace
