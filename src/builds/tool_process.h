#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "base/descriptor.h"
#include "base/notice.h"
#include "builds/command.h"
#include "builds/signals.h"

namespace qv::build {

// The build tool as a child of this process, with its two output streams in pipes. From
// its start until it is reaped the stop signals of this process are passed on to it.
class ToolProcess {
 public:
  // Starts the program at the path as written. Absent when pipes or process are refused;
  // nothing is changed then.
  [[nodiscard]] static std::optional<ToolProcess> start(const BuildCommand& command,
                                                        const CallerSignals& caller);

  // Read ends of the tool's standard output and error.
  Descriptor output;
  Descriptor error;

  // Given when the tool ends, and perhaps at other times.
  [[nodiscard]] const Notice& notice() const { return notice_; }

  // True when the tool has ended and been reaped; does not wait.
  [[nodiscard]] bool has_ended();
  void wait_until_ended();

  // How it ended, known then: the exit status, or the negative number of the signal.
  [[nodiscard]] std::int32_t exit_value() const;

 private:
  explicit ToolProcess(Notice notice) : notice_(std::move(notice)) {}

  Notice notice_;
  pid_t pid_ = 0;  // 0 once reaped
  int status_ = 0;
};

}  // namespace qv::build
