// Coordination may delay a build but never break it: whatever fails here, the process
// becomes the tool. A lease is good for that too; it counts until the tool ends and the
// next reader drops it. Once the tool runs beside this process, nothing that happens to
// log or ledger stops it.

#include "builds/run.h"

#include <unistd.h>

#include <new>
#include <utility>

#include "base/process.h"
#include "builds/direct.h"
#include "builds/messages.h"
#include "builds/pump.h"
#include "builds/tool_process.h"
#include "platform/log.h"

namespace qv::build {

namespace {

// Once the tool runs, its build is not lost to a want of memory: files that cannot be removed
// now go with the next reader of the ledger.
template <class Action>
void as_far_as_memory_goes(Action action) {
  try {
    action();
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

int BuildRun::run(BuildLease& own, Start start) {
  platform::log_started(own.pid, start.jobs.value_or(start.cores), start.cores, start.others);
  if (start.jobs) {
    messages::tell(messages::uses_fewer_cores(*start.jobs, start.cores, start.others));
  }
  prepare_tool(start.jobs || !start.bounded ? start.jobs : start.cores);
  if (!start.log.valid()) become_tool();
  return run_with_log(own, std::move(start.log));
}

void BuildRun::prepare_tool(const std::optional<std::int64_t>& jobs) {
  const auto knob =
      jobs ? BuildJobKnob::find(command_.tool_name, command_.arguments, command_.environment, *jobs)
           : std::nullopt;
  if (knob) knob->apply(command_.arguments, command_.environment);
  command_.environment["QUORVEL_BUILD_SLOT"] = "1";
  prepared_ = true;
}

int BuildRun::run_with_log(BuildLease& own, Descriptor log) {
  auto tool = ToolProcess::start(command_, caller_);
  if (!tool) {
    log.reset();
    abandon_log(own);
    become_tool();
  }
  BuildLogWriter writer(std::move(log));
  pump(*tool, writer, [&] { as_far_as_memory_goes([&] { abandon_log(own); }); });
  tool->wait_until_ended();
  const std::int32_t value = tool->exit_value();
  writer.append_exit(value);
  writer.close();
  as_far_as_memory_goes([&] {
    const auto lock = ledger_->lock_briefly();  // without it the files go all the same
    ledger_->remove(own.pid);
    ledger_->remove_log(own.pid);
  });
  return value < 0 ? 128 - value : value;
}

// Nobody can follow this build any more, but it goes on.
void BuildRun::abandon_log(BuildLease& own) {
  const auto lock = ledger_->lock_briefly();
  ledger_->remove_log(own.pid);
  if (!lock) return;
  own.key.reset();
  own.log.reset();
  ledger_->write(own);
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
