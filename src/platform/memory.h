#pragma once

#include <cstddef>

namespace qv::platform {

// Asks for large pages, where the system has them, for some megabytes or more that are about to
// be filled. Does nothing for less; never fails.
void prefer_large_pages(void* memory, std::size_t bytes);

// Hands memory that has been freed back to the system, for a process that sleeps now.
void give_back_memory();

}  // namespace qv::platform
