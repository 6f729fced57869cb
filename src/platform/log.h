#pragma once

#include <sys/types.h>

#include <cstdint>

// The system's log: the app's bundle identifier, category "governor", information level.
// Whoever runs the machine can see there what builds did and why; no reader, no failure.
namespace qv::platform {

void log_held_for_memory(pid_t build, std::int64_t ahead, bool critical);
void log_held_for_cores(pid_t build, std::int64_t ahead);
void log_started(pid_t build, std::int64_t jobs, std::int64_t cores, std::int64_t others);

}  // namespace qv::platform
