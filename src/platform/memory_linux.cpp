#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdlib>

#include "platform/memory.h"

namespace qv::platform {

// The allocator is made to keep one contiguous heap, the heap is grown once without being
// touched, and large pages are advised for the new part.
void expect_large_memory(std::size_t bytes) {
#ifdef __GLIBC__
  ::mallopt(M_MMAP_MAX, 0);
  ::mallopt(M_TRIM_THRESHOLD, INT_MAX);
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  const auto end_before = reinterpret_cast<std::uintptr_t>(::sbrk(0));
  void* volatile growth = std::malloc(bytes);  // volatile: the pair would be optimised away
  std::free(growth);
  const auto end = reinterpret_cast<std::uintptr_t>(::sbrk(0));
  const std::uintptr_t start = (end_before + kLargePage - 1) / kLargePage * kLargePage;
  if (end > start) ::madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
#else
  static_cast<void>(bytes);
#endif
}

void give_back_memory() {
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

}  // namespace qv::platform
