#pragma once

#include <signal.h>
#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/descriptor.h"

// Child processes: started with nothing inherited by accident, read to their end.
namespace qv::process {

struct Pipe {
  Descriptor read;
  Descriptor write;
};

// A pipe with both ends close-on-exec; absent with errno set.
[[nodiscard]] std::optional<Pipe> open_pipe();

// For descriptors of this process alone: the flag is everybody's who shares the descriptor.
void make_nonblocking(int fd);

// The null-terminated array of pointers that exec and spawn want; valid while `texts`
// is neither changed nor moved.
[[nodiscard]] std::vector<char*> pointers_to(std::vector<std::string>& texts);

struct Launch {
  const char* path = nullptr;  // used as written, without a search
  char* const* arguments = nullptr;
  char* const* environment = nullptr;
  int standard[3] = {-1, -1, -1};   // become descriptors 0 to 2; -1 leaves one as it is
  const sigset_t* mask = nullptr;   // the child's signal mask; null: the caller's
  const sigset_t* reset = nullptr;  // signals the child gets at their default action
  bool own_group = false;           // the child leads a process group of its own
};

// Starts the program. The child's process id, or 0 with errno set.
[[nodiscard]] pid_t spawn(const Launch& launch);

struct Command {
  std::vector<std::string> arguments;  // the first is the path of the program
  std::string input;                   // becomes its standard input
  std::string output;                  // what it wrote to standard output
};

// Runs the commands side by side, each in a process group of its own and with its
// complaints thrown away. True when every one ended with status 0 within `seconds`; the
// groups of those that run longer are killed. SIGPIPE has to be ignored by the caller.
[[nodiscard]] bool run_all(std::span<Command> commands, std::vector<std::string>& environment,
                           int seconds);

}  // namespace qv::process
