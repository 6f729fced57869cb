#pragma once

#include <memory>
#include <string>

#include "builds/command.h"
#include "builds/ledger_folder.h"

namespace qv::build {

// Drives one build from the moment it asks to run until its exit status is known: the
// tool's, or 128 and the signal's number when a signal ended it. Does not return when the
// process is replaced by the tool. `program` is this program as argument 0 names it.
[[nodiscard]] int coordinate(BuildCommand command, std::shared_ptr<LedgerFolder> ledger,
                             const std::string& program);

}  // namespace qv::build
