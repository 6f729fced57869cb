#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Small private files, read whole and written whole.
namespace qv::files {

// The whole content of a regular file (a link to one is followed); absent when there is
// none, it is of another kind, it is larger than 64 MiB, or it cannot be read. Never
// blocks on a pipe somebody put there.
[[nodiscard]] std::optional<std::string> read(const std::string& path);

// Writes `bytes` to a new file of mode 0600 beside `path` and renames it over `path`, so
// that a reader sees the old content or the new. False, with nothing changed, on failure.
[[nodiscard]] bool replace(const std::string& path, std::string_view bytes);

// The same through a new file at `temporary`, which may be left over from a crash.
[[nodiscard]] bool replace_through(const std::string& temporary, const std::string& path,
                                   std::string_view bytes);

// Creates the directory and its missing parents with mode 0700. False when it is not
// there afterwards.
bool make_private_directories(const std::string& path);

// The names of an open directory's entries, in its own order; absent when it cannot be listed.
[[nodiscard]] std::optional<std::vector<std::string>> names_in(int directory);

[[nodiscard]] bool exists(const std::string& path);
[[nodiscard]] bool is_directory(const std::string& path);

// A regular file (or a link to one) that this user may run.
[[nodiscard]] bool is_executable(const std::string& path);

// A directory that belongs to this user, or this user's own link to one.
[[nodiscard]] bool is_own_directory(const std::string& path);

// The part before the last slash ("." without one), and the part after it.
[[nodiscard]] std::string directory_of(std::string_view path);
[[nodiscard]] std::string_view name_of(std::string_view path);

}  // namespace qv::files
