// The salvage's heuristic scan: the first position from a start whose
// bytes decode as one encoded item length per field of the field table,
// each fitting its field.  A damaged stretch can be megabytes of bytes that
// never fit, so the scan does not test every position in full.
//
// A field of fixed length f takes only a length of 0 or f, whose encoding
// begins with 0x00, f, 0x80 or 0xC0.  The first such field k lies between
// k and 4k bytes behind a position (each length takes 1, 2 or 4 bytes).  So
// the scan first finds, a block at a time and 16 bytes at a step, the bytes
// where field k's length could begin; tests fields k and on from those
// (few, in garbage); and tests in full only the positions from which one
// that passed lies k to 4k bytes on.  The answer is the one a test of
// every position in order gives.
//
//   SalvageScan scan(file, fields);
//   uint64_t p = scan.next(start);   // file.size() when there is none
#pragma once

#include <cstdint>
#include <vector>

#include "byte_view.h"
#include "item_info.h"

class SalvageScan {
 public:
  SalvageScan(ByteView file, const ItemInfo& fields);

  // The first position in [start, file size) at which every field's length
  // is in the file and fits; the file size when there is none.
  uint64_t next(uint64_t start);

  // Whether fields from..count-1 decode and fit from position at on.
  bool fitsFrom(uint64_t at, int from) const;

  uint32_t size() const { return file_.size(); }

 private:
  // The positions in [from, to) where a test in full is worth it, as bits.
  void candidates(uint64_t from, uint64_t to, std::vector<uint64_t>& bits);

  ByteView file_;
  std::vector<uint32_t> fixed_;  // each field's fixed length; 0 for any
  int firstFixed_ = -1;          // the first field of fixed length; -1 when none has one
  // The last answer and where its scan began: every position in between
  // was tested and failed, so a later scan from there has the same answer.
  uint64_t lastStart_ = UINT64_MAX;
  uint64_t lastAnswer_ = 0;
  std::vector<uint64_t> block_;  // scratch: candidate bits of one block
};
