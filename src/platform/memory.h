#pragma once

#include <cstddef>

namespace qv::platform {

// Announces that about `bytes` of memory will be allocated and filled soon. Where the
// system has large pages for such a case they are asked for; filling memory page by small
// page would cost more than reading what goes into it. Never fails.
void expect_large_memory(std::size_t bytes);

}  // namespace qv::platform
