// The bytes of one box file for one analysis: a file opened and mapped
// read-only, or bytes the caller holds in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "byte_view.h"
#include "findings.h"

class BoxFile : public Checker {
 public:
  // Opens and maps path.  Never fails visibly: the outcome shows in fd, size
  // and data, and problem says in words why there is no mapping.
  explicit BoxFile(const char* path);
  // Bytes in memory, which must outlive the BoxFile; nothing is opened.
  // Empty bytes count as a file that cannot be analysed, as an empty file does.
  explicit BoxFile(ByteView bytes);
  ~BoxFile();
  BoxFile(const BoxFile&) = delete;
  BoxFile& operator=(const BoxFile&) = delete;

  ByteView view() const { return ByteView(data, size); }

  // True when the file shrank while it was mapped: part of the mapping read
  // as zeros, and the analysis stopped delivering findings there.
  bool shrank() const;

  uint32_t size = 0;              // file size from fstat
  const uint8_t* data = nullptr;  // the whole file, read-only; null when there is none
  int fd = -1;                    // negative when no file was opened
  std::string problem;            // empty when data is set

 private:
  bool mapped_ = false;
};

// Reads the whole file at path into bytes, for an analysis in memory
// (BoxAnalysis(ByteView)) where mapping costs more than reading.  It refuses
// what BoxFile(path) refuses, in the same words, and a file that turns out
// shorter than its size "shrank while it was being read".  Returns the
// problem; empty when bytes hold the whole file.
std::string readBoxFile(const char* path, std::vector<uint8_t>& bytes);
