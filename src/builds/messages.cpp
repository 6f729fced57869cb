#include "builds/messages.h"

#include <unistd.h>

#include <cstring>
#include <new>

#include "base/io.h"

namespace qv::build::messages {

namespace {

std::string other_builds(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? " other build" : " other builds");
}

}  // namespace

std::string waits_for_memory(std::int64_t ahead) {
  return "this Mac is low on memory, so this build waits for " + other_builds(ahead) +
         " to finish first";
}

std::string waits_for_cores(std::int64_t ahead) {
  return "waiting for " + other_builds(ahead) +
         " to finish first, so this Mac does not grind to a halt";
}

std::string uses_fewer_cores(std::int64_t jobs, std::int64_t cores, std::int64_t others) {
  const std::string share =
      "using " + std::to_string(jobs) + " of " + std::to_string(cores) + " cores";
  if (others == 0) {
    return share + ", because this Mac does not have the memory free for more";
  }
  return share + " while " + other_builds(others) + (others == 1 ? " runs" : " run");
}

std::string could_not_be_written(int error) {
  return std::string("this build's output could not be written: ") + std::strerror(error);
}

void tell(std::string_view sentence) try {
  (void)io::write_all(STDERR_FILENO, "quorvel: " + std::string(sentence) + "\n");
} catch (const std::bad_alloc&) {
  for (const std::string_view piece :
       {std::string_view("quorvel: "), sentence, std::string_view("\n")}) {
    (void)io::write_all(STDERR_FILENO, piece);
  }
}

}  // namespace qv::build::messages
