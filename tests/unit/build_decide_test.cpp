// One pass over a real ledger with a made-up machine: what becomes of the own lease.

#include <gtest/gtest.h>
#include <unistd.h>

#include "base/files.h"
#include "build/coordinator.h"
#include "build/messages.h"
#include "platform/machine.h"
#include "support.h"

namespace qv::build {
namespace {

using Step = Coordinator::Step;

class Decide : public testing::Test {
 protected:
  Decide() {
    coordinator_.ledger = BuildLedger::open(scratch_.file("builds"));
    queue_.own.pid = ::getpid();
    queue_.own.startTime = platform::start_time(::getpid()).value_or(0);
    queue_.own.queuedAt = 100;
    // The parent stands for the one other build.
    other_.pid = ::getppid();
    other_.startTime = platform::start_time(::getppid()).value_or(0);
    other_.running = true;
    other_.jobs = 8;
    other_.key = "k";
    other_.log = scratch_.file("builds/logs/") + std::to_string(::getppid()) + ".log";
  }
  Step decide(int cores, int pressure = 1) {
    return coordinator_.decide(queue_, {pressure, cores, std::uint64_t{1} << 40, true});
  }
  void put_other() {
    ASSERT_TRUE(
        files::replace(coordinator_.ledger->lease_path(other_.pid), record::to_text(other_)));
  }
  [[nodiscard]] std::string lease() const {
    return files::read(coordinator_.ledger->lease_path(::getpid())).value_or("none");
  }

  ScratchDirectory scratch_;
  Coordinator coordinator_{"/bin/cargo", "cargo", {"build"}, {}, nullptr};
  Coordinator::Queue queue_;
  BuildLease other_;
};

TEST_F(Decide, TellsItsLeaseFromWaitToRun) {
  put_other();
  auto step = decide(2);
  EXPECT_EQ(std::get<Step::Wait>(step.outcome).ahead, 1);
  EXPECT_NE(
      lease().find(R"("running":false,"jobs":0,"focused":false,"queuedAt":100,"reason":"cores")"),
      std::string::npos)
      << lease();
  step = decide(8, 4);
  EXPECT_TRUE(std::get<Step::Hold>(step.outcome).critical);
  EXPECT_NE(lease().find(R"("reason":"memory")"), std::string::npos);
  step = decide(8);
  EXPECT_EQ(std::get<Step::Run>(step.outcome).jobs, 4);
  EXPECT_EQ(std::get<Step::Run>(step.outcome).others, 1);
  EXPECT_FALSE(std::get<Step::Run>(step.outcome).log.valid()) << "no key, no log";
  EXPECT_TRUE(lease().ends_with(R"("running":true,"jobs":4,"focused":false,"queuedAt":100})"))
      << lease();
}

TEST_F(Decide, RunsUnrestrictedWithALogOfItsOwn) {
  queue_.key = "k";
  scratch_.write("builds/logs/" + std::to_string(::getpid()) + ".log", "older");
  const Step step = coordinator_.decide(queue_, {.cores = 6, .bounded = true});
  const auto& run = std::get<Step::Run>(step.outcome);
  EXPECT_EQ(run.jobs, std::nullopt);
  EXPECT_TRUE(run.bounded && run.cores == 6);
  EXPECT_TRUE(run.log.valid());
  EXPECT_EQ(files::read(coordinator_.ledger->log_path(::getpid())), "");
  EXPECT_EQ(queue_.own.jobs, 6);
  EXPECT_EQ(queue_.own.key, "k");
  EXPECT_EQ(queue_.own.log, coordinator_.ledger->log_path(::getpid()));
}

TEST_F(Decide, FollowsTheSameBuildOnce) {
  scratch_.write("builds/logs/" + std::to_string(::getppid()) + ".log", "");
  put_other();
  queue_.key = "other";
  EXPECT_TRUE(std::holds_alternative<Step::Wait>(decide(2).outcome)) << "another key";
  queue_.key = "k";
  Step step = decide(2);
  EXPECT_EQ(std::get<Step::Follow>(step.outcome).leader, other_);
  EXPECT_TRUE(std::get<Step::Follow>(step.outcome).fd.valid());
  EXPECT_EQ(lease(), "none");
  queue_.do_not_follow = true;
  EXPECT_TRUE(std::holds_alternative<Step::Wait>(decide(2).outcome));
  queue_.do_not_follow = false;
  coordinator_.ledger->remove_log(other_.pid);
  EXPECT_TRUE(std::holds_alternative<Step::Wait>(decide(2).outcome)) << "no log to open";
}

TEST(BuildReadings, CountNoMoreCoresThanTheUserGrants) {
  const int cores = platform::active_cores();
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
