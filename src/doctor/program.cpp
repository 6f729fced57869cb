// The one file that is compiled anew when the commit changes.

#include "doctor/program.h"

#include "platform/c_library.h"

namespace qv::doctor {

Program this_program() {
  return {.version = QV_VERSION,
          .commit = QV_COMMIT,
          .compiler = QV_COMPILER,
          .libc = platform::c_library(),
          .target = QV_TARGET};
}

}  // namespace qv::doctor
