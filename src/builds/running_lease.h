#pragma once

#include "builds/ledger.h"

namespace qv::build {

// What the other builds see of one that runs and can be followed. A want of memory loses
// no build here: files that cannot be removed now go with the next reader of the ledger.
class RunningLease {
 public:
  RunningLease(BuildLedger& ledger, BuildLease& lease) : ledger_(ledger), lease_(lease) {}

  // Nobody can follow this build any more, but it goes on.
  void give_up_log();
  // The build is over: lease and log go.
  void end();

 private:
  BuildLedger& ledger_;
  BuildLease& lease_;
};

}  // namespace qv::build
