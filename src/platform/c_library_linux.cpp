#include "platform/c_library.h"

#include <climits>  // any header of glibc's announces it

#ifdef __GLIBC__
#include <gnu/libc-version.h>
#endif

#ifdef _LIBCPP_VERSION
#include <cstddef>

// Libc++ would tell the type of an exception that nobody catches the way it is written in the
// source. Here none gets that far, and to know how would take 140 KB of the program and a part of
// the relocations at each start.
extern "C" char* __cxa_demangle(const char*, char*, std::size_t*, int* status) {
  if (status != nullptr) *status = -1;
  return nullptr;
}
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
