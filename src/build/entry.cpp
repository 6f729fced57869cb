// Most runs of a build tool need no coordination, and those must not notice that anybody
// thought about it: the questions go from the cheapest to the dearest, and the first "no"
// turns this process into the tool. Coordination never stands in the way of a build.

#include "build/entry.h"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/io.h"
#include "build/coordinator.h"
#include "build/direct.h"
#include "build/signals.h"
#include "platform/paths.h"

namespace qv::build {

namespace {

constexpr int kUsage = 2;

// Null when the build is not to be coordinated.
std::optional<Coordinator> coordinator_for(char** arguments) {
  const char* off = std::getenv("QUORVEL_BUILD_SLOT_OFF");
  if (std::getenv("QUORVEL_BUILD_SLOT") != nullptr) return std::nullopt;
  if (off != nullptr && std::string_view(off) == "1") return std::nullopt;
  Coordinator coordinator;
  coordinator.real = arguments[0];
  coordinator.tool = files::name_of(coordinator.real);
  for (char** argument = arguments + 1; *argument != nullptr; ++argument) {
    coordinator.args.emplace_back(*argument);
  }
  coordinator.env = read_environment();
  if (!is_coordinated(coordinator.tool, coordinator.args, coordinator.env)) return std::nullopt;
  const std::string home = platform::home_directory();
  coordinator.ledger = BuildLedger::open(home + "/Library/Application Support/Quorvel/builds");
  if (coordinator.ledger == nullptr) return std::nullopt;
  return coordinator;
}

}  // namespace

int run(const char* program, char** arguments) {
  if (arguments[0] == nullptr) {
    (void)io::write_all(STDERR_FILENO, "qv __build: no command given\n");
    return kUsage;
  }
  try {
    if (auto coordinator = coordinator_for(arguments)) return coordinator->run(program);
  } catch (const std::bad_alloc&) {
    remove_file();  // becoming the tool needs no memory
  }
  give_up(arguments[0], replace_process(arguments[0], arguments, nullptr));
}

}  // namespace qv::build
