#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "builds/command.h"
#include "builds/lease.h"
#include "builds/ledger.h"
#include "builds/pane_output.h"
#include "builds/pass.h"
#include "builds/signals.h"

namespace qv::build {

// The run of one build, from the moment its turn has come.
class BuildRun {
 public:
  // Made before any signal is touched: what the tool gets back of them is remembered here.
  BuildRun(BuildCommand command, std::shared_ptr<BuildLedger> ledger)
      : command_(std::move(command)), ledger_(std::move(ledger)) {}

  [[nodiscard]] const BuildCommand& command() const { return command_; }

  // Runs the tool as the pass said, and shows what it writes in the pane. The tool's exit
  // status, 128 and the signal's number when a signal ended it. A build without a log becomes its
  // tool and does not return.
  [[nodiscard]] int run(BuildLease& own, Start start, PaneOutput& pane);

  // The direct path, which is how every failure of the coordinator ends too: the process
  // becomes the tool. A lease stays, since process id and start time survive.
  [[noreturn]] void become_tool();

 private:
  void prepare_tool(const std::optional<std::int64_t>& jobs);
  int run_with_log(BuildLease& own, Descriptor log, PaneOutput& pane);

  BuildCommand command_;
  std::shared_ptr<BuildLedger> ledger_;
  CallerSignals caller_;
  bool prepared_ = false;  // arguments and environment are the tool's own now
};

}  // namespace qv::build
