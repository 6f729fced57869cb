#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The readings of machine.h as Linux gives them, below any root directory: "" for the
// machine itself, a made-up /proc and /sys for a test.
namespace qv::platform {

class LinuxMachine {
 public:
  explicit LinuxMachine(std::string root) : root_(std::move(root)) {}

  [[nodiscard]] int pressure_level() const;
  [[nodiscard]] int cores_within_quota(int cores) const;
  [[nodiscard]] std::optional<std::uint64_t> available_memory() const;

 private:
  // What may still be used of what there is, in bytes.
  struct Room {
    std::uint64_t available = 0;
    std::uint64_t total = 0;
  };

  [[nodiscard]] std::optional<Room> machine_room() const;
  struct GroupFiles;
  static const GroupFiles kVersion1;
  static const GroupFiles kVersion2;

  [[nodiscard]] static std::optional<Room> group_room(const std::string& group,
                                                      const GroupFiles& names);
  [[nodiscard]] bool memory_is_scarce() const;
  template <class Visit>
  void for_each_room(Visit visit) const;

  std::string root_;
};

}  // namespace qv::platform
