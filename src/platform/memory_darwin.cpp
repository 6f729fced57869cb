#include "platform/memory.h"

namespace qv::platform {

void prefer_large_pages(void*, std::size_t) {}  // pages are large enough

void give_back_memory() {}  // the allocator of the system does so by itself

}  // namespace qv::platform
