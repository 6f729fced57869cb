#pragma once

#include <cstdint>

namespace qv::build::simulation {

// Chance, the same on every system for the same seed.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {  // an additive sequence, well mixed
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }
  std::uint64_t below(std::uint64_t count) { return next() % count; }
  double fraction() { return static_cast<double>(next() >> 11U) / 9007199254740992.0; }
  double between(double low, double high) { return low + (high - low) * fraction(); }
  bool chance(double probability) { return fraction() < probability; }

 private:
  std::uint64_t state_;
};

}  // namespace qv::build::simulation
