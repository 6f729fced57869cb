// Coordination may delay a build but never break it: whatever fails here, the process
// becomes the tool. A lease is good for that too; it counts until the tool ends and the
// next reader drops it. Once the tool runs beside this process, nothing that happens to
// log or ledger stops it.

#include "builds/run.h"

#include <unistd.h>

#include <utility>

#include "base/process.h"
#include "builds/direct.h"
#include "builds/messages.h"
#include "builds/outlet.h"
#include "builds/pump.h"
#include "builds/running_lease.h"
#include "builds/tool_process.h"
#include "platform/log.h"

namespace qv::build {

int BuildRun::run(BuildLease& own, Start start, PaneOutput& pane) {
  platform::log_started(own.pid, start.jobs.value_or(start.cores), start.cores, start.others);
  if (start.jobs) {
    messages::tell(messages::uses_fewer_cores(*start.jobs, start.cores, start.others));
  }
  prepare_tool(start.jobs || !start.bounded ? start.jobs : start.cores);
  if (!start.log.valid()) become_tool();
  return run_with_log(own, std::move(start.log), pane);
}

void BuildRun::prepare_tool(const std::optional<std::int64_t>& jobs) {
  const auto knob =
      jobs ? BuildJobKnob::find(command_.tool_name, command_.arguments, command_.environment, *jobs)
           : std::nullopt;
  if (knob) knob->apply(command_.arguments, command_.environment);
  command_.environment["QUORVEL_BUILD_SLOT"] = "1";
  prepared_ = true;
}

int BuildRun::run_with_log(BuildLease& own, Descriptor log, PaneOutput& pane) {
  RunningLease lease(*ledger_, own);
  auto outlet = Outlet::start(pane, ledger_->open_log(own));
  auto tool = outlet ? ToolProcess::start(command_, caller_) : std::nullopt;
  if (!tool) {
    outlet.reset();
    log.reset();
    lease.give_up_log();
    become_tool();
  }
  BuildLogWriter writer(std::move(log));
  pump(*tool, writer, *outlet, pane, lease);
  outlet->finish();
  const std::int32_t value = tool->exit_value();
  return pane.status_after(value < 0 ? 128 - value : value);
}

void BuildRun::become_tool() {
  std::vector<std::string> words{command_.tool_path};
  words.insert(words.end(), command_.arguments.begin(), command_.arguments.end());
  std::vector<std::string> variables = as_strings(command_.environment);
  const auto word_pointers = process::pointers_to(words);
  const auto variable_pointers = process::pointers_to(variables);
  caller_.restore();
  const int error = replace_process(command_.tool_path.c_str(), word_pointers.data(),
                                    prepared_ ? variable_pointers.data() : nullptr);
  ledger_->remove(::getpid());
  give_up(command_.tool_path.c_str(), error);
}

}  // namespace qv::build
