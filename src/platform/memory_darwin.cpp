#include "platform/memory.h"

namespace qv::platform {

void give_back_memory() {}  // the allocator of the system does so by itself

}  // namespace qv::platform
