#include "platform/memory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <memory>

namespace qv::platform {

void prefer_large_pages(void* memory, std::size_t bytes) {
  constexpr std::size_t kLargePage = std::size_t{2} << 20;
  if (bytes < 2 * kLargePage) return;  // the advice is for whole pages, of which one begins inside
  std::align(kLargePage, kLargePage, memory, bytes);
  ::madvise(memory, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);
}

void give_back_memory() {
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

}  // namespace qv::platform
