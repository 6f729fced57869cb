// Leases are renamed into place whole, so whoever only looks needs no lock.

#include "builds/ledger_look.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/descriptor.h"
#include "base/files.h"
#include "builds/lease_files.h"
#include "builds/ledger_folder.h"
#include "builds/live_processes.h"
#include "builds/tenure.h"
#include "platform/clock.h"
#include "platform/lock_holder.h"
#include "platform/machine.h"
#include "platform/process.h"
#include "platform/process_info.h"

namespace qv::build {

namespace {

SeenBuild seen(LiveLease live) {
  const pid_t pid = live.lease.pid;
  live.stopped = platform::look_at_process(pid).stopped;
  return {std::move(live), platform::command_line(pid), platform::working_folder(pid)};
}

}  // namespace

LedgerLook look_at_ledger(const std::string& directory) {
  LedgerLook look;
  const files::Directory folder(
      Descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  if (!folder.valid()) {
    if (errno != ENOENT)
      look.problem = directory + " cannot be read: " + std::strerror(errno) + ".";
    return look;
  }
  look.is_private = is_private_to_us(folder.get());
  std::string mark;
  const Tenure whose = look_at_mark(folder.get(), mark);
  if (whose == Tenure::elsewhere) {
    look.problem = "the builds in " + directory + " cannot be seen from here.";
    return look;
  }
  LiveProcesses processes;
  for (const auto& file : LeaseFiles(folder).read(processes, platform::waking_seconds())) {
    if (file.lease && file.alive && whose != Tenure::past) {
      look.builds.push_back(seen({*file.lease, file.age}));
    } else {
      look.orphans.push_back(file.name);
    }
  }
  for (const std::string& name : files::names_in(directory + "/logs")) {
    const auto pid = pid_of(name, kLogEnding);
    if (pid && platform::look_at_process(*pid).found == platform::ProcessLook::gone) {
      look.orphans.push_back("logs/" + name);
    }
  }
  return look;
}

LockLook look_at_lock(const std::string& directory) {
  const Descriptor lock(
      ::open((directory + "/lock").c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!lock.valid() || ::flock(lock.get(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
    return {};
  }
  return {true, platform::lock_holder(lock.get())};
}

BuildQueue queue_now(const std::vector<SeenBuild>& builds, const Readings& readings) {
  BuildMemory memory = readings.memory();
  if (!memory.available) memory.available = platform::read_machine().available_memory;
  return queue_of(builds, memory, platform::wall_clock_seconds());
}

}  // namespace qv::build
