// build_pass QV: what a waiting build costs. Fills a ledger with live leases, measures one
// pass under the lock, then lets a real build wait there and asks what CPU it used.

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "builds/ledger_folder.h"
#include "builds/pass.h"
#include "platform/clock.h"
#include "platform/machine.h"
#include "platform/process.h"

namespace {

using namespace qv::build;
using Clock = std::chrono::steady_clock;

constexpr int kPasses = 200;
constexpr int kSecondsOfWaiting = 10;

std::vector<pid_t> start_sleepers(int count) {
  std::vector<pid_t> pids;
  for (int i = 0; i < count; ++i) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (;;) ::pause();
    }
    pids.push_back(pid);
  }
  return pids;
}

BuildLease lease_of(pid_t pid, bool running) {
  BuildLease lease;
  lease.pid = pid;
  lease.startTime = qv::platform::start_time(pid).value_or(0);
  lease.running = running;
  lease.jobs = running ? 8 : 0;
  lease.queuedAt = 1;
  if (!running) lease.reason = "cores";
  return lease;
}

double median_milliseconds_of_a_pass(BuildLedger& ledger, const Readings& readings) {
  Candidate candidate;
  candidate.lease = lease_of(::getpid(), false);
  std::vector<double> times;
  for (int pass = 0; pass < kPasses; ++pass) {
    const BuildMemory memory = readings.memory();
    ledger.look_ahead();
    const auto lock = ledger.lock();
    const auto start = Clock::now();
    (void)decide(candidate, ledger, memory, qv::platform::waking_seconds());
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
  }
  ledger.remove(::getpid());
  std::nth_element(times.begin(), times.begin() + kPasses / 2, times.end());
  return times[kPasses / 2];
}

// CPU milliseconds per second of a real build that waits.
double cost_of_waiting(const char* qv, const std::string& home) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::setenv("HOME", home.c_str(), 1);
    ::setenv("QUORVEL_BUILD_MEMORY_OFF", "1", 1);
    const int nowhere = ::open("/dev/null", O_RDWR);
    ::dup2(nowhere, 2);
    ::execl(qv, qv, "__build", "/bin/cargo", "build", nullptr);
    ::_exit(1);
  }
  ::sleep(1);  // starting up is not waiting
  const auto used = [&] {
    // Of a child that runs, only /proc knows.
    const std::string path = "/proc/" + std::to_string(pid) + "/schedstat";
    unsigned long long nanoseconds = 0;
    if (std::FILE* file = std::fopen(path.c_str(), "r")) {
      if (std::fscanf(file, "%llu", &nanoseconds) != 1) nanoseconds = 0;
      std::fclose(file);
    }
    return static_cast<double>(nanoseconds) / 1e6;
  };
  const double start = used();
  ::sleep(kSecondsOfWaiting);
  const double end = used();
  ::kill(pid, SIGTERM);
  ::waitpid(pid, nullptr, 0);
  return (end - start) / kSecondsOfWaiting;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  std::printf("%8s %12s %22s\n", "leases", "pass, ms", "waiting, CPU ms per s");
  for (const int count : {10, 50, 100, 200}) {
    std::string home = std::filesystem::temp_directory_path() / "qv-bench-XXXXXX";
    if (::mkdtemp(home.data()) == nullptr) return 1;
    const std::string directory = home + "/Library/Application Support/Quorvel/builds";
    const auto ledger = LedgerFolder::open(directory);
    const auto sleepers = start_sleepers(count);
    for (const pid_t pid : sleepers) {
      // Each through a ledger of its own, as each process has one.
      LedgerFolder::open(directory)->write(lease_of(pid, pid == sleepers.front()));
    }
    ::usleep(100'000);
    const Readings readings(read_environment(), "", directory);
    const double pass = median_milliseconds_of_a_pass(*ledger, readings);
    std::printf("%8d %12.3f %22.2f\n", count, pass, cost_of_waiting(argv[1], home));
    std::fflush(stdout);
    for (const pid_t pid : sleepers) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
    }
    std::filesystem::remove_all(home);
  }
}
