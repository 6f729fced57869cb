#include "builds/tool_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "base/process.h"
#include "platform/tied_spawn.h"

namespace qv::build {

namespace {

constexpr int kUnknownStatus = 1 << 8;  // an exit with 1, as wait reports it

}  // namespace

std::optional<ToolProcess> ToolProcess::start(const BuildCommand& command,
                                              const CallerSignals& caller) {
  auto out = process::open_pipe();
  auto err = process::open_pipe();
  auto notice = Notice::open();
  if (!out || !err || !notice) return std::nullopt;
  std::vector<std::string> words{command.tool_path};
  words.insert(words.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> variables = as_strings(command.environment);
  const auto word_pointers = process::pointers_to(words);
  const auto variable_pointers = process::pointers_to(variables);
  process::Launch launch;
  launch.path = command.tool_path.c_str();
  launch.arguments = word_pointers.data();
  launch.environment = variable_pointers.data();
  launch.standard[1] = out->write.get();
  launch.standard[2] = err->write.get();
  launch.mask = &caller.mask();
  launch.reset = &caller.reset();

  const SignalsHeld until_forwarded;  // a signal that comes now is for the tool
  ToolProcess tool(std::move(*notice));
  tool.pid_ = platform::spawn_tied(launch);
  if (tool.pid_ == 0) return std::nullopt;
  tool.output = std::move(out->read);
  tool.error = std::move(err->read);
  for (const Descriptor* from : {&tool.output, &tool.error}) process::make_nonblocking(from->get());
  forward_stop_signals(tool.pid_, tool.notice_.giver());
  return tool;
}

bool ToolProcess::has_ended() {
  if (pid_ == 0) return true;
  const SignalsHeld from_a_stranger;  // who might get the process id next
  const pid_t reaped = ::waitpid(pid_, &status_, WNOHANG);
  if (reaped == 0 || (reaped < 0 && errno == EINTR)) return false;
  if (reaped < 0) status_ = kUnknownStatus;
  stop_forwarding();
  pid_ = 0;
  return true;
}

void ToolProcess::wait_until_ended() {
  while (!has_ended()) {
    siginfo_t about{};
    ::waitid(P_PID, static_cast<id_t>(pid_), &about, WEXITED | WNOWAIT);
  }
}

std::int32_t ToolProcess::exit_value() const {
  return WIFSIGNALED(status_) ? -WTERMSIG(status_) : WEXITSTATUS(status_);
}

}  // namespace qv::build
