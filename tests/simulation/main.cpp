// Coordinated builds in made-up worlds, one after another, until the time is over or a promise
// is not kept. Then the seed is printed, and what happened in the shortest world of that seed
// in which it is not kept either.
//
//   simulation SECONDS [SEED]        starts with a seed of the clock's without one
//   simulation --seed SEED ACTS      tells that world's story

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "world.h"

namespace {

using namespace qv::build::simulation;

std::optional<std::string> broken_in(std::uint64_t seed, std::size_t acts) {
  World world(seed, acts, false);
  try {
    world.live();
  } catch (const Broken& promise) {
    return promise.what;
  }
  return std::nullopt;
}

int tell(std::uint64_t seed, std::size_t acts) {
  World world(seed, acts, true);
  std::string end = "every promise was kept";
  try {
    world.live();
  } catch (const Broken& promise) {
    end = promise.what;
  }
  for (const std::string& line : world.story()) std::printf("%s\n", line.c_str());
  std::printf("seed %llu, %zu acts: %s\n", static_cast<unsigned long long>(seed), acts,
              end.c_str());
  return 1;
}

std::size_t acts_of(std::uint64_t seed) { return 5 + Random(seed).below(45); }

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--seed") == 0) {
    return tell(std::strtoull(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10));
  }
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
  using Clock = std::chrono::steady_clock;
  const auto clock = std::chrono::system_clock::now().time_since_epoch();
  std::uint64_t seed =
      argc > 2 ? std::strtoull(argv[2], nullptr, 10) : static_cast<std::uint64_t>(clock.count());
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  std::size_t worlds = 0;
  std::size_t steps = 0;
  std::size_t started = 0;
  std::size_t followed = 0;
  std::printf("from seed %llu on\n", static_cast<unsigned long long>(seed));
  for (; Clock::now() < end; ++seed, ++worlds) {
    const std::size_t acts = acts_of(seed);
    World world(seed, acts, false);
    try {
      world.live();
    } catch (const Broken&) {
      std::size_t fewest = 0;
      while (fewest < acts && !broken_in(seed, fewest)) ++fewest;
      return tell(seed, fewest);
    }
    steps += world.steps();
    started += world.started();
    followed += world.followed();
  }
  std::printf("%zu schedules, %zu steps, %zu builds started, %zu followed\n", worlds, steps,
              started, followed);
  if (started == 0 || followed == 0) return 1;
  std::printf("1 passed, 0 failed\n");
  return 0;
}
