// The process entry. Nothing is looked up here that the command at hand may not need.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "base/io.h"
#include "base/output.h"
#include "base/trace.h"
#include "builds/entry.h"
#include "builds/queue_command.h"
#include "builds/shim.h"
#include "cli/dispatch.h"
#include "command/exit_code.h"
#include "doctor/command.h"

namespace {

int run(int argc, char** argv) {
  qv::io::occupy_standard_descriptors();
  qv::trace::begin();
  if (argc > 0 && qv::build::is_shim(argv[0])) return qv::build::run_shim(argv);
  if (argc > 1 && std::strcmp(argv[1], "__build") == 0) return qv::build::run(argv[0], argv + 2);

  const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);

  qv::OutputStream standard_output(1);
  qv::OutputStream standard_error(2);
  qv::CLIRuntime runtime([&](std::string_view text) { return standard_output.write_line(text); },
                         [&](std::string_view part) { return standard_output.write_part(part); },
                         [&](std::string_view text) { return standard_error.write_line(text); });
  const std::string first = arguments.empty() ? "" : arguments.front();
  int status = 0;
  if (first == "__builds") {
    status =
        qv::build::show_queue(argv[0], {argv + 2, argv + argc}, standard_output, standard_error);
  } else if (first == "__doctor") {
    status = status_of(qv::doctor::run(argv[0], {argv + 2, argv + argc}, runtime));
  } else {
    status = qv::run(arguments, runtime);
  }

  if (standard_output.error() == 0) return status;
  if (standard_output.error() != EPIPE) {
    runtime.err(std::string("qv: standard output could not be written: ") +
                std::strerror(standard_output.error()) + ".");
  }
  return status_of(qv::ExitCode::unavailable);
}

}  // namespace

// The one thing that is thrown anywhere is the want of memory.
int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    static_cast<void>(qv::io::write_all(2, "qv: there is not enough memory for this.\n"));
    return status_of(qv::ExitCode::unavailable);
  }
}
