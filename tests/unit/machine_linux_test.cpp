// The machine as a made-up /proc and /sys describe it.

#include "platform/machine_linux.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <limits>

#include "platform/machine.h"
#include "platform/process.h"
#include "platform/process_info.h"
#include "support.h"

namespace qv::platform {
namespace {

constexpr std::uint64_t kMiB = std::uint64_t{1} << 20;

struct Fake {
  ScratchDirectory root;

  void stall(const std::string& some, const std::string& full) const {
    root.write("proc/pressure/memory", "some avg10=" + some + " avg60=50.00 avg300=0.00 total=9\n" +
                                           "full avg10=" + full + " avg60=50.00 total=9\n");
  }
  void memory(std::uint64_t available_mib, std::uint64_t total_mib = 1000) const {
    root.write("proc/meminfo", "MemTotal:  " + std::to_string(total_mib * 1024) +
                                   " kB\nMemFree: 1 kB\nMemAvailable:   " +
                                   std::to_string(available_mib * 1024) + " kB\n");
  }
  void group(const std::string& path, const std::string& limit, std::uint64_t used_mib,
             std::uint64_t cache_mib) const {
    const std::string folder = "sys/fs/cgroup" + path;
    root.write(folder + "/memory.max", limit);
    root.write(folder + "/memory.current", std::to_string(used_mib * kMiB) + "\n");
    root.write(folder + "/memory.stat",
               "anon 5\ninactive_file " + std::to_string(cache_mib * kMiB) + "\n");
  }
  [[nodiscard]] LinuxMachine machine() const { return LinuxMachine(root.path()); }
};

TEST(LinuxMachine, JudgesPressure) {
  const Fake fake;
  fake.memory(1);
  EXPECT_EQ(fake.machine().pressure_level(), 1) << "no stall information";
  struct Row {
    const char* some;
    const char* full;
    std::uint64_t available;  // of 1000 MiB
    int level;
  } const rows[] = {{"0.00", "0.00", 900, 1},   {"9.99", "9.99", 900, 1},
                    {"10.00", "0.00", 900, 2},  {"55.10", "9.99", 900, 2},
                    {"10.00", "10.00", 900, 4}, {"0.00", "0.00", 50, 1},
                    {"0.00", "0.00", 49, 4}};
  for (const Row& row : rows) {
    fake.stall(row.some, row.full);
    fake.memory(row.available);
    EXPECT_EQ(fake.machine().pressure_level(), row.level)
        << row.some << " " << row.full << " " << row.available;
  }
}

TEST(LinuxMachine, ObeysEveryGroupAboveIt) {
  const Fake fake;
  EXPECT_EQ(fake.machine().available_memory(), std::nullopt);
  fake.stall("0.00", "0.00");
  fake.memory(800);
  EXPECT_EQ(fake.machine().available_memory(), 800 * kMiB);
  fake.root.write("proc/self/cgroup", "4:cpu:/x\n0::/user/build\n");
  fake.group("/user/build", "max\n", 700, 0);
  EXPECT_EQ(fake.machine().available_memory(), 800 * kMiB);
  fake.group("/user", std::to_string(1000 * kMiB), 700, 100);
  EXPECT_EQ(fake.machine().available_memory(), 400 * kMiB);
  EXPECT_EQ(fake.machine().pressure_level(), 1);
  fake.group("", std::to_string(1000 * kMiB), 970, 0);
  EXPECT_EQ(fake.machine().available_memory(), 30 * kMiB);
  EXPECT_EQ(fake.machine().pressure_level(), 4) << "less than a twentieth of the group's";
  fake.group("/user/build", std::to_string(10 * kMiB), 20, 0);
  EXPECT_EQ(fake.machine().available_memory(), 0U) << "over its limit";

  const Fake older;  // with version 1
  older.memory(800);
  older.root.write("proc/self/cgroup", "5:cpu,memory:/user/build\n4:cpu:/x\n0::/\n");
  const std::string memory = "sys/fs/cgroup/memory/user/memory.";
  older.root.write(memory + "limit_in_bytes", std::to_string(500 * kMiB) + "\n");
  older.root.write(memory + "usage_in_bytes", std::to_string(400 * kMiB) + "\n");
  older.root.write(memory + "stat", "total_inactive_file " + std::to_string(100 * kMiB) + "\n");
  EXPECT_EQ(older.machine().available_memory(), 200 * kMiB);

  EXPECT_EQ(fake.machine().cores_within_quota(8), 8);
  fake.root.write("sys/fs/cgroup/user/build/cpu.max", "max 100000\n");
  EXPECT_EQ(fake.machine().cores_within_quota(8), 8);
  fake.root.write("sys/fs/cgroup/user/cpu.max", "250000 100000\n");
  EXPECT_EQ(fake.machine().cores_within_quota(8), 3);
  EXPECT_EQ(fake.machine().cores_within_quota(2), 2);
  fake.root.write("sys/fs/cgroup/cpu.max", "10000 100000\n");
  EXPECT_EQ(fake.machine().cores_within_quota(8), 1);
}

TEST(LinuxMachine, KnowsWhenAProcessStartedAndHow) {
  const auto own = start_time(::getpid());
  ASSERT_TRUE(own.has_value());
  EXPECT_NEAR(*own, static_cast<double>(std::time(nullptr)), 3600);
  EXPECT_EQ(start_time(::getpid()), own);
  EXPECT_EQ(start_time(-1), std::nullopt);
  EXPECT_EQ(start_time(std::numeric_limits<pid_t>::max()), std::nullopt);
  EXPECT_FALSE(command_line(::getpid()).back().empty());
}

}  // namespace
}  // namespace qv::platform
