// A lease says how a build stands but not what it is; that is read off its process. The process
// may be the coordinator, the tool that it became, or the interpreter of a tool that is a
// script: in each of them the tool's name stands among the first words, and what follows it
// are its arguments.

#include "builds/queue_view.h"

#include <algorithm>
#include <tuple>

#include "base/files.h"
#include "base/text.h"
#include "builds/job_knobs.h"
#include "builds/schedule.h"

namespace qv::build {

namespace {

void describe(const SeenBuild& seen, QueuedBuild& build) {
  const auto& words = seen.command_line;
  const auto tool =
      std::ranges::find_if(words, [](auto& word) { return is_build_tool(files::name_of(word)); });
  if (tool != words.end()) {
    build.tool = files::name_of(*tool);
    const Arguments arguments(tool + 1, words.end());
    if (const auto word = action_of(*build.tool, arguments); !word.empty()) build.subcommand = word;
  } else if (!words.empty()) {
    build.tool = text::repaired(files::name_of(words.front()));
  }
  if (!seen.folder.empty()) build.folder = text::repaired(seen.folder);
}

QueuedBuild build_of(const SeenBuild& seen, const std::vector<LiveLease>& all, double now) {
  constexpr double kLongest = 1e9;
  const BuildLease& lease = seen.live.lease;
  QueuedBuild build;
  build.pid = lease.pid;
  build.running = lease.running;
  build.ageSeconds = static_cast<std::int64_t>(std::clamp(now - lease.queuedAt, 0.0, kLongest));
  build.jobs = lease.jobs;
  build.focused = lease.focused;
  build.stopped = seen.live.stopped;
  if (!lease.running) {
    const BuildPlan plan = BuildPlan::of(lease, all, false);  // which is not before itself
    build.waitsFor = lease.reason;
    build.ahead = plan.running + plan.ahead;
  }
  describe(seen, build);
  return build;
}

Pressure pressure_of(int level) {
  return level >= 4 ? Pressure::critical : level >= 2 ? Pressure::warning : Pressure::normal;
}

}  // namespace

BuildQueue queue_of(const std::vector<SeenBuild>& builds, const BuildMemory& memory, double now) {
  std::vector<LiveLease> all;
  for (const SeenBuild& seen : builds) all.push_back(seen.live);
  BuildQueue queue;
  for (const SeenBuild& seen : builds) queue.builds.push_back(build_of(seen, all, now));
  std::ranges::sort(queue.builds, {}, [](const QueuedBuild& build) {
    return std::tuple(!build.running, build.ahead, -build.ageSeconds, build.pid);
  });
  queue.machine.cores = memory.cores;
  queue.machine.jobsInUse = BuildPlan::of({}, all, false).load.jobs;
  queue.machine.jobBudget = BuildSchedule::budget(memory.cores);
  queue.machine.memoryPressure = pressure_of(memory.pressure);
  if (memory.available) {
    queue.machine.availableMemoryBytes = static_cast<std::int64_t>(*memory.available);
  }
  queue.machine.memoryGoverned = memory.governed;
  return queue;
}

BuildQueue without_time(BuildQueue queue) {
  for (QueuedBuild& build : queue.builds) build.ageSeconds = 0;
  queue.machine.availableMemoryBytes.reset();
  return queue;
}

}  // namespace qv::build
