#include "box_file.h"

#include "mapping_guard.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Opens path read-only and makes sure it can hold a box file: a regular,
// non-empty file of at most 4 GiB.  The problem in words, empty when it can;
// fd stays open either way once the open succeeded, and size is set once the
// file is known to be regular and small enough.
std::string openBoxFile(const char* path, int& fd, uint32_t& size) {
  // O_NONBLOCK keeps a FIFO from blocking the open; regular files ignore it.
  fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return std::strerror(errno);
  struct stat st;
  if (fstat(fd, &st) != 0) return std::strerror(errno);
  // Only regular files are analysed: a FIFO or a device could block or never end.
  if (S_ISDIR(st.st_mode)) return std::strerror(EISDIR);
  if (!S_ISREG(st.st_mode)) return "Not a regular file";
  // Offsets in a box file are 32 bits wide; a larger file cannot be one.
  if (static_cast<uint64_t>(st.st_size) > UINT32_MAX) return "File too large to be a box file";
  size = static_cast<uint32_t>(st.st_size);
  if (size == 0) return "Empty file";
  return "";
}

}  // namespace

BoxFile::BoxFile(const char* path) {
  problem = openBoxFile(path, fd, size);
  if (!problem.empty()) return;
  void* mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  if (mapping == MAP_FAILED) {
    problem = std::strerror(errno);
    return;
  }
  data = static_cast<const uint8_t*>(mapping);
  mapped_ = true;
  mapping_guard::add(data, size);
}

BoxFile::BoxFile(ByteView bytes) : size(bytes.size()) {
  if (size == 0) {
    problem = "Empty file";
    return;
  }
  data = bytes.data();
}

bool BoxFile::shrank() const { return mapped_ && mapping_guard::lost(data); }

BoxFile::~BoxFile() {
  if (fd < 0) return;
  if (mapped_) {
    mapping_guard::remove(data);
    munmap(const_cast<uint8_t*>(data), size);
  }
  close(fd);
}

std::string readBoxFile(const char* path, std::vector<uint8_t>& bytes) {
  int fd = -1;
  uint32_t size = 0;
  std::string problem = openBoxFile(path, fd, size);
  if (problem.empty()) {
    bytes.resize(size);
    size_t done = 0;
    while (done < size) {
      const ssize_t n = read(fd, bytes.data() + done, size - done);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) problem = std::strerror(errno);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    if (problem.empty() && done < size) problem = "the file shrank while it was being read";
  }
  if (fd >= 0) close(fd);
  if (!problem.empty()) bytes.clear();
  return problem;
}
