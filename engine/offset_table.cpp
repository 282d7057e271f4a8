#include "offset_table.h"

#include <algorithm>

#include "box_format.h"
#include "texts_ja.h"

OffsetChainWalker::OffsetChainWalker(ByteView file, const cardChain& chain)
    : file_(file), chain_(chain), run_{box::kDefaultEntriesOffset, 1, box::kDefaultEntryCount, -1} {}

OffsetChainWalker::Link OffsetChainWalker::link() const {
  Link link;
  const auto value = file_.u32(uint64_t{run_.offset} + box::kOffsetEntrySize * uint64_t{run_.count});
  if (!value) return link;
  link.offset = *value;
  link.card = chain_.findByOffset(link.offset);
  if (link.card < 0) return link;
  if (chain_.cards[static_cast<size_t>(link.card)].id != box::kOffsetCardId) {
    link.kind = Link::kNotOffsetCard;
  } else {
    link.kind = walked_.count(link.offset) ? Link::kLoop : Link::kOffsetCard;
  }
  return link;
}

bool OffsetChainWalker::advance() {
  const Link next = link();
  if (next.kind != Link::kOffsetCard) return false;
  walked_.insert(next.offset);
  // The count comes from the size field in the file: 0 when that is below
  // one entry and a link, or missing.
  const uint32_t size = file_.u32(uint64_t{next.offset} + box::kCardSizeField).value_or(0);
  run_.offset = next.offset + box::kCardHeadSize;
  run_.firstId += run_.count;
  run_.count = box::offsetCardEntryCount(size);
  run_.card = next.card;
  return true;
}

std::vector<OffsetSegment> offsetRuns(ByteView file, const cardChain& chain) {
  OffsetChainWalker walker(file, chain);
  std::vector<OffsetSegment> runs{walker.run()};
  while (walker.advance()) runs.push_back(walker.run());
  return runs;
}

bool OffsetTable::check(const uint8_t* fileStart, uint32_t /*regionStart*/, const cardChain& chain) {
  // The default table is read at its fixed place, whatever the header says.
  file_ = ByteView(fileStart, chain.fileSize);

  // First walk: only count the runs, for the progress display.
  const auto runs = static_cast<uint32_t>(offsetRuns(file_, chain).size());

  report(*this, kOffsetTableSection, 0, static_cast<uint32_t>(kOffsetTableSection), 0, code::kPosition,
         nullptr);

  OffsetChainWalker walker(file_, chain);
  for (uint32_t s = 1;; ++s) {
    const OffsetSegment& run = walker.run();
    reportProgress(2, s, runs);
    reportHere(*this, code::table::kRunListing + run.firstId, "", "at 0x%06x [%4d - %4d]", run.offset,
               static_cast<int>(run.firstId), static_cast<int>(run.firstId + run.count - 1));
    segments.push_back(run);
    checkSegment(run, chain);

    const OffsetChainWalker::Link link = walker.link();
    if (link.kind == OffsetChainWalker::Link::kEnd) break;
    if (link.kind == OffsetChainWalker::Link::kNotOffsetCard) {
      reportHere(*this, code::table::kNotOffsetCard, "Offset data refer no offset card.");
      break;
    }
    if (link.kind == OffsetChainWalker::Link::kLoop) {
      reportHere(*this, code::table::kLinkLoops, "Offset card link loops back.", " (0x%06x).", link.offset);
      break;
    }
    const uint32_t size = chain.cards[static_cast<size_t>(link.card)].size;
    if (size != box::kUsualOffsetCardSize) {
      reportHere(*this, code::table::kOffsetCardSize, "Offset card size != 0x204", " (0x%03x)", size);
    }
    walker.advance();
  }

  if (badEntries != 0) {
    reportHere(*this, code::table::kBadEntries, "Offset info card has errors", " (%d).",
               static_cast<int>(badEntries));
  }
  report(*this, kOffsetTableSection, kSummaryOffset, static_cast<uint32_t>(kOffsetTableSection), goodEntries,
         code::kPosition, nullptr);
  debugMessage(ja::kOffsetTableCounts, static_cast<int>(goodEntries), static_cast<int>(badEntries));
  return badEntries == 0;
}

uint32_t OffsetTable::checkSegment(const OffsetSegment& segment, const cardChain& chain) {
  const uint32_t before = badEntries;
  const uint64_t start = segment.offset;
  uint64_t inFile = 0;
  if (start < file_.size()) inFile = (file_.size() - start) / box::kOffsetEntrySize;
  const uint64_t count = std::min<uint64_t>(segment.count, inFile);
  if (count < segment.count) {
    reportHere(*this, code::table::kRunPastEnd, "Offset table runs past the end of box file.",
               " (%u of %u entries).", static_cast<unsigned>(count), segment.count);
  }

  for (uint64_t j = 0; j < count; ++j) {
    const uint16_t id = static_cast<uint16_t>(segment.firstId + j);
    const uint32_t value = file_.u32(start + box::kOffsetEntrySize * j).value_or(0);
    const bool empty = box::isEmptyEntry(value);
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
