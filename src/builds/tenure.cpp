#include "builds/tenure.h"

#include "base/text.h"

namespace qv::build {

std::string mark_of(const platform::Boot& boot) {
  return boot.id + " " + boot.pid_namespace + " " +
         std::to_string(static_cast<std::int64_t>(boot.time));
}

Tenure judge_mark(const std::string& mark, const platform::Boot& boot, double& boot_time) {
  const auto words = text::split(mark, ' ');
  const auto time = words.size() == 3 ? text::whole_number(words[2]) : std::nullopt;
  if (!time || words[0] != boot.id) return Tenure::past;
  if (words[1] != boot.pid_namespace) return Tenure::elsewhere;
  boot_time = static_cast<double>(*time);
  return Tenure::ours;
}

}  // namespace qv::build
