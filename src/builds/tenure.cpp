#include "builds/tenure.h"

#include "base/text.h"

namespace qv::build {

std::string mark_of(const platform::Boot& boot, double boot_time) {
  return boot.id + " " + boot.pid_namespace + " " +
         std::to_string(static_cast<std::int64_t>(boot_time));
}

Tenure judge_mark(const std::string& mark, const platform::Boot& boot,
                  std::optional<double>& boot_time) {
  const auto words = text::split(mark, ' ');
  const auto time = words.size() == 3 ? text::whole_number(words[2]) : std::nullopt;
  if (!time) return Tenure::unmarked;
  if (words[0] != boot.id) return Tenure::past;
  if (words[1] != boot.pid_namespace) return Tenure::elsewhere;
  boot_time = static_cast<double>(*time);
  return Tenure::ours;
}

Tenure look_at_mark(int directory, std::string& own_mark) {
  std::string mark;
  if (platform::read_mark(directory, mark) == platform::Mark::unsupported) return Tenure::ours;
  const auto boot = platform::this_boot();
  if (!boot) return Tenure::ours;
  std::optional<double> time;
  const Tenure whose = judge_mark(mark, *boot, time);
  if (!time) time = platform::boot_time_by_the_clock();
  if (!time) return Tenure::ours;
  platform::count_from_boot_time(*time);
  own_mark = mark_of(*boot, *time);
  return whose;
}

}  // namespace qv::build
