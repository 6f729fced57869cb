#include "seat/seat_secret.h"

#include "base/files.h"
#include "base/text.h"

namespace qv::SeatSecret {

namespace {

// A blank secret would only cover up a good one that is stored already.
std::optional<std::string> unless_blank(std::string_view text) {
  const std::string_view secret = text::trimmed(text);
  return secret.empty() ? std::nullopt : std::optional<std::string>(secret);
}

}  // namespace

std::optional<std::string> in_message(std::string_view message) {
  constexpr std::string_view kLabel = "secret: ";
  for (const std::string_view line : text::split(message, '\n')) {
    if (line.starts_with(kLabel)) return unless_blank(line.substr(kLabel.size()));
  }
  return std::nullopt;
}

std::optional<std::string> read(const std::string& file) {
  const auto content = files::read(file);
  if (!content || !text::is_utf8(*content)) return std::nullopt;
  return unless_blank(std::string_view(*content).substr(0, content->find('\n')));
}

bool store(const std::string& file, std::string_view secret, std::string_view socket) {
  if (!files::make_private_directories(files::directory_of(file))) return false;
  std::string content(secret);
  content.append("\n").append(socket).append("\n");
  return files::replace_synced(file, content);
}

}  // namespace qv::SeatSecret
