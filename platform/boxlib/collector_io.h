// The file operations of the garbage collector, replaceable so that tests
// can make any one of them fail.
#pragma once

#include <sys/types.h>

#include <cstddef>

struct CollectorIo {
  ssize_t (*write)(int fd, const void* buffer, size_t count);
  int (*fsync)(int fd);
  int (*rename)(const char* from, const char* to);
};

// The real operations by default.
extern CollectorIo collectorIo;

// The new box is written in pieces of this size.
inline constexpr size_t kCollectorWriteChunk = 16 * 1024;
