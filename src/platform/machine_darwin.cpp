#include "platform/machine.h"

#include <mach/mach.h>
#include <mach/mach_host.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <thread>

namespace qv::platform {

namespace {

std::optional<std::int32_t> system_value(const char* name) {
  std::int32_t value = 0;
  std::size_t size = sizeof value;
  if (::sysctlbyname(name, &value, &size, nullptr, 0) != 0 || size != sizeof value) {
    return std::nullopt;
  }
  return value;
}

int active_cores() {
  if (const auto cores = system_value("hw.activecpu")) return std::max(*cores, 1);
  return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

std::optional<std::uint64_t> available_memory() {
  const mach_port_t host = ::mach_host_self();
  vm_size_t page = 0;
  vm_statistics64_data_t pages{};
  mach_msg_type_number_t count = HOST_VM_INFO64_COUNT;
  const bool read =
      ::host_page_size(host, &page) == KERN_SUCCESS &&
      ::host_statistics64(host, HOST_VM_INFO64, reinterpret_cast<host_info64_t>(&pages), &count) ==
          KERN_SUCCESS;
  ::mach_port_deallocate(::mach_task_self(), host);
  if (!read) return std::nullopt;
  const std::uint64_t free = std::uint64_t{pages.free_count} + pages.inactive_count +
                             pages.purgeable_count + pages.speculative_count;
  return free * page;
}

}  // namespace

MachineReading read_machine() {
  return {system_value("kern.memorystatus_vm_pressure_level").value_or(1), active_cores(),
          available_memory()};
}

}  // namespace qv::platform
