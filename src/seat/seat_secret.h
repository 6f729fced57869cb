#pragma once

#include <optional>
#include <string>
#include <string_view>

// The seat secret: what an external agent shows to get its seat back after a restart. Its
// file holds the secret on the first line and the notes socket that admitted the seat on
// the second, and is readable by nobody else from the moment it exists.
namespace qv::SeatSecret {

// The secret in the bridge's message about a join; absent when it brings none.
[[nodiscard]] std::optional<std::string> in_message(std::string_view message);

// The stored secret; absent when there is none that can be read.
[[nodiscard]] std::optional<std::string> read(const std::string& file);

// Puts a new file in the place of the old one, which may be a link and is never written
// through. False with errno set when it cannot be written.
[[nodiscard]] bool store(const std::string& file, std::string_view secret, std::string_view socket);

}  // namespace qv::SeatSecret
