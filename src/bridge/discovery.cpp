// A stale socket file looks like a live one until somebody connects, so a search connects to
// each candidate and says nothing.

#include "bridge/discovery.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/files.h"
#include "base/text.h"
#include "bridge/transport.h"
#include "platform/file_times.h"
#include "platform/paths.h"

namespace qv::BridgeDiscovery {

namespace {

std::string_view word(Kind kind) {
  constexpr std::array<std::string_view, 3> kWords{"mcp", "teamwork", "vault"};
  return kWords[static_cast<std::size_t>(kind)];
}

// Absent, and so before every date, when it cannot be had.
std::optional<platform::FileTime> date_of(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return platform::modification_time(status);
}

}  // namespace

std::optional<std::string> seat_socket(const std::string& seat_file) {
  const auto content = files::read(seat_file);
  if (!content || !text::is_utf8(*content)) return std::nullopt;
  const auto lines = text::split(*content, '\n');
  if (lines.size() < 2) return std::nullopt;
  const std::string_view socket = text::trimmed(lines[1]);
  return socket.empty() ? std::nullopt : std::optional<std::string>(socket);
}

std::string sibling(const std::string& socket, Kind kind) {
  const std::string_view name = files::name_of(socket);
  const std::size_t hyphen = name.find('-');
  if (hyphen == std::string_view::npos) return "";
  return socket.substr(0, socket.size() - name.size()) + std::string(word(kind)) +
         std::string(name.substr(hyphen));
}

std::string token_path(const std::string& socket) {
  if (socket.empty()) return "";
  const std::string_view name = files::name_of(socket);
  const std::size_t dot = name.rfind('.');
  const bool has_extension = dot != std::string_view::npos && dot > 0;
  const std::size_t kept = has_extension ? socket.size() - name.size() + dot : socket.size();
  return socket.substr(0, kept) + ".token";
}

std::vector<Candidate> candidates(Kind kind, const std::string& base) {
  const std::string prefix = std::string(word(kind)) + "-";
  std::vector<std::pair<std::optional<platform::FileTime>, Candidate>> dated;
  for (const std::string& instance : files::names_in(base)) {
    const std::string directory = base + "/" + instance;
    if (!platform::is_instance_name(instance) || !files::is_directory(directory)) continue;
    for (const std::string& name : files::names_in(directory)) {
      if (!name.starts_with(prefix) || !name.ends_with(".sock")) continue;
      const std::string path = directory + "/" + name;
      dated.push_back({date_of(path), {path, token_path(path)}});
    }
  }
  std::ranges::stable_sort(dated, [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<Candidate> found;
  for (auto& [date, candidate] : dated) found.push_back(std::move(candidate));
  return found;
}

std::optional<std::string> live_socket(Kind kind, const std::string& base) {
  std::optional<std::string> live;
  for (const Candidate& candidate : candidates(kind, base)) {
    if (!BridgeTransport::is_live(candidate.socketPath)) continue;
    if (live) return std::nullopt;
    live = candidate.socketPath;
  }
  return live;
}

}  // namespace qv::BridgeDiscovery
