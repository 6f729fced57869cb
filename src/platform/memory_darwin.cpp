#include "platform/memory.h"

namespace qv::platform {

// Pages are large enough, and the allocator of the system gives out large areas as they
// are touched.
void expect_large_memory(std::size_t) {}

void give_back_memory() {}  // the allocator of the system does so by itself

}  // namespace qv::platform
