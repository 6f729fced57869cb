#include "base/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <utility>

#include "base/descriptor.h"
#include "base/io.h"
#include "base/signal_disposition.h"

namespace qv::files {

namespace {

constexpr off_t kLargestFile = off_t{64} << 20;

std::optional<struct stat> status_of(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

}  // namespace

std::optional<std::string> read(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.valid() || ::fstat(file.get(), &status) != 0) return std::nullopt;
  if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) return std::nullopt;
  return io::read_to_end(file.get(), static_cast<std::size_t>(kLargestFile));
}

bool replace(const std::string& path, std::string_view bytes) {
  // A short name, since the file's own may be as long as names can be.
  const std::string temporary = directory_of(path) + "/." + std::to_string(::getpid()) + ".tmp";
  return replace_through(temporary, path, bytes);
}

bool replace_through(const std::string& temporary, const std::string& path,
                     std::string_view bytes) {
  // A limit on the size of files makes a write fail instead of ending the process.
  const SignalDisposition no_end(SIGXFSZ, SIG_IGN);
  ::unlink(temporary.c_str());
  Descriptor file(
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file.valid()) return false;
  const bool written = io::write_all(file.get(), bytes) && ::fchmod(file.get(), 0600) == 0;
  const bool closed = ::close(file.release()) == 0;
  if (written && closed && ::rename(temporary.c_str(), path.c_str()) == 0) return true;
  ::unlink(temporary.c_str());
  return false;
}

bool make_private_directories(const std::string& path) {
  if (is_directory(path)) return true;
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    ::mkdir(path.substr(0, slash).c_str(), 0700);
  }
  ::mkdir(path.c_str(), 0700);
  return is_directory(path);
}

std::optional<std::vector<std::string>> names_in(int directory) {
  const int fd = ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* listing = fd < 0 ? nullptr : ::fdopendir(fd);
  if (listing == nullptr) {
    if (fd >= 0) ::close(fd);
    return std::nullopt;
  }
  std::vector<std::string> names;
  const dirent* entry = nullptr;
  while (errno = 0, (entry = ::readdir(listing)) != nullptr) names.emplace_back(entry->d_name);
  const bool whole = errno == 0;
  ::closedir(listing);
  return whole ? std::optional(std::move(names)) : std::nullopt;
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
