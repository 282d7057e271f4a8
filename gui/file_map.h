// The picture of a box file from its first byte to its last, as plain data:
// the stretches its header places (header, default offset table, item
// info), then every card of the trace at its offset and length, classed by
// what the analysis and the record map make of it, and the records the
// lost-and-found scan finds.  The map view draws it; runs() merges what a
// pixel cannot show apart, so that 65,000 cards draw as a few thousand
// rectangles and a damaged card is never hidden by its sound neighbours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class RecordListing;

enum class MapClass : uint8_t {
  kUnused,        // no structure the header or the chain places
  kHeader,        // the 72-byte box header
  kDefaultTable,  // the default offset table
  kItemInfo,      // the item info (field table)
  kSound,         // a normal card its checks pass
  kGarbage,       // a deleted (garbage) card
  kSystem,        // a system card other than those below
  kOffsetCard,
  kIndexCard,
  kTerminator,
  kDamaged,  // a card with an Error or a Critical, or whose bytes run past the end
  kSkipped,  // card area bytes the trace skipped, or read as garbage data and salvaged past
  kFound,    // a record the lost-and-found scan found outside the chain
  kBehind,   // bytes behind the last card the trace read
  kCount
};

// How much a class matters where a pixel holds several: the damage first.
int mapPriority(MapClass c);

struct MapSegment {
  uint64_t from = 0;  // [from, to) in the file
  uint64_t to = 0;
  MapClass kind = MapClass::kUnused;
  int32_t card = -1;    // index in the trace's card list, or -1
  int32_t record = -1;  // index in the listing's records, or -1
};

class FileMap {
 public:
  FileMap() = default;
  // The map of the box the listing lists.
  explicit FileMap(const RecordListing& listing);

  uint64_t size() const { return size_; }
  // In file order, each byte in exactly one.
  const std::vector<MapSegment>& segments() const { return segments_; }
  // The segment holding the byte at offset; -1 when it is past the end.
  int64_t segmentAt(uint64_t offset) const;
  // Of the segments that share the bytes [from, to), the one that matters
  // most (the first of them on a tie); -1 when there is none.
  int64_t mostImportant(uint64_t from, uint64_t to) const;

  // What pixels of bytesPerPixel bytes each show: pixel p holds the bytes
  // [p * bytesPerPixel, (p + 1) * bytesPerPixel) and takes the class of
  // the segment that matters most among them; neighbours of one class make
  // one run.
  struct Run {
    uint64_t firstPixel = 0;
    uint64_t pixels = 0;
    MapClass kind = MapClass::kUnused;
  };
  std::vector<Run> runs(double bytesPerPixel) const;
  // The bytes [first, second) pixel p shows: at least one.
  std::pair<uint64_t, uint64_t> pixelBytes(uint64_t p, double bytesPerPixel) const;

 private:
  uint64_t size_ = 0;
  std::vector<MapSegment> segments_;
};
