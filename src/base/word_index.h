#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/text.h"

namespace qv {

// A few words that are known when the program is compiled, each found by its length, which few
// of them share.
template <std::size_t N>
class WordIndex {
 public:
  static constexpr std::size_t kNone = N;

  explicit constexpr WordIndex(const std::array<std::string_view, N>& words) : words_(words) {
    std::uint8_t placed = 0;
    for (std::size_t length = 0; length <= kLongest; ++length) {
      for (std::size_t i = 0; i < N; ++i) {
        if (words[i].size() == length) order_[placed++] = static_cast<std::uint8_t>(i);
      }
      first_[length + 1] = placed;
    }
    if (placed != N) throw "a word is too long";  // when compiled
  }

  // Where the word stands among them; kNone when it is none of them.
  [[nodiscard]] std::size_t find(std::string_view word) const {
    if (word.size() > kLongest) return kNone;
    for (std::size_t at = first_[word.size()]; at < first_[word.size() + 1]; ++at) {
      if (text::same(words_[order_[at]], word)) return order_[at];
    }
    return kNone;
  }

 private:
  static constexpr std::size_t kLongest = 63;
  static_assert(N < 256);

  std::array<std::string_view, N> words_;
  std::array<std::uint8_t, N> order_{};             // by length
  std::array<std::uint8_t, kLongest + 2> first_{};  // in that order, of each length
};

}  // namespace qv
