// The log is written by a build that may be killed between any two bytes and read by
// builds that must not care: a frame counts once all of it is there, and only an exit
// frame says that the output is complete.

#include "builds/log.h"

#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace qv::build {

namespace {

constexpr std::int32_t kLargestStatus = 255;

void put_big_endian(unsigned char* out, std::uint32_t number) {
  for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(number >> (24 - 8 * i));
}

std::uint32_t big_endian(const char* bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number = number << 8U | static_cast<unsigned char>(bytes[i]);
  return number;
}

// Writes both pieces whole; false on an error.
bool write_both(int fd, std::span<const unsigned char> header, std::string_view payload) {
  const std::size_t total = header.size() + payload.size();
  std::size_t done = 0;
  while (done < total) {
    const std::size_t of_header = std::min(done, header.size());
    const std::size_t of_payload = done - of_header;
    iovec parts[2] = {
        {const_cast<unsigned char*>(header.data()) + of_header, header.size() - of_header},
        {const_cast<char*>(payload.data()) + of_payload, payload.size() - of_payload}};
    const ssize_t count = ::writev(fd, parts, 2);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

bool BuildLogWriter::append_output(int stream, std::string_view bytes) {
  if (size_ + static_cast<off_t>(BuildLog::kHeaderSize + bytes.size()) > BuildLog::kLargestLog) {
    close();
  }
  return append(stream == 1 ? BuildLog::kOutput : BuildLog::kError, bytes);
}

bool BuildLogWriter::append_exit(std::int32_t value) {
  unsigned char bytes[4];
  put_big_endian(bytes, static_cast<std::uint32_t>(value));
  return append(BuildLog::kExit, {reinterpret_cast<const char*>(bytes), sizeof bytes});
}

bool BuildLogWriter::append(BuildLog::Kind kind, std::string_view payload) {
  if (!log_.valid()) return false;
  unsigned char header[BuildLog::kHeaderSize] = {kind};
  put_big_endian(header + 1, static_cast<std::uint32_t>(payload.size()));
  if (write_both(log_.get(), header, payload)) {
    size_ += static_cast<off_t>(sizeof header + payload.size());
    return true;
  }
  (void)!::ftruncate(log_.get(), size_);
  log_.reset();
  return false;
}

std::span<char> BuildLogParser::space() {
  if (begin_ > 0) std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  return std::span(buffer_).subspan(end_,
                                    std::min(BuildLog::kLargestPayload, buffer_.size() - end_));
}

std::optional<BuildLog::Item> BuildLogParser::next() {
  if (damaged_ || end_ - begin_ < BuildLog::kHeaderSize) return std::nullopt;
  const char* frame = buffer_.data() + begin_;
  const auto kind = static_cast<unsigned char>(*frame);
  const std::uint32_t length = big_endian(frame + 1);
  damaged_ = kind > BuildLog::kError || length > BuildLog::kLargestPayload ||
             (kind == BuildLog::kExit && length != 4);
  if (damaged_ || end_ - begin_ < BuildLog::kHeaderSize + length) return std::nullopt;
  begin_ += BuildLog::kHeaderSize + length;
  const char* payload = frame + BuildLog::kHeaderSize;
  if (kind == BuildLog::kExit) {
    const auto value = static_cast<std::int32_t>(big_endian(payload));
    damaged_ = value > kLargestStatus;
    return damaged_ ? std::nullopt : std::optional<BuildLog::Item>(BuildLog::Exit{value});
  }
  return BuildLog::Output{kind, {payload, length}};
}

}  // namespace qv::build
