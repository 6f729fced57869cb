#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <memory>

namespace qv::platform {

void prefer_large_pages(void* memory, std::size_t bytes) {
  constexpr std::size_t kLargePage = std::size_t{2} << 20;
  // The advice is for whole pages, and the first of them has to begin inside.
  if (std::align(kLargePage, kLargePage, memory, bytes) == nullptr) return;
  ::madvise(memory, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);
}

void give_back_memory() {
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

}  // namespace qv::platform
