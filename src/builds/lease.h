#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/record.h"

namespace qv::build {

// One build, queued or running, as the other builds and the app see it.
struct BuildLease {
  std::int32_t pid = 0;
  double startTime = 0;  // of the process, seconds since 1970: tells a pid from its reuse
  bool running = false;
  std::int64_t jobs = 0;  // jobs the running build was allowed
  bool focused = false;
  double queuedAt = 0;             // seconds since 1970
  std::optional<std::string> key;  // with `log`: the build can be followed
  std::optional<std::string> log;
  std::optional<std::string> reason;  // why it does not run yet: "memory" or "cores"

  friend bool operator==(const BuildLease&, const BuildLease&) = default;
};

// The lease of a live process, as a reader of the ledger finds it.
struct LiveLease {
  BuildLease lease;
  double age = 0;        // of its file: at least so many seconds, those of sleep not counted
  bool stopped = false;  // the process has been stopped for a while, and does nothing
};

}  // namespace qv::build

template <>
struct qv::record::Schema<qv::build::BuildLease> {
  using Lease = qv::build::BuildLease;
  static constexpr auto fields =
      std::tuple{required("pid", &Lease::pid),         required("startTime", &Lease::startTime),
                 required("running", &Lease::running), required("jobs", &Lease::jobs),
                 required("focused", &Lease::focused), required("queuedAt", &Lease::queuedAt),
                 optional("key", &Lease::key),         optional("log", &Lease::log),
                 optional("reason", &Lease::reason)};
};
