#include "bridge/token.h"

#include "base/files.h"
#include "base/text.h"

namespace qv {

std::string bridge_token(const std::string& file, const std::string& seed) {
  if (file.empty()) return seed;
  const auto content = files::read(file);
  if (!content || !text::is_utf8(*content)) return seed;
  const std::string_view token = text::trimmed(*content);
  return token.empty() ? seed : std::string(token);
}

}  // namespace qv
