// Coordinated builds in made-up worlds, one after another, until the time is over or a promise
// is not kept. Then the seed is printed, and what happened in the shortest world of that seed
// in which it is not kept either.
//
//   simulation SECONDS [SEED]        starts with a seed of its own without one
//   simulation --seed SEED ACTS      tells that world's story

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "world.h"

namespace {

using namespace qv::build::simulation;

// The promise that is not kept; empty when all are.
std::string broken_in(World& world) {
  try {
    world.live();
  } catch (const Broken& promise) {
    return promise.what;
  }
  return "";
}

int tell(std::uint64_t seed, std::size_t acts) {
  World world(seed, acts, true);
  const std::string broken = broken_in(world);
  for (const std::string& line : world.story()) std::printf("%s\n", line.c_str());
  std::printf("seed %llu, %zu acts: %s\n", static_cast<unsigned long long>(seed), acts,
              broken.empty() ? "every promise was kept" : broken.c_str());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--seed") == 0) {
    return tell(std::strtoull(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10));
  }
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
  using Clock = std::chrono::steady_clock;
  std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : std::random_device()();
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  std::size_t worlds = 0;
  std::size_t steps = 0;
  std::size_t started = 0;
  std::size_t followed = 0;
  std::printf("from seed %llu on\n", static_cast<unsigned long long>(seed));
  for (; Clock::now() < end; ++seed, ++worlds) {
    const std::size_t acts = 5 + Random(seed).below(45);
    World world(seed, acts, false);
    if (!broken_in(world).empty()) {
      std::size_t fewest = 0;
      for (; fewest < acts; ++fewest) {
        World shorter(seed, fewest, false);
        if (!broken_in(shorter).empty()) break;
      }
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
