#include "platform/memory.h"

#include <malloc.h>

namespace qv::platform {

void give_back_memory() {
#ifdef __GLIBC__
  ::malloc_trim(0);
#endif
}

}  // namespace qv::platform
