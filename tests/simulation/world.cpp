#include "world.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace qv::build::simulation {

namespace {

constexpr double kEver = std::numeric_limits<double>::infinity();
constexpr double kStartTime = 1e9;  // of the machine, on a clock that nobody steps
constexpr std::uint64_t kGiB = std::uint64_t{1} << 30;
constexpr std::size_t kMostBuilds = 12;
constexpr std::size_t kMostSteps = 1'000'000;
constexpr double kStandstill = 600;
constexpr int kCritical = 4;

// The order of the queue, told once more.
bool comes_before(const BuildLease& one, const BuildLease& other) {
  if (one.focused == other.focused) return one.queuedAt < other.queuedAt;
  return one.focused;
}

}  // namespace

double Build::now() { return world_.now(); }

BuildMemory Build::memory() {
  world_.interrupt(*this);
  reading = world_.machine;
  if (!reading.governed || reading.pressure < kCritical) {
    critical_since.reset();
  } else if (!critical_since) {
    critical_since = world_.now();
  }
  return reading;
}

bool Build::is_focused() { return !session.empty() && session == world_.focus; }

std::optional<std::string> Build::find_key() {
  key_begun = world_.now();
  key = session + " builds " + std::to_string(folder) + " at " +
        std::to_string(world_.versions[folder]);
  locks_before_key = ledger.locks_taken();
  world_.pass(*this, key_seconds);
  return key;
}

World::World(std::uint64_t seed, std::size_t acts, bool told)
    : random(seed), acts_left_(acts), told_(told) {
  constexpr int kCores[] = {1, 2, 3, 4, 6, 8, 12, 16};
  machine.cores = kCores[random.below(std::size(kCores))];
  machine.governed = random.chance(0.7);
  machine.available = 16 * kGiB;
  tell(std::to_string(machine.cores) + " cores" +
       (machine.governed ? "" : ", memory not governed"));
}

void World::live() {
  do {
    while (!only_servers_are_left()) {
      if (!step(kEver)) throw Broken{"somebody waits, and nothing will wake it"};
    }
    for (const auto& build : builds_) {
      if (build->stage != Stage::following) build->tool_ends_at = build->wakes_at = now_;
    }
  } while (alive_builds() > 0);
  check_all_is_gone();
}

// And whoever follows one.
bool World::only_servers_are_left() const {
  const auto is_server = [](const Build& build) {
    const bool runs = build.stage == Stage::running || build.stage == Stage::direct;
    return runs && build.tool_ends_at == kEver;
  };
  return calm_ && std::ranges::all_of(builds_, [&](const auto& build) {
           if (!build->alive || is_server(*build)) return true;
           return build->stage == Stage::following && is_alive(build->leader) &&
                  is_server(*process(build->leader.pid));
         });
}

// The next event up to that time; false when there is none.
bool World::step(double until) {
  Build* next = nullptr;
  double at = calm_ ? kEver : next_act_;
  for (const auto& build : builds_) {
    if (!build->alive || build->busy || build->stopped || build->wakes_at >= at) continue;
    next = build.get();
    at = build->wakes_at;
  }
  if (at > until || at == kEver) return false;
  now_ = std::max(now_, at);
  if (++steps_ > kMostSteps) throw Broken{"it goes on and on"};
  if (next != nullptr) {
    wake(*next);
  } else if (acts_left_ > 0) {
    --acts_left_;
    act();
  } else {
    calm_down();
  }
  if (now_ >= next_check_) check_patience();
  return true;
}

void World::pass(Build& build, double seconds) {
  const double end = now_ + seconds;
  while (build.alive && step(end)) {
  }
  if (build.alive) now_ = std::max(now_, end);
  while (build.alive && build.stopped && step(kEver)) {
  }
  if (!build.alive) throw Killed{};
}

void World::interrupt(Build& build) {
  if (calm_) return;
  if (random.chance(0.001)) {
    die(build);
    throw Killed{};
  }
  if (random.chance(0.0005)) {
    stop(build);
    pass(build, 0);
  }
}

const Build* World::process(pid_t pid) const {
  for (const auto& build : builds_) {
    if (build->alive && build->pid == pid) return build.get();
  }
  return nullptr;
}

bool World::is_alive(const BuildLease& lease) const {
  const Build* build = process(lease.pid);
  return build != nullptr && build->start_time == lease.startTime;
}

void World::act() {
  const double gap = random.fraction();
  next_act_ = now_ + (gap < 0.5    ? random.between(0, 0.2)
                      : gap < 0.9  ? random.between(0.2, 5)
                      : gap < 0.98 ? random.between(5, 60)
                                   : random.between(60, 900));
  constexpr int kPressures[] = {1, 1, 2, 4};
  Build* some = any_build();
  const std::uint64_t deed = random.below(100);
  if (deed < 50 || some == nullptr) return arrive(nullptr);
  if (deed < 56) return arrive(some);
  if (deed < 63) return die(*some);
  if (deed < 69) return stop(*some);
  if (deed < 76) {
    tell(*some, "is continued");
    some->stopped = false;
  } else if (deed < 82) {
    tell("a tree is edited");
    ++versions[random.below(versions.size())];
  } else if (deed < 86) {
    focus = random.chance(0.5) ? "a" : "b";
    tell("pane " + focus + " has the focus");
  } else if (deed < 90) {
    machine.pressure = kPressures[random.below(std::size(kPressures))];
    tell("the pressure is " + std::to_string(machine.pressure));
  } else if (deed < 93) {
    machine.available = random.below(20) * kGiB;
    tell("there is memory for " + std::to_string(*machine.available / kGiB) + " GiB");
  } else if (deed < 95) {
    shelf.held_by_stranger_until = now_ + random.between(0, 9);
    tell("somebody takes the lock for a while");
  } else if (deed < 97) {
    wall_offset_ += random.between(-90000, 90000);
    tell("the clock is set");
  } else if (deed < 98) {
    is_short = !is_short;
  } else {
    writes_fail = !writes_fail;
  }
}

void World::arrive(Build* parent) {
  const bool nested = parent != nullptr && !parent->busy &&
                      (parent->stage == Stage::running || parent->stage == Stage::direct);
  if (alive_builds() >= kMostBuilds || (parent != nullptr && !nested)) return;
  const auto is_taken = [&](pid_t pid) {
    return std::ranges::any_of(builds_, [&](const auto& build) {
      return build->pid == pid && (build->alive || build->start_time > kStartTime + now_ - 2);
    });
  };
  pid_t pid = 0;
  do {
    pid = 100 + static_cast<pid_t>(random.below(40));
  } while (is_taken(pid));
  Build& build = *builds_.emplace_back(std::make_unique<Build>(*this, pid));
  build.start_time = kStartTime + now_;
  build.folder = random.below(versions.size());
  constexpr const char* kSessions[] = {"", "a", "b"};
  build.session = kSessions[random.below(std::size(kSessions))];
  build.release = random.chance(0.2);
  build.keyed = random.chance(0.7);
  build.key_seconds = random.chance(0.1) ? random.between(1, 4) : random.between(0, 0.3);
  build.tool_seconds = random.chance(0.6) ? random.between(0.2, 5) : random.between(5, 40);
  if (parent == nullptr && random.chance(0.01)) build.tool_seconds = kEver;
  build.tool_dies = random.chance(0.1);
  build.disk_fills = random.chance(0.1);
  if (nested) {
    build.parent = parent;
    ++parent->children;
  }
  build.wakes_at = now_;
  tell(build, nested ? "arrives inside of " + std::to_string(parent->pid) : "arrives");
}

void World::stop(Build& build) {
  tell(build, "is stopped");
  build.stopped = build.dozed = true;
  build.stopped_at = now_;
  build.free_since.reset();
}

// What is in the middle of a call finds out when it goes on.
void World::die(Build& build) {
  tell(build, "is killed");
  end(build);
}

void World::calm_down() {
  tell("everything calms down");
  calm_ = true;
  machine.pressure = 1;
  machine.available = 64 * kGiB;
  is_short = writes_fail = false;
  shelf.held_by_stranger_until = now_;
  for (const auto& build : builds_) build->stopped = false;
  // Each may be behind a server that has its cores for so long, and behind all the others.
  last_end_ = now_ + (kStandstill * 2 + 200) * static_cast<double>(alive_builds() + 1);
}

Build* World::any_build() {
  std::vector<Build*> alive;
  for (const auto& build : builds_) {
    if (build->alive) alive.push_back(build.get());
  }
  return alive.empty() ? nullptr : alive[random.below(alive.size())];
}

std::size_t World::alive_builds() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(builds_, [](const auto& build) { return build->alive; }));
}

void World::wake(Build& build) {
  build.busy = true;
  build.dozed = false;
  try {
    switch (build.stage) {
      case Stage::queueing: ask(build); break;
      case Stage::following: follow_on(build); break;
      case Stage::running:
      case Stage::direct: end_tool(build); break;
      case Stage::ended: break;
    }
  } catch (const Killed&) {
  }
  build.busy = false;
  if (build.alive) return;
  build.stage = Stage::ended;
  build.queueing.reset();
}

void World::ask(Build& build) {
  if (!build.queueing) {
    BuildLease own;
    own.pid = build.pid;
    own.startTime = build.start_time;
    own.queuedAt = wall();
    build.queueing.emplace(std::move(own), build.release, build.keyed, build.ledger, build);
  }
  auto outcome = build.queueing->ask();
  if (!outcome) {
    tell(build, "runs directly");
    build.stage = Stage::direct;
    build.tool_ends_at = build.wakes_at = now_ + build.tool_seconds;
  } else if (auto* begun = std::get_if<Start>(&*outcome)) {
    start(build, *begun);
  } else if (auto* follow = std::get_if<Follow>(&*outcome)) {
    tell(build, "follows " + std::to_string(follow->leader.pid));
    check_follow(build, *follow);
    build.stage = Stage::following;
    build.leader = follow->leader;
    build.log = build.ledger.opened_log();
    build.wakes_at = now_ + random.between(0, 0.2);
  } else {
    tell(build, std::holds_alternative<Wait>(*outcome) ? "waits" : "holds");
    build.wakes_at = now_ + build.queueing->pause(random.fraction());
  }
}

void World::follow_on(Build& build) {
  const LogFile& log = *build.log;
  const Build* leader = is_alive(build.leader) ? process(build.leader.pid) : nullptr;
  const bool left = leader == nullptr || !log.linked ||
                    (leader->stopped && now_ - leader->stopped_at >= kStoppedSeconds);
  if (log.exit && *log.exit >= 0) {
    if (build.starts > 0) throw Broken{"a build ran, and then took another's result"};
    ++followed_;
    tell(build, "has the result");
    return end(build);
  }
  if (!log.exit && !left) {
    build.wakes_at = now_ + random.between(0.1, 0.5);
    return;
  }
  tell(build, "followed in vain");
  build.followed_in_vain = true;
  build.queueing->follow_nobody();
  build.stage = Stage::queueing;
  build.wakes_at = now_;
}

void World::start(Build& build, const Start& start) {
  tell(build, "starts with " + (start.jobs ? std::to_string(*start.jobs) : "all") + " jobs");
  check_start(build, start);
  ++started_;
  if (++build.starts > 1) throw Broken{"build " + std::to_string(build.pid) + " runs twice"};
  build.tool_ends_at = build.wakes_at = now_ + build.tool_seconds;
  build.stage = Stage::direct;
  if (!start.log.valid()) return;
  build.stage = Stage::running;
  build.log = build.ledger.opened_log();
  if (build.disk_fills && build.tool_seconds < kEver) build.wakes_at -= build.tool_seconds / 2;
}

void World::give_up_log(Build& build) {
  tell(build, "gives its log up");
  const auto lock = build.ledger.lock_briefly();
  build.ledger.remove_log(build.pid);
  if (lock == nullptr) return;
  build.queueing->lease().key.reset();
  build.queueing->lease().log.reset();
  build.ledger.write(build.queueing->lease());
}

void World::end_tool(Build& build) {
  if (std::exchange(build.disk_fills, false) && build.stage == Stage::running) {
    build.wakes_at = build.tool_ends_at;
    return give_up_log(build);
  }
  if (build.children > 0 || now_ < build.tool_ends_at) {
    build.wakes_at = std::max(build.tool_ends_at, now_ + 0.1);
    return;
  }
  if (build.stage == Stage::running) {
    if (build.log->linked) build.log->exit = build.tool_dies ? -9 : 3;
    const auto lock = build.ledger.lock_briefly();
    build.ledger.remove(build.pid);
    build.ledger.remove_log(build.pid);
  }
  tell(build, "ends");
  end(build);
}

// The process is gone, and whoever waits for its end is woken by that.
void World::end(Build& build) {
  build.alive = false;
  if (build.parent != nullptr) --build.parent->children;
  for (const auto& other : builds_) {
    if (!other->alive || other->busy || other->stage != Stage::queueing || !other->queueing)
      continue;
    const auto& awaited = other->queueing->waits_for();
    if (std::ranges::find(awaited, build.pid) != awaited.end()) other->wakes_at = now_;
  }
  if (build.busy) return;
  build.stage = Stage::ended;
  build.queueing.reset();
}

// Nobody starts out of turn, on cores that others have, or without memory.
void World::check_start(Build& build, const Start& start) const {
  check_key(build);
  if (build.dozed) return;
  const BuildLease& own = build.queueing->lease();
  BuildPlan::Load moving;
  BuildPlan::Load all;
  for (const auto& [pid, file] : shelf.leases) {
    const Build* other = is_alive(file.lease) ? process(pid) : nullptr;
    if (other == nullptr || other == &build || other->stopped) continue;
    const double age = std::max(wall() - file.changed_at_wall, now_ - file.changed_at);
    if (file.lease.running) {
      all.jobs += file.lease.jobs;
      ++all.builds;
      if (age >= kStandstill) continue;
      moving.jobs += file.lease.jobs;
      ++moving.builds;
    } else if (!own.focused && comes_before(file.lease, own)) {
      throw Broken{"build " + std::to_string(build.pid) + " starts before " + std::to_string(pid)};
    }
  }
  const std::int64_t cores = machine.cores;
  const std::int64_t jobs = start.jobs.value_or(start.cores);
  const std::int64_t budget = cores + cores / 2;
  if (jobs < 1 || jobs > std::max<std::int64_t>(cores, 2)) throw Broken{"a strange number of jobs"};
  if (!own.focused && moving.builds > 0) {
    if (moving.jobs + jobs > budget) throw Broken{"more jobs than there are cores for"};
    if (cores < 3 || moving.builds >= cores / 3) throw Broken{"too many builds at once"};
  }
  const bool has_cores_of_its_own =
      own.focused || all.builds == 0 ||
      (cores >= 3 && all.builds < cores / 3 && budget - all.jobs >= 2);
  if (!has_cores_of_its_own && jobs > 2) throw Broken{"cores that are only lent"};
  if (build.reading.governed && build.critical_since && now_ - *build.critical_since < 600 &&
      build.reading.pressure >= kCritical) {
    throw Broken{"a start without memory"};
  }
}

void World::check_follow(const Build& build, const Follow& follow) const {
  check_key(build);
  const bool right = follow.leader.running && follow.leader.key == build.key &&
                     follow.leader.pid != build.pid && !build.followed_in_vain;
  if (!right) throw Broken{"build " + std::to_string(build.pid) + " follows the wrong one"};
}

// What is acted on is what the tree was two seconds ago, or was found out for this very pass.
void World::check_key(const Build& build) const {
  if (!build.keyed || build.dozed || now_ - build.key_begun <= 2) return;
  if (build.ledger.locks_taken() > build.locks_before_key + 1) {
    throw Broken{"build " + std::to_string(build.pid) + " acts on an old key"};
  }
}

// Nobody waits for nothing, and nobody for ever.
void World::check_patience() {
  next_check_ = now_ + 1;
  const double longest = 10 + 5 * static_cast<double>(alive_builds());
  for (const auto& build : builds_) {
    if (!build->alive) continue;
    if (build->stage != Stage::queueing) {
      build->free_since.reset();
      continue;
    }
    if (calm_ && now_ > last_end_) {
      throw Broken{"build " + std::to_string(build->pid) + " never starts"};
    }
    if (build->busy || build->stopped || !build->queueing || !is_free_to_start(*build)) {
      build->free_since.reset();
    } else if (!build->free_since) {
      build->free_since = now_;
    } else if (now_ - *build->free_since > longest) {
      throw Broken{"build " + std::to_string(build->pid) + " waits for nothing"};
    }
  }
}

bool World::is_free_to_start(Build& build) const {
  const bool locked = shelf.locked_by != nullptr || shelf.held_by_stranger_until > now_;
  const bool plenty = machine.pressure == 1 && *machine.available >= 8 * kGiB;
  if (locked || is_short || !plenty) return false;
  const BuildLease& own = build.queueing->lease();
  return std::ranges::none_of(shelf.leases, [&](const auto& entry) {
    const BuildLease& lease = entry.second.lease;
    const Build* other = is_alive(lease) ? process(lease.pid) : nullptr;
    if (other == nullptr || other == &build || other->stopped) return false;
    return lease.running || comes_before(lease, own);
  });
}

// The next reader finds nothing but what it removes.
void World::check_all_is_gone() {
  Build reader(*this, 99);
  {
    const auto lock = reader.ledger.lock();
    if (lock == nullptr) throw Broken{"the lock is held by nobody"};
    static_cast<void>(reader.ledger.read_live(now_));
  }
  if (!shelf.leases.empty() || !shelf.logs.empty()) throw Broken{"leases or logs are left"};
}

void World::tell(const std::string& what) {
  if (told_) story_.push_back(std::to_string(now_) + "  " + what);
}

void World::tell(const Build& build, const std::string& what) {
  if (told_) tell("build " + std::to_string(build.pid) + " " + what);
}

}  // namespace qv::build::simulation
