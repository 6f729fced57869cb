#pragma once

#include <cstddef>

// The largest reply takes tens of megabytes, and to get those page by small page costs more than
// to read it. Who obtains memory for it calls `prepare` before filling it; what the system at
// hand does then, main says.
namespace qv::large_memory {

inline void (*prepare)(void* memory, std::size_t bytes) = [](void*, std::size_t) {};

}  // namespace qv::large_memory
