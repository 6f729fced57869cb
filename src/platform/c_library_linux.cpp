#include "platform/c_library.h"

#include <climits>  // any header of glibc's announces it

#ifdef __GLIBC__
#include <gnu/libc-version.h>
#endif

namespace qv::platform {

std::string c_library() {
#ifdef __GLIBC__
  return std::string("glibc ") + ::gnu_get_libc_version();
#else
  return "musl";
#endif
}

}  // namespace qv::platform
