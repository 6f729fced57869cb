#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/record.h"
#include "builds/lease.h"
#include "builds/readings.h"

// The queue as people and scripts look at it.
namespace qv::build {

struct QueuedBuild {
  std::int32_t pid = 0;
  bool running = false;
  std::int64_t ageSeconds = 0;  // since it first asked
  std::optional<std::string> tool;
  std::optional<std::string> subcommand;
  std::optional<std::string> folder;  // absent, like the tool, when the process shows none
  std::int64_t jobs = 0;              // 0 while it waits
  bool focused = false;
  bool stopped = false;                 // by a signal: holds nobody up
  std::optional<std::string> waitsFor;  // "cores" or "memory"
  std::optional<std::int64_t> ahead;    // builds that run or wait before one that waits

  friend bool operator==(const QueuedBuild&, const QueuedBuild&) = default;
};

enum class Pressure { normal, warning, critical };

struct BuildMachine {
  std::int64_t cores = 0;
  std::int64_t jobsInUse = 0;
  std::int64_t jobBudget = 0;
  Pressure memoryPressure = Pressure::normal;
  std::optional<std::int64_t> availableMemoryBytes;
  bool memoryGoverned = true;

  friend bool operator==(const BuildMachine&, const BuildMachine&) = default;
};

struct BuildQueue {
  std::vector<QueuedBuild> builds;  // those that run, then the others in the order of their turns
  BuildMachine machine;

  friend bool operator==(const BuildQueue&, const BuildQueue&) = default;
};

// A lease with what its process shows of itself.
struct SeenBuild {
  LiveLease live;
  std::vector<std::string> command_line;
  std::string folder;
};

// `now` is in seconds since 1970.
[[nodiscard]] BuildQueue queue_of(const std::vector<SeenBuild>& builds, const BuildMemory& memory,
                                  double now);

// The queue without what changes all the time: ages, and the bytes of memory.
[[nodiscard]] BuildQueue without_time(BuildQueue queue);

// In prose, without a line feed at the end.
[[nodiscard]] std::string render(const BuildQueue& queue);
[[nodiscard]] std::string render(const BuildMachine& machine);

}  // namespace qv::build

template <>
struct qv::record::Words<qv::build::Pressure> {
  static constexpr std::array<std::string_view, 3> words{"normal", "warning", "critical"};
};

template <>
struct qv::record::Schema<qv::build::QueuedBuild> {
  using Build = qv::build::QueuedBuild;
  static constexpr auto fields = std::tuple{required("pid", &Build::pid),
                                            required("running", &Build::running),
                                            required("ageSeconds", &Build::ageSeconds),
                                            optional("tool", &Build::tool),
                                            optional("subcommand", &Build::subcommand),
                                            optional("folder", &Build::folder),
                                            required("jobs", &Build::jobs),
                                            required("focused", &Build::focused),
                                            required("stopped", &Build::stopped),
                                            optional("waitsFor", &Build::waitsFor),
                                            optional("ahead", &Build::ahead)};
};

template <>
struct qv::record::Schema<qv::build::BuildMachine> {
  using Machine = qv::build::BuildMachine;
  static constexpr auto fields =
      std::tuple{required("cores", &Machine::cores),
                 required("jobsInUse", &Machine::jobsInUse),
                 required("jobBudget", &Machine::jobBudget),
                 required("memoryPressure", &Machine::memoryPressure),
                 optional("availableMemoryBytes", &Machine::availableMemoryBytes),
                 required("memoryGoverned", &Machine::memoryGoverned)};
};

template <>
struct qv::record::Schema<qv::build::BuildQueue> {
  using Queue = qv::build::BuildQueue;
  static constexpr auto fields =
      std::tuple{required("builds", &Queue::builds), required("machine", &Queue::machine)};
};
