#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "base/io.h"
#include "base/signal_disposition.h"

namespace qv::files {

namespace {

constexpr off_t kLargestFile = off_t{64} << 20;

// A name that mkstemp(3) fills. Short, since the file's own may be as long as names can be.
constexpr std::string_view kNewFile = ".qv-XXXXXX";

std::optional<struct stat> status_of(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

Descriptor open_to_read(const std::string& path) {
  for (;;) {
    // Not open(2), behind which a C library may ask for the flag once more.
    Descriptor file(::openat(AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.valid() || errno != EINTR) return file;
  }
}

// Fills a new file and renames it. On failure it is gone, and errno says why: a limit on the
// size of files makes a write fail here instead of ending the process.
bool finish(Descriptor file, const std::string& temporary, const std::string& path,
            std::string_view bytes, bool synced) {
  const SignalDisposition no_end(SIGXFSZ, SIG_IGN);
  const bool written = io::write_all(file.get(), bytes) && ::fchmod(file.get(), 0600) == 0 &&
                       (!synced || ::fsync(file.get()) == 0) && ::close(file.release()) == 0;
  if (written && ::rename(temporary.c_str(), path.c_str()) == 0) return true;
  const int error = errno;
  ::unlink(temporary.c_str());
  errno = error;
  return false;
}

// Processes of different containers may share both the directory and a process id.
bool replace_through_new(const std::string& path, std::string_view bytes, bool synced) {
  std::string temporary = directory_of(path).append("/").append(kNewFile);
  Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
  return file.valid() && finish(std::move(file), temporary, path, bytes, synced);
}

bool make_private_directory(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) == 0) return true;
  const int error = errno;
  if (is_directory(path)) return true;
  errno = error == EEXIST ? ENOTDIR : error;
  return false;
}

}  // namespace

std::optional<std::string> read(const std::string& path) {
  const Descriptor file = open_to_read(path);
  struct stat status {};
  if (!file.valid() || ::fstat(file.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) {
    errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
    return std::nullopt;
  }
  return io::read_to_end(file.get(), static_cast<std::size_t>(kLargestFile));
}

std::optional<std::string_view> read_at_once(const std::string& path, std::span<char> buffer) {
  const Descriptor file = open_to_read(path);
  while (file.valid()) {
    const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
    if (count >= 0) return std::string_view(buffer.data(), static_cast<std::size_t>(count));
    if (errno != EINTR) break;
  }
  return std::nullopt;
}

bool replace(const std::string& path, std::string_view bytes) {
  return replace_through_new(path, bytes, false);
}

bool replace_synced(const std::string& path, std::string_view bytes) {
  return replace_through_new(path, bytes, true);
}

void remove_leftovers(const std::string& directory) {
  constexpr time_t kSurelyKilled = 3600;  // seconds
  const std::string_view prefix = kNewFile.substr(0, kNewFile.find('X'));
  for (const std::string& name : names_in(directory)) {
    if (name.size() != kNewFile.size() || !name.starts_with(prefix)) continue;
    const std::string path = directory + "/" + name;
    struct stat entry {};
    if (::lstat(path.c_str(), &entry) != 0 || !S_ISREG(entry.st_mode)) continue;
    if (std::time(nullptr) - entry.st_mtime > kSurelyKilled) ::unlink(path.c_str());
  }
}

bool replace_through(const std::string& temporary, const std::string& path,
                     std::string_view bytes) {
  const auto create = [&] {
    constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return Descriptor(::openat(AT_FDCWD, temporary.c_str(), kNew, 0600));
  };
  Descriptor file = create();
  if (!file.valid() && errno == EEXIST && ::unlink(temporary.c_str()) == 0) file = create();
  return file.valid() && finish(std::move(file), temporary, path, bytes, false);
}

bool make_private_directories(const std::string& path) {
  if (is_directory(path)) return true;
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    if (!make_private_directory(path.substr(0, slash))) return false;
  }
  return make_private_directory(path);
}

Directory::Directory(Descriptor folder)
    : entries_(folder.valid() ? ::fdopendir(folder.get()) : nullptr) {
  if (valid()) (void)folder.release();
}

std::optional<std::vector<std::string>> Directory::names() const {
  std::vector<std::string> names;
  const dirent* entry = nullptr;
  ::rewinddir(entries_.get());
  while (errno = 0, (entry = ::readdir(entries_.get())) != nullptr) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

std::vector<std::string> names_in(const std::string& directory) {
  const Directory folder(Descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  return (folder.valid() ? folder.names() : std::nullopt).value_or(std::vector<std::string>());
}

bool exists(const std::string& path) { return status_of(path).has_value(); }

bool is_directory(const std::string& path) {
  const auto status = status_of(path);
  return status && S_ISDIR(status->st_mode);
}

bool is_executable(const std::string& path) {
  const auto status = status_of(path);
  return status && S_ISREG(status->st_mode) && ::access(path.c_str(), X_OK) == 0;
}

bool is_own_directory(const std::string& path) {
  struct stat entry {};
  const auto target = status_of(path);
  return target && S_ISDIR(target->st_mode) && target->st_uid == ::geteuid() &&
         ::lstat(path.c_str(), &entry) == 0 && entry.st_uid == ::geteuid();
}

std::string directory_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return ".";
  return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

std::string_view name_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace qv::files
