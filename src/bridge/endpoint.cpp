#include "bridge/endpoint.h"

#include "base/files.h"
#include "base/text.h"

namespace qv::bridge {

std::string Endpoint::token() const {
  const auto content = token_file.empty() ? std::nullopt : files::read(token_file);
  if (!content || !text::is_utf8(*content)) return token_seed;
  const std::string_view token = text::trimmed(*content);
  return token.empty() ? token_seed : std::string(token);
}

}  // namespace qv::bridge
