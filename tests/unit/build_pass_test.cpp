// One pass over a real ledger with a made-up machine: what becomes of the own lease.

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/files.h"
#include "builds/ledger_folder.h"
#include "builds/messages.h"
#include "builds/pass.h"
#include "platform/machine.h"
#include "platform/process.h"
#include "support.h"

namespace qv::build {
namespace {

class Pass : public testing::Test {
 protected:
  Pass() {
    candidate_.lease.pid = ::getpid();
    candidate_.lease.startTime = platform::start_time(::getpid()).value_or(0);
    candidate_.lease.queuedAt = 100;
    // The parent stands for the one other build.
    other_.pid = ::getppid();
    other_.startTime = platform::start_time(::getppid()).value_or(0);
    other_.running = true;
    other_.jobs = 8;
    other_.key = "k";
    other_.log = scratch_.file("builds/logs/") + std::to_string(::getppid()) + ".log";
  }
  PassOutcome pass(int cores, int pressure = 1) {
    return decide(candidate_, *ledger_, {pressure, cores, std::uint64_t{1} << 40, true}, 0).value();
  }
  void put_other() {
    ASSERT_TRUE(files::replace(ledger_->lease_path(other_.pid), record::to_text(other_)));
  }
  [[nodiscard]] std::string lease() const {
    return files::read(ledger_->lease_path(::getpid())).value_or("none");
  }

  ScratchDirectory scratch_;
  std::shared_ptr<LedgerFolder> ledger_ = LedgerFolder::open(scratch_.file("builds"));
  Candidate candidate_;
  BuildLease other_;
};

TEST_F(Pass, TellsItsLeaseFromWaitToRun) {
  put_other();
  auto step = pass(2);
  EXPECT_EQ(std::get<Wait>(step).ahead, 1);
  EXPECT_EQ(candidate_.waits_for, std::vector{other_.pid});
  EXPECT_NE(
      lease().find(R"("running":false,"jobs":0,"focused":false,"queuedAt":100,"reason":"cores")"),
      std::string::npos)
      << lease();
  step = pass(8, 4);
  EXPECT_TRUE(std::get<Hold>(step).critical);
  EXPECT_EQ(candidate_.waits_for, std::vector{other_.pid}) << "of this pass";
  EXPECT_NE(lease().find(R"("reason":"memory")"), std::string::npos);
  step = pass(8);
  EXPECT_EQ(std::get<Start>(step).jobs, 4);
  EXPECT_EQ(std::get<Start>(step).others, 1);
  EXPECT_FALSE(std::get<Start>(step).log.valid()) << "no key, no log";
  EXPECT_TRUE(lease().ends_with(R"("running":true,"jobs":4,"focused":false,"queuedAt":100})"))
      << lease();
}

TEST_F(Pass, RunsUnrestrictedWithALogOfItsOwn) {
  candidate_.key = FoundKey{"k"};
  scratch_.write("builds/logs/" + std::to_string(::getpid()) + ".log", "older");
  const PassOutcome step = decide(candidate_, *ledger_, {.cores = 6, .bounded = true}, 0).value();
  const auto& start = std::get<Start>(step);
  EXPECT_EQ(start.jobs, std::nullopt);
  EXPECT_TRUE(start.bounded && start.cores == 6);
  EXPECT_TRUE(start.log.valid());
  EXPECT_EQ(files::read(ledger_->log_path(::getpid())), "");
  EXPECT_EQ(candidate_.lease.jobs, 6);
  EXPECT_EQ(candidate_.lease.key, "k");
  EXPECT_EQ(candidate_.lease.log, ledger_->log_path(::getpid()));
}

TEST_F(Pass, FollowsTheSameBuildOnce) {
  scratch_.write("builds/logs/" + std::to_string(::getppid()) + ".log", "");
  put_other();
  candidate_.key = FoundKey{"other"};
  EXPECT_TRUE(std::holds_alternative<Wait>(pass(2))) << "another key";
  candidate_.key = FoundKey{"k"};
  PassOutcome step = pass(2);
  EXPECT_EQ(std::get<Follow>(step).leader, other_);
  EXPECT_TRUE(std::get<Follow>(step).log.valid());
  EXPECT_EQ(lease(), "none");
  candidate_.may_follow = false;
  EXPECT_TRUE(std::holds_alternative<Wait>(pass(2)));
  candidate_.may_follow = true;
  ledger_->remove_log(other_.pid);
  EXPECT_TRUE(std::holds_alternative<Wait>(pass(2))) << "no log to open";
}

TEST(BuildReadings, CountNoMoreCoresThanTheUserGrants) {
  const int cores = platform::read_machine().active_cores;
  const auto counted = [](const std::string& granted) {
    return Readings({{"QUORVEL_BUILD_CORES", granted}}, "qv", "/nowhere").memory();
  };
  EXPECT_EQ(counted("1").cores, 1);
  EXPECT_EQ(counted("1").bounded, cores > 1);
  for (const std::string& granted :
       {std::to_string(cores), std::string("9999999999"), std::string("0"), std::string("-1"),
        std::string(""), std::string("1x")}) {
    EXPECT_EQ(counted(granted).cores, cores) << granted;
    EXPECT_FALSE(counted(granted).bounded) << granted;
  }
}

TEST(BuildMessages, SayWhyThereAreFewerCores) {
  EXPECT_TRUE(messages::uses_fewer_cores(2, 8, 0).ends_with("the memory free for more"));
  EXPECT_TRUE(messages::uses_fewer_cores(2, 8, 2).ends_with("while 2 other builds run"));
}

}  // namespace
}  // namespace qv::build
