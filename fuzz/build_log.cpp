// A log is read while it is written, by somebody who sees it in pieces of any size, and a part
// of it may be nobody's frames. Here it is read a second time, at once and as a whole.

#include "builds/log.h"

#include "support/support.h"

namespace qv::fuzz {

namespace {

using build::BuildLog;

// A log in words ends with "!" where it is damaged.
std::string in_words(const BuildLog::Item& item) {
  if (const auto* exit = std::get_if<BuildLog::Exit>(&item))
    return "=" + std::to_string(exit->value);
  const auto& output = std::get<BuildLog::Output>(item);
  return std::to_string(output.stream) + ":" + std::string(output.bytes) + ";";
}

std::string literal(std::string_view log) {
  std::string seen;
  const auto number_at = [&log](std::size_t at) {
    std::uint32_t number = 0;
    for (const char c : log.substr(at, 4)) number = number * 256 + static_cast<unsigned char>(c);
    return number;
  };
  while (log.size() >= 5) {
    const auto kind = static_cast<unsigned char>(log[0]);
    const std::uint32_t length = number_at(1);
    if (kind > 2 || length > 65536 || (kind == 0 && length != 4)) return seen + "!";
    if (log.size() - 5 < length) break;
    if (kind == 0) {
      const auto value = static_cast<std::int32_t>(number_at(5));
      if (value > 255) return seen + "!";
      seen += in_words(BuildLog::Exit{value});
    } else {
      seen += in_words(BuildLog::Output{kind, log.substr(5, length)});
    }
    log.remove_prefix(5 + length);
  }
  return seen;
}

std::string parsed(std::string_view log, Input pieces) {
  build::BuildLogParser parser;
  std::string seen;
  while (!log.empty() && !parser.damaged()) {
    const auto space = parser.space();
    promise(!space.empty(), "there is room for more");
    const std::size_t wanted = pieces.empty() ? log.size() : pieces.byte() * 256U + 1U;
    const std::size_t count = std::min({wanted, log.size(), space.size()});
    log.copy(space.data(), count);
    log.remove_prefix(count);
    parser.added(count);
    while (const auto item = parser.next()) seen += in_words(*item);
  }
  return parser.damaged() ? seen + "!" : seen;
}

std::string frame(char kind, std::size_t length, std::string_view payload) {
  std::string bytes(1, kind);
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(length >> shift);
  return bytes.append(payload);
}

// Frames mostly, and now and then bytes of nobody.
std::string log_of(Input& in) {
  static const std::string longest(BuildLog::kLargestPayload, 'x');
  std::string log;
  while (!in.empty() && log.size() < (1U << 18U)) {
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
  const std::string log = log_of(in);
  promise_same(parsed(log, pieces), literal(log), "a log reads the same in pieces");
}

}  // namespace qv::fuzz
