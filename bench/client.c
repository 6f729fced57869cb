/* One exchange with a bridge and nothing else: bench_client SOCKET REQUEST. */
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

int main(int argc, char** argv) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  char reply[65536];
  size_t used = 0;
  ssize_t count;
  int connection = socket(AF_UNIX, SOCK_STREAM, 0);
  if (argc != 3 || connection < 0) return 2;
  strncpy(address.sun_path, argv[1], sizeof address.sun_path - 1);
  if (connect(connection, (struct sockaddr*)&address, sizeof address) != 0) return 3;
  if (write(connection, argv[2], strlen(argv[2])) < 0 || write(connection, "\n", 1) < 0) return 3;
  shutdown(connection, SHUT_WR);
  while ((count = read(connection, reply + used, sizeof reply - used)) > 0) used += (size_t)count;
  return write(STDOUT_FILENO, reply, used) < 0;
}
