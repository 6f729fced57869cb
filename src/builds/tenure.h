#pragma once

#include <optional>
#include <string>

#include "platform/boot.h"

namespace qv::build {

// Whose leases a ledger holds, judged by the mark on it.
enum class Tenure {
  ours,       // of processes that can be seen from here
  unmarked,   // nothing says: each is looked at
  past,       // of another run of the system: nobody lives who wrote them
  elsewhere,  // of this run, by processes that cannot be seen from here
};

// The mark of builds that run here and count start times from `boot_time`.
[[nodiscard]] std::string mark_of(const platform::Boot& boot, double boot_time);

// `boot_time` becomes the one that the mark's leases count from, when they are ours.
[[nodiscard]] Tenure judge_mark(const std::string& mark, const platform::Boot& boot,
                                std::optional<double>& boot_time);

// Judges the mark on the open directory; start times are counted as those of its leases from
// then on. `own_mark` becomes the one for those who move in, and stays where there are no marks:
// then all leases count as ours.
[[nodiscard]] Tenure look_at_mark(int directory, std::string& own_mark);

}  // namespace qv::build
