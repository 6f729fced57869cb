// What stays is a longest common subsequence of the lines between the common beginning and the
// common end. Its table is as large as the two middles multiplied, so very large ones are
// taken to have no line in common: the diff is then longer than it need be, and still true.

#include "line_diff.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "board/pages.h"

namespace qv::sandbox {

namespace {

using Lines = std::vector<std::string_view>;

// How many lines the rests of the two texts have in common, from each pair of lines on.
class CommonLines {
 public:
  CommonLines(const Lines& before, const Lines& after) : width_(after.size() + 1) {
    constexpr std::size_t kLargestTable = std::size_t{4} << 20;
    if (before.size() * after.size() > kLargestTable) return;
    counts_.resize((before.size() + 1) * width_);
    for (std::size_t i = before.size(); i-- > 0;) {
      for (std::size_t j = after.size(); j-- > 0;) {
        counts_[i * width_ + j] =
            before[i] == after[j] ? at(i + 1, j + 1) + 1 : std::max(at(i + 1, j), at(i, j + 1));
      }
    }
  }
  [[nodiscard]] std::uint32_t at(std::size_t i, std::size_t j) const {
    return counts_.empty() ? 0 : counts_[i * width_ + j];
  }

 private:
  std::size_t width_;
  std::vector<std::uint32_t> counts_;
};

}  // namespace

std::string line_diff(std::string_view before, std::string_view after) {
  Lines old = board::lines_of(before);
  Lines fresh = board::lines_of(after);
  const auto first = std::ranges::mismatch(old, fresh);
  const auto start = static_cast<std::size_t>(first.in1 - old.begin());
  old.erase(old.begin(), first.in1);
  fresh.erase(fresh.begin(), first.in2);
  while (!old.empty() && !fresh.empty() && old.back() == fresh.back()) {
    old.pop_back();
    fresh.pop_back();
  }
  const CommonLines common(old, fresh);
  std::string out;
  bool in_group = false;
  for (std::size_t i = 0, j = 0; i < old.size() || j < fresh.size();) {
    const bool both = i < old.size() && j < fresh.size();
    if (both && old[i] == fresh[j] && common.at(i, j) == common.at(i + 1, j + 1) + 1) {
      in_group = false;
      ++i, ++j;
      continue;
    }
    if (!in_group) {
      out +=
          "@@ -" + std::to_string(start + i + 1) + " +" + std::to_string(start + j + 1) + " @@\n";
      in_group = true;
    }
    const bool drops = i < old.size() && (!both || common.at(i + 1, j) >= common.at(i, j + 1));
    out.append(drops ? "-" : "+").append(drops ? old[i++] : fresh[j++]).append("\n");
  }
  return out;
}

}  // namespace qv::sandbox
