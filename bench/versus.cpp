// versus RUNS : COMMAND... : COMMAND...
//
// Runs the commands by turns, so that whatever else the machine does hits all of them
// alike, and prints for each the median wall time in milliseconds. Output is thrown away.
// A command that fails ends the measurement.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds_of(char** command, const posix_spawn_file_actions_t& silence) {
  const auto start = Clock::now();
  pid_t pid = 0;
  int status = -1;
  if (::posix_spawnp(&pid, command[0], &silence, nullptr, command, environ) != 0 ||
      ::waitpid(pid, &status, 0) != pid || status != 0) {
    std::fprintf(stderr, "versus: %s failed\n", command[0]);
    std::exit(1);
  }
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char**> commands;
  for (int i = 2; i < argc; ++i) {
    if (std::strcmp(argv[i], ":") != 0) continue;
    argv[i] = nullptr;
    commands.push_back(argv + i + 1);
  }
  const int runs = argc > 1 ? std::atoi(argv[1]) : 0;
  posix_spawn_file_actions_t silence;
  ::posix_spawn_file_actions_init(&silence);
  ::posix_spawn_file_actions_addopen(&silence, 1, "/dev/null", O_WRONLY, 0);
  ::posix_spawn_file_actions_addopen(&silence, 2, "/dev/null", O_WRONLY, 0);
  std::vector<std::vector<double>> times(commands.size());
  for (int run = -runs / 10; run < runs; ++run) {  // the first few warm the caches
    for (std::size_t i = 0; i < commands.size(); ++i) {
      const double time = milliseconds_of(commands[i], silence);
      if (run >= 0) times[i].push_back(time);
    }
  }
  for (auto& each : times) {
    if (each.empty()) return 1;
    std::nth_element(each.begin(), each.begin() + static_cast<std::ptrdiff_t>(each.size() / 2),
                     each.end());
    std::printf("%.4f ", each[each.size() / 2]);
  }
  std::printf("\n");
}
