// The offset table: file offsets of the cards indexed by card ID.  The
// default table holds IDs 1..500; offset cards (ID 0xFFF0) in the chain
// continue it, linked one to the next.  check() walks the runs of entries
// and checks every entry against the traced card list, in the offset table
// section (index -3).
#pragma once

#include <cstdint>
#include <vector>

#include "engine/byte_view.h"
#include "engine/card_chain.h"
#include "engine/findings.h"

struct OffsetSegment {
  uint32_t offset = 0;   // file offset of the first entry
  uint32_t firstId = 0;  // card ID of the first entry
  uint32_t count = 0;    // entries the run declares
};

class OffsetTable : public Checker {
 public:
  // fileStart is the mapping, regionStart the end of the header (72), where
  // the default table region begins.  True when no entry was bad.
  bool check(const uint8_t* fileStart, uint32_t regionStart, const cardChain& chain);

  // Checks the entries of one run that lie inside the file; returns the
  // number of bad entries it added.
  uint32_t checkSegment(const OffsetSegment& segment, const cardChain& chain);

  std::vector<OffsetSegment> segments;  // the runs visited, in walk order
  uint32_t goodEntries = 0;
  uint32_t badEntries = 0;

 private:
  ByteView file_;
};
