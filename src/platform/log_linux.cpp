// The system's own call for this waits when the log's daemon stands still, and no build may
// wait for that. So the record is sent as the call would send it, or dropped.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/descriptor.h"
#include "platform/log.h"

namespace qv::platform {

namespace {

constexpr char kLogSocket[] = "/dev/log";

void send(const char* message) {
  const Descriptor log(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, kLogSocket, sizeof kLogSocket);
  if (!log.valid() ||
      ::connect(log.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return;
  }
  const std::time_t now = std::time(nullptr);
  struct tm local {};
  char date[32] = "";
  if (::localtime_r(&now, &local) != nullptr) std::strftime(date, sizeof date, "%h %e %T", &local);
  char record[256];
  const int length =
      std::snprintf(record, sizeof record, "<%d>%s com.quorvel.app[%d]: governor: %s",
                    LOG_USER | LOG_INFO, date, static_cast<int>(::getpid()), message);
  if (length < 0 || static_cast<std::size_t>(length) >= sizeof record) return;
  (void)!::send(log.get(), record, static_cast<std::size_t>(length), MSG_NOSIGNAL);
}

}  // namespace

void log_held_for_memory(pid_t build, std::int64_t ahead, bool critical) {
  char message[160];
  std::snprintf(message, sizeof message, "build %d held for memory, %" PRId64 " ahead, critical %s",
                static_cast<int>(build), ahead, critical ? "true" : "false");
  send(message);
}

void log_held_for_cores(pid_t build, std::int64_t ahead) {
  char message[160];
  std::snprintf(message, sizeof message, "build %d held for cores, %" PRId64 " ahead",
                static_cast<int>(build), ahead);
  send(message);
}

void log_started(pid_t build, std::int64_t jobs, std::int64_t cores, std::int64_t others) {
  char message[160];
  std::snprintf(message, sizeof message,
                "build %d started with %" PRId64 " of %" PRId64 " jobs, %" PRId64 " others running",
                static_cast<int>(build), jobs, cores, others);
  send(message);
}

}  // namespace qv::platform
