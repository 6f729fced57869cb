#pragma once

// A machine made of nothing but a clock that jumps from event to event, processes that are
// builds, and chance. What happens between two calls of one build is that others act: a call
// that takes time lets the world go on from inside, so that every order of passes, deaths and
// changes can come about that real processes could bring about.

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "builds/queueing.h"
#include "shelf.h"

namespace qv::build::simulation {

// Chance, the same on every system for the same seed.
class Random {
 public:
  explicit Random(std::uint64_t seed) : numbers_(seed) {}

  std::uint64_t below(std::uint64_t count) { return numbers_() % count; }
  double fraction() { return static_cast<double>(numbers_() >> 11U) / 9007199254740992.0; }
  double between(double low, double high) { return low + (high - low) * fraction(); }
  bool chance(double probability) { return fraction() < probability; }

 private:
  std::mt19937_64 numbers_;
};

// Goes through the code of a build that is killed.
struct Killed {};

// A promise that was not kept, in a sentence.
struct Broken {
  std::string what;
};

enum class Stage { queueing, following, running, direct, ended };

// One build: its process, its tool, and how far it has come.
class Build final : public Surroundings {
 public:
  Build(World& world, pid_t process_id) : pid(process_id), ledger(world, *this), world_(world) {}

  double now() override;
  BuildMemory memory() override;
  bool is_focused() override;
  std::optional<std::string> find_key() override;
  bool is_inside_a_build() override { return parent != nullptr; }

  pid_t pid;
  double start_time = 0;
  bool release = false;
  bool keyed = false;
  bool alive = true;
  bool stopped = false;
  double stopped_at = 0;
  bool busy = false;  // in the middle of a call
  Stage stage = Stage::queueing;
  double wakes_at = 0;

  std::size_t folder = 0;
  std::string session;
  double key_seconds = 0;
  double tool_seconds = 0;  // without end for a server
  double tool_ends_at = 0;
  bool tool_dies = false;   // of a signal
  bool disk_fills = false;  // half-way through
  Build* parent = nullptr;  // the build whose tool started it
  int children = 0;

  std::optional<Queueing> queueing;
  LedgerInMemory ledger;
  std::shared_ptr<LogFile> log;  // its own, or its leader's
  BuildLease leader;
  bool followed_in_vain = false;
  bool dozed = false;  // was stopped in the middle of the last call
  int starts = 0;

  // What it was told last, to judge what it makes of it.
  BuildMemory reading;
  std::optional<double> critical_since;
  std::string key;
  double key_begun = 0;
  int locks_before_key = 0;
  std::optional<double> free_since;  // nobody is before it

 private:
  World& world_;
};

class World {
 public:
  // The world of this seed, with so many acts of chance before it calms down.
  // With `told`, every event is put into words.
  World(std::uint64_t seed, std::size_t acts, bool told);

  // Lives until everything has come to its end. Throws Broken.
  void live();

  [[nodiscard]] double now() const { return now_; }
  [[nodiscard]] double wall() const { return now_ + wall_offset_; }

  // A build's call takes so long; the others go on meanwhile.
  void pass(Build& build, double seconds);
  // The build may be stopped or killed here.
  void interrupt(Build& build);

  // The build that has this process id and lives; null when none does.
  [[nodiscard]] const Build* process(pid_t pid) const;
  [[nodiscard]] bool is_alive(const BuildLease& lease) const;

  [[nodiscard]] std::size_t steps() const { return steps_; }
  [[nodiscard]] std::size_t started() const { return started_; }
  [[nodiscard]] std::size_t followed() const { return followed_; }
  [[nodiscard]] const std::vector<std::string>& story() const { return story_; }

  Random random;
  Shelf shelf;
  BuildMemory machine;
  std::string focus;
  std::vector<int> versions{1, 1};  // of each folder's tree
  bool is_short = false;            // of descriptors: processes cannot be told about
  bool writes_fail = false;

 private:
  [[nodiscard]] bool only_servers_are_left() const;
  [[nodiscard]] bool step(double until);
  void act();
  void arrive(Build* parent);
  void stop(Build& build);
  void die(Build& build);
  void calm_down();
  [[nodiscard]] Build* any_build();
  [[nodiscard]] std::size_t alive_builds() const;
  void wake(Build& build);
  void ask(Build& build);
  void follow_on(Build& build);
  void start(Build& build, const Start& start);
  void give_up_log(Build& build);
  void end_tool(Build& build);
  void end(Build& build);

  void check_start(Build& build, const Start& start) const;
  void check_follow(const Build& build, const Follow& follow) const;
  void check_key(const Build& build) const;
  void check_patience();
  void check_all_is_gone();
  [[nodiscard]] bool is_free_to_start(Build& build) const;

  void tell(const std::string& what);
  void tell(const Build& build, const std::string& what);

  double now_ = 0;
  double wall_offset_ = 1.7e9;
  std::size_t acts_left_;
  double next_act_ = 0;
  double next_check_ = 0;
  bool calm_ = false;
  double last_end_ = 0;  // by which every build has to have ended that is no server
  std::vector<std::unique_ptr<Build>> builds_;
  std::size_t steps_ = 0;
  std::size_t started_ = 0;
  std::size_t followed_ = 0;
  bool told_;
  std::vector<std::string> story_;
};

}  // namespace qv::build::simulation
