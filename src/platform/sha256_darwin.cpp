#include <CommonCrypto/CommonDigest.h>

#include "platform/sha256.h"

namespace qv::platform {

std::string sha256_hex(std::string_view bytes) {
  CC_SHA256_CTX state;
  ::CC_SHA256_Init(&state);
  constexpr std::size_t kPiece = std::size_t{1} << 30;  // the length is a 32-bit number there
  for (; !bytes.empty(); bytes.remove_prefix(bytes.size() < kPiece ? bytes.size() : kPiece)) {
    const std::size_t length = bytes.size() < kPiece ? bytes.size() : kPiece;
    ::CC_SHA256_Update(&state, bytes.data(), static_cast<CC_LONG>(length));
  }
  unsigned char digest[CC_SHA256_DIGEST_LENGTH];
  ::CC_SHA256_Final(digest, &state);
  constexpr char kHex[] = "0123456789abcdef";
  std::string digits;
  for (const unsigned char byte : digest) {
    digits += kHex[byte >> 4U];
    digits += kHex[byte & 0xFU];
  }
  return digits;
}

}  // namespace qv::platform
