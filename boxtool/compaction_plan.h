// What the collector would do with a box it does not refuse, for the front
// ends that tell it before it runs (boxtool compact --dry-run, the window's
// Compact...): the garbage cards are dropped, everything before the first
// card and every other card is kept as it stands, and a missing
// terminator is added.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "box_analysis.h"

struct CompactionPlan {
  struct Dropped {
    size_t card;  // index in the card list
    uint32_t offset;
    uint64_t bytes;  // head and body
  };
  std::vector<Dropped> dropped;  // in chain order
  uint64_t droppedBytes = 0;
  bool addsTerminator = false;
  uint64_t sizeAfter = 0;  // the compacted box's size
};

CompactionPlan compactionPlan(const BoxAnalysis& a);
