// The offset table: file offsets of the cards indexed by card ID.  The
// default table holds IDs 1..500; offset cards (ID 0xFFF0) in the chain
// continue it, linked one to the next.  check() walks the runs of entries
// and checks every entry against the traced card list, in the offset table
// section (index -3).
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "byte_view.h"
#include "card_chain.h"
#include "findings.h"

// One run of entries.
struct OffsetSegment {
  uint32_t offset = 0;   // file offset of the first entry
  uint32_t firstId = 0;  // card ID of the first entry
  uint32_t count = 0;    // entries the run declares
  int32_t card = -1;     // the offset card holding the run; -1 for the default table
};

// Walks the chain of runs: the default table first, then each offset card
// its predecessor's link leads to.  The walk never visits an offset card
// twice, so it ends on every file.
class OffsetChainWalker {
 public:
  // Where the link behind the current run leads.
  struct Link {
    enum Kind {
      kEnd,            // outside the file, or no card starts there
      kNotOffsetCard,  // a card that is not an offset card
      kLoop,           // an offset card already walked
      kOffsetCard,     // the next run
    } kind = kEnd;
    uint32_t offset = 0;  // the link's value
    int32_t card = -1;    // the card found there
  };

  OffsetChainWalker(ByteView file, const cardChain& chain);

  const OffsetSegment& run() const { return run_; }
  Link link() const;
  // Moves to the run of the offset card the link leads to; false, staying
  // put, when the link leads nowhere else.
  bool advance();

 private:
  ByteView file_;
  const cardChain& chain_;
  OffsetSegment run_;
  std::unordered_set<uint32_t> walked_;
};

// Every run the walk visits, in order.
std::vector<OffsetSegment> offsetRuns(ByteView file, const cardChain& chain);

class OffsetTable : public Checker {
 public:
  // fileStart is the mapping, of the cardChain's size; regionStart is where
  // the default table's region begins (72, behind the header), given as the
  // handheld's tool gives it: the table is read at its fixed place whatever
  // the header says.  True when no entry was bad.
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
