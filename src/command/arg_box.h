#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace qv {

// The flags that were given. A flag of another kind than asked for reads as absent.
class ArgBox {
 public:
  using Value = std::variant<std::string, std::int64_t, bool, std::vector<std::string>>;

  std::map<std::string, Value, std::less<>> values;

  [[nodiscard]] bool has(std::string_view name) const { return values.contains(name); }
  [[nodiscard]] std::optional<std::string> text(std::string_view name) const {
    return value<std::string>(name);
  }
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view name) const {
    return value<std::int64_t>(name);
  }
  [[nodiscard]] std::optional<bool> boolean(std::string_view name) const {
    return value<bool>(name);
  }
  // Absent also when the flag was given without a single value.
  [[nodiscard]] std::optional<std::vector<std::string>> list(std::string_view name) const {
    return value<std::vector<std::string>>(name);
  }

  template <class T>
  [[nodiscard]] std::optional<T> value(std::string_view name) const {
    const auto found = values.find(name);
    const T* held = found == values.end() ? nullptr : std::get_if<T>(&found->second);
    if (held == nullptr) return std::nullopt;
    if constexpr (std::is_same_v<T, std::vector<std::string>>) {
      if (held->empty()) return std::nullopt;
    }
    return *held;
  }
};

}  // namespace qv
