#include "builds/direct.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/io.h"

namespace qv::build {

int replace_process(const char* tool, char* const* arguments, char* const* environment) {
  if (environment == nullptr) {
    ::execv(tool, arguments);
  } else {
    ::execve(tool, arguments, environment);
  }
  return errno;
}

void give_up(const char* tool, int error) {
  const std::string complaint = std::string(tool) + ": " + std::strerror(error) + "\n";
  (void)io::write_all(STDERR_FILENO, complaint);
  ::_exit(error == ENOENT ? kNoSuchCommand : kNotExecutable);
}

}  // namespace qv::build
