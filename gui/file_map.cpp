#include "file_map.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <unordered_map>

#include "box_format.h"
#include "export_records.h"
#include "finding_codes.h"

namespace {

// The stretches painted so far, by where they start; each byte in one.
using Canvas = std::map<uint64_t, MapSegment>;

// Makes a stretch start at at, splitting the one that holds it.
void splitAt(Canvas& canvas, uint64_t at) {
  auto it = canvas.upper_bound(at);
  if (it == canvas.begin()) return;
  --it;
  if (it->first == at || it->second.to <= at) return;
  MapSegment right = it->second;
  right.from = at;
  it->second.to = at;
  canvas.emplace_hint(std::next(it), at, right);
}

// Lays s over whatever the canvas holds in its bytes.
void paint(Canvas& canvas, const MapSegment& s) {
  if (s.from >= s.to) return;
  splitAt(canvas, s.from);
  splitAt(canvas, s.to);
  canvas.erase(canvas.lower_bound(s.from), canvas.lower_bound(s.to));
  canvas.emplace(s.from, s);
}

// [from, from + length) within the first size bytes.
MapSegment clipped(uint64_t from, uint64_t length, uint64_t size, MapClass kind) {
  const uint64_t start = std::min(from, size);
  return {start, start + std::min(length, size - start), kind};
}

MapClass systemClass(uint16_t id) {
  switch (id) {
    case box::kGarbageId:
      return MapClass::kGarbage;
    case box::kOffsetCardId:
      return MapClass::kOffsetCard;
    case box::kIndexCardId:
      return MapClass::kIndexCard;
    default:
      return MapClass::kSystem;
  }
}

}  // namespace

int mapPriority(MapClass c) {
  static constexpr int kPriorities[] = {0, 5, 4, 4, 1, 3, 2, 2, 2, 6, 10, 9, 8, 7};
  static_assert(std::size(kPriorities) == static_cast<size_t>(MapClass::kCount));
  return kPriorities[static_cast<size_t>(c)];
}

FileMap::FileMap(const RecordListing& listing) {
  const BoxAnalysis& a = *listing.box().analysis;
  const BoxAnalysis& t = *listing.trace().analysis;
  size_ = a.file.size;
  Canvas canvas;
  paint(canvas, {0, size_, MapClass::kUnused});

  // What the header places.  The card area is skipped where no card of the
  // trace lies.
  const uint64_t areaStart = std::min<uint64_t>(listing.original(listing.areaStart()), size_);
  paint(canvas, {areaStart, size_, MapClass::kSkipped});
  const HeaderCheck& h = *a.headerCheck;
  paint(canvas, clipped(h.defaultTableOffset(), box::kDefaultTableSize, size_, MapClass::kDefaultTable));
  const uint64_t items = h.itemInfoSize() ? h.itemInfoSize() : a.itemInfo->parsedSize;
  paint(canvas, clipped(h.itemInfoOffset(), items, size_, MapClass::kItemInfo));
  // A table the header places on itself does not hide it.
  paint(canvas, clipped(0, box::kHeaderSize, size_, MapClass::kHeader));

  // The cards of the trace, in the box's offsets.
  const CardList& cards = t.chain->cards;
  const std::vector<Record>& records = listing.records();
  // The record of the chain at an offset, whichever read of the card there
  // the listing keeps.
  std::unordered_map<uint32_t, int32_t> recordAt;
  for (size_t n = 0; n < records.size(); ++n) {
    if (records[n].card >= 0) recordAt.try_emplace(records[n].offset, static_cast<int32_t>(n));
  }
  uint64_t lastEnd = areaStart;
  // A run of empty deleted cards is one segment, under its first card.
  cards.forEachStored([&](const CardList::Stored& stored) {
    const CardRecord& c = stored.record;
    const size_t i = stored.first;
    const uint64_t from = std::min<uint64_t>(listing.original(c.offset), size_);
    const bool terminator = box::isTerminatorAt(c.offset, c.id, t.file.size);
    // A card read as garbage data reaches to where the trace resumed; its
    // size field then holds no length.
    const bool salvaged = (c.level & code::trace::kGarbageData) == code::trace::kGarbageData;
    uint64_t to =
        from + (terminator ? box::kTerminatorSize : box::kCardHeadSize + uint64_t{c.size}) * stored.count;
    if (salvaged) to = i + 1 < cards.size() ? listing.original(cards[i + 1].offset) : size_;
    const bool past = to > size_;
    to = std::clamp(to, from, size_);
    const auto found = recordAt.find(c.offset);
    const int32_t record = found == recordAt.end() ? -1 : found->second;
    MapClass kind = systemClass(c.id);
    if (salvaged) {
      kind = MapClass::kSkipped;
    } else if ((c.level & code::kFailing) || past) {
      kind = MapClass::kDamaged;
    } else if (box::isNormalId(c.id)) {
      const bool damaged = record >= 0 && records[static_cast<size_t>(record)].state == RecordState::kDamaged;
      kind = damaged ? MapClass::kDamaged : MapClass::kSound;
    } else if (terminator) {
      kind = MapClass::kTerminator;
    }
    paint(canvas, {from, to, kind, static_cast<int32_t>(i), record});
    lastEnd = std::max(lastEnd, to);
  });
  paint(canvas, {lastEnd, size_, MapClass::kBehind});

  // The records found outside the chain, over the stretches they lie in.
  for (size_t n = 0; n < records.size(); ++n) {
    const Record& r = records[n];
    if (r.state != RecordState::kFound) continue;
    const uint64_t from = std::min<uint64_t>(listing.original(r.offset), size_);
    paint(canvas, {from, std::clamp<uint64_t>(listing.original(r.end), from, size_), MapClass::kFound, -1,
                   static_cast<int32_t>(n)});
  }

  segments_.reserve(canvas.size());
  for (const auto& [from, segment] : canvas) segments_.push_back(segment);
}

int64_t FileMap::segmentAt(uint64_t offset) const {
  if (offset >= size_) return -1;
  const auto it = std::upper_bound(segments_.begin(), segments_.end(), offset,
                                   [](uint64_t o, const MapSegment& s) { return o < s.from; });
  return std::distance(segments_.begin(), it) - 1;
}

int64_t FileMap::mostImportant(uint64_t from, uint64_t to) const {
  int64_t best = segmentAt(from);
  if (best < 0) return -1;
  for (size_t k = static_cast<size_t>(best) + 1; k < segments_.size() && segments_[k].from < to; ++k) {
    if (mapPriority(segments_[k].kind) > mapPriority(segments_[static_cast<size_t>(best)].kind))
      best = static_cast<int64_t>(k);
  }
  return best;
}

std::vector<FileMap::Run> FileMap::runs(double bytesPerPixel) const {
  std::vector<Run> out;
  if (size_ == 0 || !(bytesPerPixel > 0)) return out;
  const auto pixels = static_cast<uint64_t>(std::ceil(static_cast<double>(size_) / bytesPerPixel));
  size_t first = 0;  // the first segment that reaches past the pixel's start
  for (uint64_t p = 0; p < pixels; ++p) {
    const auto [from, to] = pixelBytes(p, bytesPerPixel);
    if (from >= size_) break;
    while (segments_[first].to <= from) ++first;
    size_t best = first;
    for (size_t k = first + 1; k < segments_.size() && segments_[k].from < to; ++k) {
      if (mapPriority(segments_[k].kind) > mapPriority(segments_[best].kind)) best = k;
    }
    const MapClass kind = segments_[best].kind;
    if (!out.empty() && out.back().kind == kind) {
      ++out.back().pixels;
    } else {
      out.push_back({p, 1, kind});
    }
  }
  return out;
}

std::pair<uint64_t, uint64_t> FileMap::pixelBytes(uint64_t p, double bytesPerPixel) const {
  const auto from = static_cast<uint64_t>(static_cast<double>(p) * bytesPerPixel);
  const auto to = static_cast<uint64_t>(static_cast<double>(p + 1) * bytesPerPixel);
  return {from, std::max(to, from + 1)};
}
