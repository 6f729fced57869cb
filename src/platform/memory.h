#pragma once

#include <cstddef>

namespace qv::platform {

// Asks for large pages where the system has them for memory that is about to be filled: page by
// small page that would cost more than to read what goes into it. Never fails.
void prefer_large_pages(void* memory, std::size_t bytes);

// Hands memory that has been freed back to the system, for a process that sleeps now.
void give_back_memory();

}  // namespace qv::platform
