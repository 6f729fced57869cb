// Frames through the writer and the parser, in pieces of every size, and logs that no
// writer made.

#include "builds/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>

#include "base/io.h"

namespace qv::build {
namespace {

std::string frame(char kind, std::uint32_t length, std::string_view payload) {
  std::string bytes(1, kind);
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(length >> shift);
  return bytes.append(payload);
}

// What a parser makes of the bytes when they come in pieces: "1:text 2:text =value !".
std::string parsed(std::string_view bytes, std::size_t piece) {
  BuildLogParser parser;
  std::string seen;
  while (!bytes.empty()) {
    const auto space = parser.space();
    const std::size_t count = std::min({piece, bytes.size(), space.size()});
    EXPECT_GT(count, 0U);
    if (count == 0) return seen;
    bytes.copy(space.data(), count);
    bytes.remove_prefix(count);
    parser.added(count);
    while (const auto item = parser.next()) {
      if (const auto* exit = std::get_if<BuildLog::Exit>(&*item)) {
        seen += "=" + std::to_string(exit->value);
      } else {
        const auto& output = std::get<BuildLog::Output>(*item);
        seen += std::to_string(output.stream) + ":" + std::string(output.bytes) + " ";
      }
    }
    if (parser.damaged()) return seen + "!";
  }
  return seen;
}

TEST(BuildLog, ParserTakesFramesInPieces) {
  const std::string largest(BuildLog::kLargestPayload, 'x');
  const std::string cut = frame(1, 3, "abc");
  struct Row {
    std::string bytes;
    std::string expected;
  } const rows[] = {
      {"", ""},
      {frame(1, 3, "abc") + frame(2, 0, "") + frame(0, 4, {"\0\0\0\2", 4}), "1:abc 2: =2"},
      {frame(0, 4, "\xff\xff\xff\xf7"), "=-9"},
      {frame(1, 65536, largest) + frame(2, 65536, largest), "1:" + largest + " 2:" + largest + " "},
      {cut + cut.substr(0, 7), "1:abc "},
      {cut + frame(3, 3, "abc"), "1:abc !"},
      {cut + frame(1, 65537, largest), "1:abc !"},
      {cut + frame(2, 0xFFFFFFFF, ""), "1:abc !"},
      {cut + frame(0, 3, "abc"), "1:abc !"},
      {cut + frame(0, 5, "abcde"), "1:abc !"},
  };
  for (const Row& row : rows) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{4096}, std::size_t{65536}}) {
      EXPECT_EQ(parsed(row.bytes, piece), row.expected) << "in pieces of " << piece;
    }
  }
}

TEST(BuildLog, WriterMakesFramesAndEndsAtAWholeOne) {
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  const int fd = ::fileno(file);
  BuildLogWriter writer{Descriptor(::dup(fd))};
  EXPECT_TRUE(writer.append_output(1, "out"));
  EXPECT_TRUE(writer.append_output(2, "err"));
  EXPECT_TRUE(writer.append_exit(-15));

  // From here the file may not grow by another whole frame.
  const auto before = std::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  ::getrlimit(RLIMIT_FSIZE, &unlimited);
  rlimit tight = unlimited;
  tight.rlim_cur = 40;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
  EXPECT_FALSE(writer.append_output(1, "more than fits there"));
  ::setrlimit(RLIMIT_FSIZE, &unlimited);
  std::signal(SIGXFSZ, before);
  EXPECT_FALSE(writer.append_output(1, "x")) << "given up for good";

  ::lseek(fd, 0, SEEK_SET);
  const auto bytes = io::read_to_end(fd, 1000);
  std::fclose(file);
  EXPECT_EQ(bytes, frame(1, 3, "out") + frame(2, 3, "err") + frame(0, 4, "\xff\xff\xff\xf1"));
}

}  // namespace
}  // namespace qv::build
