#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "builds/queue_view.h"

namespace qv::build {

// What somebody sees of the ledger who does not build; nothing where there is none yet.
struct LedgerLook {
  std::string problem;               // why no build can be seen; mostly empty
  bool is_private = true;            // otherwise builds do not meet here
  std::vector<SeenBuild> builds;     // of processes that live
  std::vector<std::string> orphans;  // files that the next build removes
};

// Reads the ledger without its lock and tidies nothing up: looking never delays or changes a
// build.
[[nodiscard]] LedgerLook look_at_ledger(const std::string& directory);

// The ledger's lock. To see whether it is held it is shared for a moment, for which a build that
// wants it asks once more.
struct LockLook {
  bool held = false;
  std::optional<pid_t> holder;  // where the system tells
};
[[nodiscard]] LockLook look_at_lock(const std::string& directory);

// The queue with what the machine says just now.
[[nodiscard]] BuildQueue queue_now(const std::vector<SeenBuild>& builds, const Readings& readings);

}  // namespace qv::build
