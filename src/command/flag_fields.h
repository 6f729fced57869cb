#pragma once

#include <cstddef>

#include "command/arg_box.h"

// Request builders say in tables which field of a request a flag fills.
namespace qv {

template <class Request, class Value>
struct FlagField {
  std::optional<Value> Request::*field;
  std::string_view flag;
};

// Fills each field of the table from its flag; a flag that was not given, or is of another
// kind, leaves its field absent.
template <class Request, class Value, std::size_t Count>
void fill(Request& request, const ArgBox& flags, const FlagField<Request, Value> (&table)[Count]) {
  for (const auto& [field, flag] : table) request.*field = flags.value<Value>(flag);
}

}  // namespace qv
