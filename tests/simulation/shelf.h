#pragma once

// The ledger's files in memory, for all builds of a world, and the ledger as each build has it.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "builds/ledger.h"

namespace qv::build::simulation {

class Build;
class World;

constexpr double kStoppedSeconds = 2;  // before nobody waits for a stopped build any more

struct LeaseFile {
  BuildLease lease;
  double changed_at_wall = 0;
  double changed_at = 0;  // waking seconds, which no reader of a real file knows
  std::uint64_t version = 0;
};

// What a leader's log says by now.
struct LogFile {
  std::optional<int> exit;  // the frame at its end
  bool linked = true;
};

struct Shelf {
  std::map<pid_t, LeaseFile> leases;
  std::map<pid_t, std::shared_ptr<LogFile>> logs;
  const Build* locked_by = nullptr;
  double held_by_stranger_until = 0;
  std::uint64_t versions = 0;

  void remove_log(pid_t pid);
};

// What one build sees of the shelf. It is interrupted at its calls: others act meanwhile, and
// it may be stopped or killed at each.
class LedgerInMemory final : public BuildLedger {
 public:
  LedgerInMemory(World& world, Build& build) : world_(world), build_(build) {}

  [[nodiscard]] std::unique_ptr<Lock> lock() override;
  [[nodiscard]] std::unique_ptr<Lock> lock_briefly() override { return lock(); }
  void look_ahead() override;
  [[nodiscard]] std::vector<LiveLease> read_live(double now) override;
  [[nodiscard]] bool is_stopped(const BuildLease& lease, double now) override;
  bool write(const BuildLease& lease) override;
  void remove(pid_t pid) override;
  [[nodiscard]] std::string log_path(pid_t pid) const override;
  [[nodiscard]] Descriptor create_log(pid_t pid) override;
  [[nodiscard]] Descriptor open_log(const BuildLease& lease) override;
  void remove_log(pid_t pid) override;

  [[nodiscard]] const std::shared_ptr<LogFile>& opened_log() const { return opened_; }
  [[nodiscard]] int locks_taken() const { return locks_taken_; }

 private:
  struct Known {
    std::uint64_t version = 0;
    double since = 0;
    bool alive = false;
    bool looked_at = false;
    std::optional<double> stopped_since;
  };

  Known& find_out(const LeaseFile& file);

  World& world_;
  Build& build_;
  std::map<pid_t, Known> known_;
  std::shared_ptr<LogFile> opened_;
  int locks_taken_ = 0;
};

}  // namespace qv::build::simulation
