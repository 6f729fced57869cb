#include <sha2.h>

#include <cstdint>

#include "platform/sha256.h"

namespace qv::platform {

std::string sha256_hex(std::string_view bytes) {
  char digits[SHA256_DIGEST_STRING_LENGTH];
  ::SHA256Data(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), digits);
  return std::string(digits);
}

}  // namespace qv::platform
