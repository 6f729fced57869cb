// A log is read while it is written, by somebody who sees it in pieces of any size, and a part
// of it may be nobody's frames. Here it is read a second time, at once and as a whole.

#include "builds/log.h"

#include <tuple>

#include "support/support.h"

namespace qv::fuzz {

namespace {

using build::BuildLog;

// The kind, the status of an exit, the bytes of an output.
using Frame = std::tuple<int, std::int32_t, std::string_view>;

Frame frame_of(const BuildLog::Item& item) {
  if (const auto* exit = std::get_if<BuildLog::Exit>(&item)) return {0, exit->value, {}};
  const auto& [stream, bytes] = std::get<BuildLog::Output>(item);
  return {stream, 0, bytes};
}

struct LiteralLog {
  std::string_view left;
  bool damaged = false;

  std::optional<Frame> next() {
    if (damaged || left.size() < 5) return std::nullopt;
    const int kind = static_cast<unsigned char>(left[0]);
    const std::uint32_t length = number_at(1);
    damaged = kind > 2 || length > 65536 || (kind == 0 && length != 4);
    if (damaged || left.size() - 5 < length) return std::nullopt;
    const std::string_view payload = left.substr(5, kind == 0 ? 0 : length);
    const auto value = static_cast<std::int32_t>(kind == 0 ? number_at(5) : 0);
    left.remove_prefix(5 + length);
    damaged = value > 255;
    return damaged ? std::nullopt : std::optional(Frame{kind, value, payload});
  }

  [[nodiscard]] std::uint32_t number_at(std::size_t at) const {
    std::uint32_t number = 0;
    for (const char c : left.substr(at, 4)) number = number * 256 + static_cast<unsigned char>(c);
    return number;
  }
};

void check_pieces(std::string_view log, Input pieces) {
  LiteralLog literal{log};
  build::BuildLogParser parser;
  while (!log.empty() && !parser.damaged()) {
    const auto space = parser.space();
    promise(!space.empty(), "there is room for more");
    const std::size_t wanted = pieces.empty() ? log.size() : pieces.byte() * 256U + 1U;
    const std::size_t count = std::min({wanted, log.size(), space.size()});
    log.copy(space.data(), count);
    log.remove_prefix(count);
    parser.added(count);
    while (const auto item = parser.next()) {
      promise(literal.next() == frame_of(*item), "in pieces a log has the same frames");
    }
  }
  promise(!literal.next() && parser.damaged() == literal.damaged, "and as many of them");
}

std::string frame(char kind, std::size_t length, std::string_view payload) {
  std::string bytes(1, kind);
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(length >> shift);
  return bytes.append(payload);
}

// Frames mostly, and now and then bytes of nobody. Valid until the next log.
std::string_view log_of(Input& in) {
  static const std::string longest(BuildLog::kLargestPayload, 'x');
  static std::string log;
  log.clear();
  while (!in.empty() && log.size() < (1U << 17U)) {
    const std::uint8_t choice = in.byte();
    const char stream = choice % 2 == 0 ? BuildLog::kOutput : BuildLog::kError;
    if (choice < 0x80) {
      const std::string_view payload = in.bytes(choice / 4U);
      log += frame(stream, payload.size(), payload);
    } else if (choice < 0xA0) {
      log += frame(BuildLog::kExit, 4, in.bytes(4));
    } else if (choice < 0xA8) {
      const std::size_t size = longest.size() - choice % 4U;
      log += frame(stream, size, std::string_view(longest).substr(0, size));
    } else {
      log += in.bytes(choice % 16U);
    }
  }
  return log;
}

}  // namespace

void try_input(std::string_view bytes) {
  Input in(bytes);
  const Input pieces(in.bytes(in.byte() % 32U));
  check_pieces(log_of(in), pieces);
}

}  // namespace qv::fuzz
