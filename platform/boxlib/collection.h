// What the collector does with a box, for the collector itself and for the
// front ends that run it or tell what it would do (boxtool compact and info,
// the window's Garbage Collection): the rule by which it refuses a box and
// the plan of what it drops.  _BoxGarbageCollect refuses exactly the boxes
// for which collectionRefusal gives a reason, and writes what the plan says.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "box_analysis.h"

// Whether a finding with this code, delivered in the section or at the card
// index, makes the collector refuse the box: every Critical, and every
// Error but those the collection repairs (the header's totals and wrong
// offset table entries, all rewritten).  code may be a checker's level, the
// OR of the codes delivered against it.
bool refusesCollection(int32_t index, uint32_t code);

// The reason the collection of the analysed box is refused; empty when the
// collector compacts it.
std::string collectionRefusal(const BoxAnalysis& a);

// The compaction of a box the collector does not refuse: the garbage cards
// are dropped, everything before the first card and every other card is
// kept as it stands, and a missing terminator is added.
struct CompactionPlan {
  struct Dropped {
    size_t card;  // index in the card list
    uint32_t offset;
    uint64_t bytes;    // head and body
    size_t cards = 1;  // a run of empty deleted cards back to back is one entry
  };
  std::vector<Dropped> dropped;  // in chain order
  size_t droppedCards = 0;
  uint64_t droppedBytes = 0;
  bool addsTerminator = false;
  uint64_t sizeAfter = 0;  // the compacted box's size
};

CompactionPlan compactionPlan(const BoxAnalysis& a);

// Makes this thread's next _BoxGarbageCollect refuse (BOX_GC_CHANGED) a box
// that is no longer the file a front end analysed: another file, another
// size or another modification time.  What the front end told of the
// collection then holds for the box it collects.
void expectAnalysedBox(const struct stat& analysed);

// Why the last _BoxGarbageCollect of this thread that failed to read, lock,
// write or replace the box failed, in words ("No space left on device");
// empty when it gave no such reason.
std::string collectionFailure();

// The bytes a card takes in the box: the terminator two, every other card
// its head and body.
uint64_t cardBytes(const CardRecord& card, uint64_t fileSize);
