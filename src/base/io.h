#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Descriptors read and written to the end, whatever signals and short counts intervene.
namespace qv::io {

// Everything up to end of file, waiting where the descriptor is non-blocking; absent on an
// error, with errno set: EFBIG beyond `limit` bytes.
[[nodiscard]] std::optional<std::string> read_to_end(int fd, std::size_t limit);

// Writes all bytes, waiting where the descriptor is non-blocking. False with errno set.
[[nodiscard]] bool write_all(int fd, std::string_view bytes);

// Whether a pipe or socket has lost its reader, or a terminal its line. Never waits.
[[nodiscard]] bool reader_has_gone(int fd);

// Opens /dev/null on each of the descriptors 0 to 2 that is closed, so that nothing
// opened later can be mistaken for a standard stream.
void occupy_standard_descriptors();

}  // namespace qv::io
