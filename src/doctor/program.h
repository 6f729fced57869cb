#pragma once

#include "doctor/report.h"

namespace qv::doctor {

// What was set down when this program was built.
[[nodiscard]] Program this_program();

}  // namespace qv::doctor
