// Most runs of a build tool need no coordination, and those must not notice that anybody
// thought about it: the questions go from the cheapest to the dearest, and the first "no"
// turns this process into the tool. Coordination never stands in the way of a build.

#include "builds/entry.h"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/files.h"
#include "base/io.h"
#include "base/trace.h"
#include "builds/coordinator.h"
#include "builds/direct.h"
#include "builds/signals.h"

namespace qv::build {

namespace {

constexpr int kUsage = 2;

bool is_switched_off() {
  const char* off = std::getenv("QUORVEL_BUILD_SLOT_OFF");
  return std::getenv("QUORVEL_BUILD_SLOT") != nullptr ||
         (off != nullptr && std::string_view(off) == "1");
}

BuildCommand command_of(char** arguments) {
  BuildCommand command;
  command.tool_path = arguments[0];
  command.tool_name = files::name_of(command.tool_path);
  for (char** argument = arguments + 1; *argument != nullptr; ++argument) {
    command.arguments.emplace_back(*argument);
  }
  command.environment = read_environment();
  return command;
}

std::nullopt_t runs_directly(std::string_view why) {
  trace::step("the tool runs directly: ", why);
  return std::nullopt;
}

// The build's status; nothing when the build is not to be coordinated.
std::optional<int> run_coordinated(const char* program, char** arguments) {
  if (is_switched_off()) return runs_directly("the environment says so");
  BuildCommand command = command_of(arguments);
  if (!is_coordinated(command.tool_name, command.arguments, command.environment)) {
    return runs_directly("no build, or one with a job count of its own");
  }
  auto ledger = LedgerFolder::open(ledger_directory());
  if (ledger == nullptr) return runs_directly("the ledger cannot be used");
  return coordinate(std::move(command), std::move(ledger), program);
}

}  // namespace

int run(const char* program, char** arguments) {
  if (arguments[0] == nullptr) {
    (void)io::write_all(STDERR_FILENO, "qv __build: no command given\n");
    return kUsage;
  }
  try {
    if (const auto status = run_coordinated(program, arguments)) return *status;
  } catch (const std::bad_alloc&) {
    remove_file();  // becoming the tool needs no memory
  }
  give_up(arguments[0], replace_process(arguments[0], arguments, nullptr));
}

}  // namespace qv::build
