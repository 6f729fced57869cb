#include <string_view>

#include "base/io.h"
#include "build/entry.h"

int main(int argc, char** argv) {
  qv::io::occupy_standard_descriptors();
  if (argc > 1 && std::string_view(argv[1]) == "__build") {
    return qv::build::run(argv[0], argv + 2);
  }
  return 0;
}
