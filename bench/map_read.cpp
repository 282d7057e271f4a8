// The yardstick for the command line's speed: the plainest whole-process
// read of a file through a mapping.  It maps the file read-only, as vorn
// does, adds up every byte and prints the sum.
//
//   map_read FILE
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: map_read FILE\n", stderr);
    return 2;
  }
  const int fd = open(argv[1], O_RDONLY);
  struct stat st;
  if (fd < 0 || fstat(fd, &st) != 0 || st.st_size == 0) {
    std::perror(argv[1]);
    return 1;
  }
  const auto size = static_cast<size_t>(st.st_size);
  void* map = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  if (map == MAP_FAILED) {
    std::perror(argv[1]);
    return 1;
  }
  const auto* bytes = static_cast<const uint8_t*>(map);
  uint64_t sum = 0;
  for (size_t i = 0; i < size; ++i) sum += bytes[i];
  std::printf("%llu\n", static_cast<unsigned long long>(sum));
  munmap(map, size);
  close(fd);
  return 0;
}
