#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "builds/ledger.h"
#include "builds/pass.h"

namespace qv::build {

// What a build that queues asks of its surroundings.
class Surroundings {
 public:
  virtual ~Surroundings() = default;
  [[nodiscard]] virtual double now() = 0;  // in waking seconds
  [[nodiscard]] virtual BuildMemory memory() = 0;
  [[nodiscard]] virtual bool is_focused() = 0;
  // The key as it is now; absent when there is none.
  [[nodiscard]] virtual std::optional<std::string> find_key() = 0;
  // Whether a build started this one, whatever was done to the environment in between.
  [[nodiscard]] virtual bool is_inside_a_build() = 0;
};

// One build in the queue, pass by pass.
class Queueing {
 public:
  // `own` says who this is and since when it queues. A build that is `keyed` leads and
  // follows where it can.
  Queueing(BuildLease own, bool release, bool keyed, BuildLedger& ledger,
           Surroundings& surroundings);

  // What the next pass comes to; nothing, and no lease, when the build is to run directly.
  [[nodiscard]] std::optional<PassOutcome> ask();

  // After Wait or Hold: how long until the next pass, at most, and the processes whose end
  // is a reason to ask at once. `chance` from 0 to 1 spreads those who came together.
  [[nodiscard]] double pause(double chance) const;
  [[nodiscard]] const std::vector<pid_t>& waits_for() const { return candidate_.waits_for; }

  // After Follow: the leader came to nothing, and no other is to be followed.
  void follow_nobody() { candidate_.may_follow = false; }

  [[nodiscard]] BuildLease& lease() { return candidate_.lease; }

 private:
  void find_key(bool renewed);

  Candidate candidate_;
  bool looked_for_a_build_around_ = false;
  BuildLedger& ledger_;
  Surroundings& surroundings_;
};

}  // namespace qv::build
