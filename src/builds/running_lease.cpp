#include "builds/running_lease.h"

#include <new>

namespace qv::build {

void RunningLease::give_up_log() try {
  const auto lock = ledger_.lock_briefly();
  ledger_.remove_log(lease_.pid);
  if (!lock) return;
  lease_.key.reset();
  lease_.log.reset();
  ledger_.write(lease_);
} catch (const std::bad_alloc&) {
}

void RunningLease::end() try {
  const auto lock = ledger_.lock_briefly();  // without it the files go all the same
  ledger_.remove(lease_.pid);
  ledger_.remove_log(lease_.pid);
} catch (const std::bad_alloc&) {
}

}  // namespace qv::build
