// What a reader of the ledger keeps, what it removes, and what it must never touch.

#include "builds/ledger_folder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "base/files.h"
#include "builds/tenure.h"
#include "platform/process.h"
#include "support.h"

namespace qv::build {
namespace {

// A process that lives until the object goes, or is a zombie from the start.
class Child {
 public:
  enum Life { living, zombie };
  explicit Child(Life life) : pid_(::fork()) {
    if (pid_ == 0 && life == zombie) ::_exit(0);
    while (pid_ == 0) ::pause();
    siginfo_t about{};
    if (life == zombie) ::waitid(P_PID, static_cast<id_t>(pid_), &about, WEXITED | WNOWAIT);
  }
  ~Child() { end(); }
  void end() {
    if (pid_ == 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = 0;
  }
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  pid_t pid_;
};

BuildLease lease_of(pid_t pid, double late_by = 0) {
  BuildLease lease;
  lease.pid = pid;
  lease.startTime = platform::start_time(pid).value_or(1000) + late_by;
  return lease;
}

std::string log_of(pid_t pid) { return "logs/" + std::to_string(pid) + ".log"; }

class Ledger : public testing::Test {
 protected:
  ScratchDirectory scratch_;
  std::string dir_ = scratch_.file("a/builds");
  std::shared_ptr<LedgerFolder> ledger_ = LedgerFolder::open(dir_);

  void put(const std::string& name, const std::string& bytes) {
    scratch_.write("a/builds/" + name, bytes);
  }
  void put(const std::string& name, const BuildLease& lease) { put(name, record::to_text(lease)); }
  [[nodiscard]] bool has(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(dir_ + "/" + name));
  }
  [[nodiscard]] std::vector<BuildLease> leases() const {
    std::vector<BuildLease> found;
    for (const LiveLease& one : ledger_->read_live(0)) found.push_back(one.lease);
    return found;
  }
  [[nodiscard]] std::set<pid_t> live() const {
    std::set<pid_t> pids;
    for (const BuildLease& lease : leases()) pids.insert(lease.pid);
    return pids;
  }
};

TEST_F(Ledger, IsPrivateOrNone) {
  ASSERT_NE(ledger_, nullptr);
  struct stat status {};
  for (const char* folder : {"a", "a/builds", "a/builds/logs"}) {
    ASSERT_EQ(::stat((scratch_.file(folder)).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U) << folder;
  }
  ASSERT_EQ(::stat((dir_ + "/lock").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);

  for (const char* folder : {"a/builds", "a/builds/logs"}) {
    ::chmod((scratch_.file(folder)).c_str(), 0722);
    EXPECT_EQ(LedgerFolder::open(dir_), nullptr) << folder << " is writable by others";
    ::chmod((scratch_.file(folder)).c_str(), 0755);
    EXPECT_NE(LedgerFolder::open(dir_), nullptr) << folder << " is readable by others";
  }
  scratch_.write("file", "");
  EXPECT_EQ(LedgerFolder::open(scratch_.file("file/builds")), nullptr);
}

TEST_F(Ledger, WritesLeasesWhole) {
  BuildLease lease = lease_of(::getpid());
  lease.queuedAt = 1795249597.4698436;
  lease.reason = "cores";
  const std::string path = ledger_->lease_path(lease.pid);
  EXPECT_EQ(path, dir_ + "/" + std::to_string(::getpid()) + ".json");
  put(std::string(files::name_of(path)) + ".tmp", "of a build that was killed");
  ledger_->write(lease);
  EXPECT_EQ(leases(), std::vector{lease});
  struct stat first {};
  ASSERT_EQ(::stat(path.c_str(), &first), 0);
  EXPECT_EQ(first.st_mode & 0777U, 0600U);
  EXPECT_FALSE(files::exists(path + ".tmp"));

  const auto inode = [&] {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
  };
  ledger_->write(lease);
  EXPECT_EQ(inode(), first.st_ino) << "nothing new, not written again";
  lease.reason = "memory";
  ledger_->write(lease);
  EXPECT_EQ(leases(), std::vector{lease});
  put(std::string(files::name_of(path)), "spoilt");
  ledger_->write(lease);
  EXPECT_EQ(leases(), std::vector{lease}) << "written again over another's bytes";
  ledger_->remove(lease.pid);
  ledger_->write(lease);
  EXPECT_EQ(leases(), std::vector{lease}) << "written again when it is gone";
}

TEST_F(Ledger, DropsWhatNobodyOwns) {
  const Child living(Child::living), late(Child::living), unreaped(Child::zombie);
  Child dead(Child::living);
  const pid_t dead_pid = dead.pid();
  BuildLease of_dead = lease_of(dead_pid);
  of_dead.log = ledger_->log_path(dead_pid);
  dead.end();
  put("1.json", of_dead);
  put(log_of(dead_pid), "");
  put("2.json", lease_of(living.pid(), 0.9));
  put("3.json", lease_of(late.pid(), 1));
  put("4.json", lease_of(unreaped.pid()));
  put("empty.json", "{}");
  put("half.json", record::to_text(lease_of(living.pid())).substr(0, 50));
  put("text.json",
      R"({"pid":"1","startTime":0,"running":true,"jobs":0,"focused":true,"queuedAt":0})");
  put("5.json.tmp", "half a lea");
  put("focus", "session");
  put("logs/notes.txt", "");
  put("logs/007.log", "");
  put(log_of(unreaped.pid()), "");
  put(log_of(late.pid()), "");
  EXPECT_EQ(live(), std::set{living.pid()});
  for (const auto& kept :
       std::vector<std::string>{"2.json", "5.json.tmp", "focus", "lock", "logs/notes.txt",
                                "logs/007.log", log_of(late.pid())}) {
    EXPECT_TRUE(has(kept)) << kept;
  }
  for (const auto& dropped :
       std::vector<std::string>{"1.json", "3.json", "4.json", "empty.json", "half.json",
                                "text.json", log_of(dead_pid), log_of(unreaped.pid())}) {
    EXPECT_FALSE(has(dropped)) << dropped;
  }
}

TEST_F(Ledger, KnowsAnUnchangedLeaseAndNoticesAChange) {
  const Child child(Child::living);
  BuildLease lease = lease_of(child.pid());
  const std::string path = ledger_->lease_path(child.pid());
  for (const std::int64_t jobs : {3, 4, 4, 5}) {
    lease.jobs = jobs;
    ASSERT_TRUE(files::replace(path, record::to_text(lease)));
    for (int reading = 0; reading < 3; ++reading) {
      ASSERT_EQ(leases(), std::vector{lease});
      ::usleep(30'000);  // beyond the grain of file times, where a state is remembered
    }
  }
}

TEST_F(Ledger, ConcludesNothingFromAShortage) {
  const Child child(Child::living);
  Child dead(Child::living);
  const BuildLease of_dead = lease_of(dead.pid());
  dead.end();
  const std::string name = std::to_string(child.pid()) + ".json";
  BuildLease lease = lease_of(child.pid());
  put(name, lease);
  ASSERT_EQ(leases(), std::vector{lease});
  lease.jobs = 7;
  put("next", lease);
  const int next = ::dup(0);
  ::close(next);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const auto leave = [&](int descriptors) {
    const rlimit tight{static_cast<rlim_t>(descriptors), before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &tight);
  };
  leave(next);
  EXPECT_EQ(live(), std::set{child.pid()}) << "its lease cannot be opened";
  EXPECT_TRUE(LiveProcesses().contains(lease)) << "no start time";
  EXPECT_FALSE(LiveProcesses().contains(of_dead)) << "nobody waits for the dead";
  std::filesystem::rename(dir_ + "/next", dir_ + "/" + name);
  EXPECT_TRUE(leases().at(0).running) << "a changed lease, for which one stands in that counts";
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(leases(), std::vector{lease});
}

TEST_F(Ledger, WaitsForAnEnd) {
  const Child child(Child::living);
  put("1.json", lease_of(child.pid()));
  ASSERT_EQ(live(), std::set{child.pid()});
  ::kill(child.pid(), SIGKILL);
  ledger_->wait_for_an_end(std::vector{child.pid()}, 1e6);  // days, were it not for the end
  EXPECT_TRUE(live().empty());
}

TEST(Tenure, IsJudgedByTheMark) {
  const platform::Boot boot{"boot", "7"};
  const auto judged = [&](const char* mark) {
    std::optional<double> time;
    const Tenure whose = judge_mark(mark, boot, time);
    return std::to_string(static_cast<int>(whose)) + " " +
           std::to_string(static_cast<int>(time.value_or(0)));
  };
  EXPECT_EQ(mark_of(boot, 100), "boot 7 100");
  EXPECT_EQ(judged("boot 7 90"), "0 90");
  for (const char* none : {"", "boot 7 x", "boot 7", "boot 7 1 1"}) {
    EXPECT_EQ(judged(none), "1 0") << none;
  }
  EXPECT_EQ(judged("other 7 100"), "2 0");
  EXPECT_EQ(judged("boot 8 100"), "3 0");
}

TEST_F(Ledger, StaysInsideItself) {
  Child dead(Child::living);
  BuildLease stale = lease_of(dead.pid());
  dead.end();
  scratch_.write("mine.log", "precious");
  scratch_.write("mine.json", record::to_text(lease_of(::getpid())));
  stale.log = scratch_.file("mine.log");
  put("1.json", stale);
  ::symlink((scratch_.file("mine.json")).c_str(), (dir_ + "/2.json").c_str());
  ::symlink((scratch_.file("mine.log")).c_str(), ledger_->log_path(::getpid()).c_str());
  ::mkdir((dir_ + "/3.json").c_str(), 0700);
  ::mkfifo((dir_ + "/4.json").c_str(), 0600);
  EXPECT_TRUE(live().empty());
  EXPECT_TRUE(files::exists(scratch_.file("mine.log")));
  EXPECT_TRUE(files::exists(scratch_.file("mine.json")));
  EXPECT_FALSE(has("1.json") || has("2.json") || has("4.json"));
  EXPECT_TRUE(has("3.json"));

  BuildLease own = lease_of(::getpid());
  own.log = scratch_.file("mine.log");
  EXPECT_FALSE(ledger_->open_log(own).valid()) << "another directory";
  own.log = ledger_->log_path(own.pid);
  EXPECT_FALSE(ledger_->open_log(own).valid()) << "a link";
  EXPECT_TRUE(ledger_->create_log(own.pid).valid());
  EXPECT_TRUE(ledger_->open_log(own).valid());
  EXPECT_EQ(files::read(scratch_.file("mine.log")), "precious");
  own.log = "..";
  EXPECT_FALSE(ledger_->open_log(own).valid());
}

}  // namespace
}  // namespace qv::build
