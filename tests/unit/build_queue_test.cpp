// What is shown of the queue, for made-up leases and processes.

#include <gtest/gtest.h>

#include "base/files.h"
#include "builds/queue_view.h"

namespace qv::build {
namespace {

SeenBuild seen(std::int32_t pid, double queued_at, std::vector<std::string> command_line,
               std::int64_t jobs = 0) {
  BuildLease lease;
  lease.pid = pid;
  lease.queuedAt = queued_at;
  lease.running = jobs > 0;
  lease.jobs = jobs;
  if (jobs == 0) lease.reason = "cores";
  return {{lease}, std::move(command_line), "/src"};
}

TEST(BuildQueue, IsShownInTheOrderOfTurns) {
  std::vector<SeenBuild> builds{
      seen(16, 5990, {"/usr/bin/qv", "__build", "/opt/swift", "test"}),
      seen(15, 5900, {"qv", "__build", "/opt/xcodebuild", "-scheme", "App", "test"}),
      seen(14, 7000, {"cargo", "--locked", "clippy", "build"}),
      seen(13, 5800, {"/bin/sh", "/opt/go", "vet"}, 1),
      seen(12, 2400, {"/usr/lib/server", "build"}, 3),
      seen(11, 5950, {}),
  };
  builds[0].live.lease.focused = true;
  builds[0].live.lease.reason = "memory";
  builds[1].live.stopped = true;
  builds[0].folder = "/odd\nname";
  builds[5].folder.clear();
  BuildMemory memory{.pressure = 2, .cores = 4, .available = (std::uint64_t{5} << 30) / 2};
  const BuildQueue queue = queue_of(builds, memory, 6000);
  EXPECT_EQ(render(queue), R"(RUNNING
  12  1h 00m  server           3 jobs                        /src
  13  3m 20s  go vet           1 job                         /src

WAITING
  16  10s     swift test       for memory, 2 ahead, focused  /odd name
  15  1m 40s  xcodebuild test  for cores, 3 ahead, stopped   /src
  11  50s     (unknown)        for cores, 3 ahead            (unknown)
  14  0s      cargo clippy     for cores, 4 ahead            /src

4 cores, 4 of 6 jobs in use. Memory: 2.5 GiB free, pressure warning.)");

  BuildQueue later = queue_of(builds, memory, 6001);
  EXPECT_NE(later, queue);
  EXPECT_EQ(without_time(later), without_time(queue));
  later.builds.resize(1);
  later.builds[0].running = false;
  later.builds[0].ahead = 0;
  memory = {.pressure = 4, .cores = 1, .governed = false};
  later.machine = queue_of({}, memory, 0).machine;
  EXPECT_EQ(
      record::to_text(later),
      R"({"builds":[{"pid":12,"running":false,"ageSeconds":3601,"tool":"server","folder":"/src",)"
      R"("jobs":3,"focused":false,"stopped":false,"ahead":0}],"machine":{"cores":1,"jobsInUse":0,)"
      R"("jobBudget":1,"memoryPressure":"critical","memoryGoverned":false}})");
  EXPECT_EQ(
      render(later).substr(render(later).find("\n\n")),
      "\n\n1 core, 0 of 1 jobs in use. Memory: pressure critical. The governing of memory is off.");
  EXPECT_EQ(render(queue_of({}, memory, 0)), "No wrapped build runs or waits.");
}

TEST(BuildQueue, IsShownAsTheDocumentSays) {
  std::vector<SeenBuild> builds{seen(4711, 1000, {"qv", "__build", "/bin/cargo", "build"}, 4),
                                seen(4790, 1085, {"qv", "__build", "/bin/go", "test"}),
                                seen(4803, 1113, {"qv", "__build", "/bin/cargo", "check"})};
  builds[0].folder = "/home/ada/reader";
  builds[1].folder = "/home/ada/records";
  builds[2].folder = "/home/ada/importer";
  const std::string shown =
      render(queue_of(builds, {.cores = 4, .available = 10'000'000'000}, 1125));
  const auto document = files::read(QV_DOCUMENTS "/builds.md");
  EXPECT_NE(document.value_or("").find("\n" + shown + "\n"), std::string::npos) << shown;
}

}  // namespace
}  // namespace qv::build
