#include "platform/c_library.h"

namespace qv::platform {

std::string c_library() { return "libSystem"; }

}  // namespace qv::platform
