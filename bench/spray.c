/* spray MEGABYTES: writes that much to standard output, 64 KiB at a time. */
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char** argv) {
  static char piece[65536];
  long pieces = (argc > 1 ? atol(argv[1]) : 1) * 16;
  memset(piece, 'x', sizeof piece);
  while (pieces-- > 0) {
    size_t done = 0;
    while (done < sizeof piece) {
      ssize_t count = write(1, piece + done, sizeof piece - done);
      if (count <= 0) return 1;
      done += (size_t)count;
    }
  }
  return 0;
}
