// A box file opened and mapped read-only for one analysis.
#pragma once

#include <cstdint>
#include <string>

#include "engine/byte_view.h"
#include "engine/findings.h"

class BoxFile : public Checker {
 public:
  // Opens and maps path.  Never fails visibly: the outcome shows in fd, size
  // and data, and problem says in words why there is no mapping.
  explicit BoxFile(const char* path);
  ~BoxFile();
  BoxFile(const BoxFile&) = delete;
  BoxFile& operator=(const BoxFile&) = delete;

  ByteView view() const { return ByteView(data, size); }

  // True when the file shrank while it was mapped: part of the mapping read
  // as zeros, and the analysis stopped delivering findings there.
  bool shrank() const;

  uint32_t size = 0;              // file size from fstat
  const uint8_t* data = nullptr;  // the whole file, read-only; null when not mapped
  int fd = -1;                    // negative when the file could not be opened
  std::string problem;            // empty when data is set
};
