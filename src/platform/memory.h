#pragma once

namespace qv::platform {

// Hands memory that has been freed back to the system, for a process that sleeps now.
void give_back_memory();

}  // namespace qv::platform
