#pragma once

#include <dirent.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"

// Small private files, read whole and written whole.
namespace qv::files {

// The whole content of a regular file (a link to one is followed). Absent with errno set:
// EINVAL when it is of another kind, EFBIG when it is larger than 64 MiB, else what the system
// says. Never blocks on a pipe somebody put there.
[[nodiscard]] std::optional<std::string> read(const std::string& path);

// What one reading gives of a file that the system makes up, which is all there is to it unless
// it is longer than `buffer`. Absent with errno set when it cannot be read.
[[nodiscard]] std::optional<std::string_view> read_at_once(const std::string& path,
                                                           std::span<char> buffer);

// Writes `bytes` to a new file of mode 0600 beside `path` and renames it over `path`, so
// that a reader sees the old content or the new. False with errno set and nothing changed.
[[nodiscard]] bool replace(const std::string& path, std::string_view bytes);

// The same, and not even a crash of the machine leaves anything between old and new.
[[nodiscard]] bool replace_synced(const std::string& path, std::string_view bytes);

// Removes the new files that killed processes left beside what they meant to replace.
void remove_leftovers(const std::string& directory);

// Like `replace`, through a new file at `temporary`, which may be left over from a crash.
[[nodiscard]] bool replace_through(const std::string& temporary, const std::string& path,
                                   std::string_view bytes);

// Creates the directory and its missing parents with mode 0700. False with errno set when it
// is not there afterwards.
bool make_private_directories(const std::string& path);

// An open directory.
class Directory {
 public:
  // Not valid, with errno set, when the descriptor is not, or is of another kind.
  explicit Directory(Descriptor folder);

  [[nodiscard]] bool valid() const { return entries_ != nullptr; }
  [[nodiscard]] int get() const { return ::dirfd(entries_.get()); }

  // The names of its entries as they are now, but "." and "..", in its own order; absent with
  // errno set when it cannot be listed.
  [[nodiscard]] std::optional<std::vector<std::string>> names() const;

 private:
  struct Close {
    void operator()(DIR* entries) const { ::closedir(entries); }
  };
  std::unique_ptr<DIR, Close> entries_;
};

// Those of the directory at a path; none when it cannot be listed.
[[nodiscard]] std::vector<std::string> names_in(const std::string& directory);

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
