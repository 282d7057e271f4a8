#include "engine/offset_table.h"

#include <unordered_set>

#include "engine/box_format.h"
#include "engine/texts_ja.h"

namespace {

// One step of the walk along the linked runs.
struct Link {
  enum Kind { kEnd, kNotOffsetCard, kOffsetCard, kLoop } kind = kEnd;
  uint32_t offset = 0;  // where the link points
  int32_t record = -1;  // the card found there
};

// Reads the link behind a run and says where it leads.  A link that is not
// in the file, or at which no card starts, ends the chain; one that returns
// to an offset card already walked is a loop.
Link followLink(ByteView file, const OffsetSegment& run, const cardChain& chain,
                const std::unordered_set<uint32_t>& walked) {
  Link link;
  const auto value = file.u32(uint64_t{run.offset} + 4 * uint64_t{run.count});
  if (!value) return link;
  link.offset = *value;
  link.record = chain.findByOffset(link.offset);
  if (link.record < 0) return link;
  if (chain.cards[static_cast<size_t>(link.record)].id != box::kOffsetCardId) {
    link.kind = Link::kNotOffsetCard;
  } else {
    link.kind = walked.count(link.offset) ? Link::kLoop : Link::kOffsetCard;
  }
  return link;
}

// The run held by the offset card at link: its count comes from the size
// field in the file, 0 when that is below 4 or missing.
OffsetSegment nextRun(ByteView file, const OffsetSegment& run, uint32_t link) {
  const uint32_t size = file.u32(uint64_t{link} + 2).value_or(0);
  OffsetSegment next;
  next.offset = link + box::kCardHeadSize;
  next.firstId = run.firstId + run.count;
  next.count = size >= 4 ? size / 4 - 1 : 0;
  return next;
}

constexpr OffsetSegment kDefaultRun{box::kDefaultEntriesOffset, 1, box::kDefaultEntryCount};

}  // namespace

bool OffsetTable::check(const uint8_t* fileStart, uint32_t /*regionStart*/, const cardChain& chain) {
  // The default table is read at its fixed place, whatever the header says.
  file_ = ByteView(fileStart, chain.fileSize);

  // First walk: only count the runs, for the progress display.
  uint32_t runs = 1;
  {
    std::unordered_set<uint32_t> walked;
    OffsetSegment run = kDefaultRun;
    for (Link link = followLink(file_, run, chain, walked); link.kind == Link::kOffsetCard;
         link = followLink(file_, run, chain, walked)) {
      walked.insert(link.offset);
      run = nextRun(file_, run, link.offset);
      ++runs;
    }
  }

  report(*this, kOffsetTableSection, 0, static_cast<uint32_t>(kOffsetTableSection), 0, 0, nullptr);

  std::unordered_set<uint32_t> walked;
  OffsetSegment run = kDefaultRun;
  for (uint32_t s = 1;; ++s) {
    reportProgress(2, s, runs);
    reportHere(*this, 0x08000000 + run.firstId, "", "at 0x%06x [%4d - %4d]", run.offset,
               static_cast<int>(run.firstId), static_cast<int>(run.firstId + run.count - 1));
    segments.push_back(run);
    checkSegment(run, chain);

    const Link link = followLink(file_, run, chain, walked);
    if (link.kind == Link::kEnd) break;
    if (link.kind == Link::kNotOffsetCard) {
      reportHere(*this, 0x40000004, "Offset data refer no offset card.");
      break;
    }
    if (link.kind == Link::kLoop) {
      reportHere(*this, 0x40000008, "Offset card link loops back.", " (0x%06x).", link.offset);
      break;
    }
    const uint32_t size = chain.cards[static_cast<size_t>(link.record)].size;
    if (size != box::kUsualOffsetCardSize) {
      reportHere(*this, 0x20000001, "Offset card size != 0x204", " (0x%03x)", size);
    }
    walked.insert(link.offset);
    run = nextRun(file_, run, link.offset);
  }

  if (badEntries != 0) {
    reportHere(*this, 0x40000002, "Offset info card has errors", " (%d).", static_cast<int>(badEntries));
  }
  report(*this, kOffsetTableSection, kSummaryOffset, static_cast<uint32_t>(kOffsetTableSection), goodEntries,
         0, nullptr);
  debugMessage(ja::kOffsetTableCounts, static_cast<int>(goodEntries), static_cast<int>(badEntries));
  return badEntries == 0;
}

uint32_t OffsetTable::checkSegment(const OffsetSegment& segment, const cardChain& chain) {
  const uint32_t before = badEntries;
  const uint64_t start = segment.offset;
  uint64_t inFile = 0;
  if (start < file_.size()) inFile = (file_.size() - start) / 4;
  const uint64_t count = std::min<uint64_t>(segment.count, inFile);
  if (count < segment.count) {
    reportHere(*this, 0x40000010, "Offset table runs past the end of box file.", " (%u of %u entries).",
               static_cast<unsigned>(count), segment.count);
  }

  for (uint64_t j = 0; j < count; ++j) {
    const uint16_t id = static_cast<uint16_t>(segment.firstId + j);
    const uint32_t value = decodeU32(file_.data() + start + 4 * j);
    const bool empty = value == 0 || value == UINT32_MAX;
    const int32_t card = chain.findById(id);
    if (card < 0) {
      if (empty) continue;
      ++badEntries;
      debugMessage(ja::kEntryCardNotFound, value, static_cast<unsigned>(id));
    } else if (empty) {
      ++badEntries;
      debugMessage(ja::kEntryNoOffset, value, static_cast<unsigned>(id));
    } else if (chain.cards[static_cast<size_t>(card)].offset != value || !chain.isFirstAtOffset(card)) {
      // The same as findByOffset(value) != card, without the search.
      ++badEntries;
      debugMessage(ja::kEntryOffsetWrong, value, static_cast<unsigned>(id));
    } else {
      ++goodEntries;
    }
  }
  return badEntries - before;
}
