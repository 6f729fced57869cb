#pragma once

#include <cstddef>

namespace qv::platform {

// Announces that about `bytes` of memory will be allocated and filled soon, and never given
// back: the process ends before that would matter. Where the system has large pages for such a case
// they are asked for; filling memory page by small page would cost more than reading what goes into
// it. Never fails.
void expect_large_memory(std::size_t bytes);

// Hands memory that has been freed back to the system, for a process that sleeps now.
void give_back_memory();

}  // namespace qv::platform
