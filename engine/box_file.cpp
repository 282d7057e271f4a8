#include "box_file.h"

#include "mapping_guard.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

BoxFile::BoxFile(const char* path) {
  // O_NONBLOCK keeps a FIFO from blocking the open; regular files ignore it.
  fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    problem = std::strerror(errno);
    return;
  }
  struct stat st;
  if (fstat(fd, &st) != 0) {
    problem = std::strerror(errno);
    return;
  }
  // Only regular files are analysed: a FIFO or a device could block or never end.
  if (S_ISDIR(st.st_mode)) {
    problem = std::strerror(EISDIR);
    return;
  }
  if (!S_ISREG(st.st_mode)) {
    problem = "Not a regular file";
    return;
  }
  // Offsets in a box file are 32 bits wide; a larger file cannot be one.
  if (static_cast<uint64_t>(st.st_size) > UINT32_MAX) {
    problem = "File too large to be a box file";
    return;
  }
  size = static_cast<uint32_t>(st.st_size);
  if (size == 0) {
    problem = "Empty file";
    return;
  }
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
