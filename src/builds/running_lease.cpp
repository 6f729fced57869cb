#include "builds/running_lease.h"

#include <new>

namespace qv::build {

void RunningLease::give_up_log() try {
  const auto lock = ledger_.lock_briefly();  // without it the log goes all the same
  if (lock) {
    lease_.key.reset();
    lease_.log.reset();
    ledger_.write(lease_);
  }
  ledger_.remove_log(lease_.pid);
} catch (const std::bad_alloc&) {
}

void RunningLease::end() try {
  const auto lock = ledger_.lock_briefly();
  ledger_.remove_log(lease_.pid);
  ledger_.remove(lease_.pid);
} catch (const std::bad_alloc&) {
}

}  // namespace qv::build
