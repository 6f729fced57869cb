#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The readings of machine.h as Linux gives them, below any root directory: "" for the
// machine itself, a made-up /proc and /sys for a test. What several of them rest on is read
// once for all, when the object is made.
namespace qv::platform {

class LinuxMachine {
 public:
  explicit LinuxMachine(std::string root);

  [[nodiscard]] int pressure_level() const;
  [[nodiscard]] int cores_within_quota(int cores) const;
  [[nodiscard]] std::optional<std::uint64_t> available_memory() const;

 private:
  // What may still be used of what there is, in bytes.
  struct Room {
    std::uint64_t available = 0;
    std::uint64_t total = 0;
  };

  struct GroupFiles;
  static const GroupFiles kVersion1;
  static const GroupFiles kVersion2;

  void look_at_memory();
  void look_at_groups();
  void look_at_group(const std::string& group, const GroupFiles& names);

  std::string root_;
  std::string groups_;       // that this process is in: a line for each hierarchy
  std::vector<Room> rooms_;  // on the machine and in every group that bounds this process
};

}  // namespace qv::platform
