#include "base/nearest.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"

namespace qv::text {

namespace {

// A slip in a short word makes another word, so the shorter the word the fewer are forgiven.
std::size_t forgiven(std::size_t length) { return length <= 4 ? 1 : length <= 8 ? 2 : 3; }

std::string without_dashes(std::string_view word) {
  return lowered(word.substr(std::min(word.find_first_not_of('-'), word.size())));
}

}  // namespace

// Row by row, where a row holds the distances from a beginning of `one` to each of `other`.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> before_last;
  std::vector<std::size_t> last;
  std::vector<std::size_t> row(other.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= one.size(); ++i) {
    before_last = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j < row.size(); ++j) {
      const bool same = one[i - 1] == other[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
      const bool exchanged =
          i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (exchanged) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
  }
  return row.back();
}

std::string_view nearest(std::string_view typed, std::span<const std::string_view> names) {
  constexpr std::size_t kLongest = 64;  // nobody mistypes more
  const std::string word = without_dashes(typed);
  if (word.empty() || word.size() > kLongest) return "";
  std::string_view best;
  std::size_t best_distance = kLongest;
  for (const std::string_view name : names) {
    const std::string candidate = without_dashes(name);
    const std::size_t found = distance(word, candidate);
    if (found >= best_distance || found > forgiven(std::max(word.size(), candidate.size()))) {
      continue;
    }
    best = name;
    best_distance = found;
  }
  return best;
}

}  // namespace qv::text
