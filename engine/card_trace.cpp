// The card chain trace: reading every card head, the per-card checks, and
// the salvage of broken cards by a heuristic scan.
#include <algorithm>

#include "box_format.h"
#include "card_chain.h"
#include "card_checks.h"

cardChain::cardChain(uint32_t size, const uint8_t* start)
    : fileSize(size), fileStart(start), file_(start, size) {}

int64_t cardChain::parseCardHead(CardRecord& record, uint32_t offset, uint32_t limit) const {
  // A record read afresh shows nothing of what it held before.
  record = CardRecord{};
  record.offset = offset;
  const uint64_t at = offset;
  if (at + box::kTerminatorSize > limit) {
    record.level |= code::trace::kOutOfFile;
    return -1;
  }
  record.id = file_.u16(at).value_or(0);
  if (box::isTerminatorAt(at, record.id, limit)) return limit;
  if (at + box::kCardHeadSize > limit) {
    record.level |= code::trace::kOutOfFile;
    return -1;
  }
  record.size = file_.u32(at + box::kCardSizeField).value_or(0);
  const uint64_t next = at + box::kCardHeadSize + record.size;
  if (next > limit) {
    record.level |= code::trace::kOutOfFile;
    return -1;
  }
  return static_cast<int64_t>(next);
}

int64_t cardChain::scanForCard(const ItemInfo& fields, uint64_t start, uint32_t limit) const {
  if (start >= limit) return 0;
  const auto offset = [](uint64_t p) {
    return static_cast<int64_t>(p) - static_cast<int64_t>(box::kCardAreaOffset);
  };
  // With no fields every position fits.
  if (fields.count == 0) return offset(start);
  // A position whose lengths run past the end of the file is rejected.
  const ByteView bounded(fileStart, std::min(limit, fileSize));
  if (!scan_ || scanFields_ != &fields || scan_->size() != bounded.size()) {
    scan_ = std::make_unique<SalvageScan>(bounded, fields);
    scanFields_ = &fields;
  }
  const uint64_t p = scan_->next(start);
  return p < bounded.size() ? offset(p) : 0;
}

int cardChain::trace(uint32_t first, const ItemInfo& fields) {
  const int result = walk(first, fields);
  buildIndexes();
  return result;
}

int cardChain::walk(uint32_t first, const ItemInfo& fields) {
  const uint32_t limit = fileSize;
  debugMessage("cardChain::trace () %p %d", static_cast<const void*>(fileStart), static_cast<int>(limit));

  SalvageMemory salvaged;
  uint32_t offset = first;
  size_t i = 0;
  while (offset < limit) {
    int64_t next = 0;
    CardRecord& record = readCard(i, offset, first, &next);
    // The next card's head is read right after this card's checks; asking
    // for it now hides the memory's latency behind them.
    if (next > 0 && next < limit) __builtin_prefetch(fileStart + next);
    if (cardPasses(record, next, fields)) {
      offset = static_cast<uint32_t>(next);
      ++i;
      continue;
    }

    const int64_t candidate = salvageCandidate(i, offset, fields, salvaged);
    if (candidate == 0) {
      reportAt(*this, kDataChunkSection, code::trace::kTerminated, "Data Chunk tracing terminated at",
               " 0x%06x/0x%06x.", offset, limit);
      return 0;
    }
    debugMessage(" heuristic scan at 0x%06x (0x%06x)", static_cast<unsigned>(candidate), offset);
    if (candidate >= offset) {
      markGarbage(i, next, candidate);
      ++i;
    } else {
      // The record at i is read afresh at the candidate.
      shortenPrevious(i, offset, candidate);
    }
    reportAt(*this, kDataChunkSection, code::trace::kSalvageInvoked, "Data chunk salvage is invoked.");
    offset = static_cast<uint32_t>(candidate);
  }

  if (cards.empty() || cards.back().id != box::kTerminatorId) {
    reportAt(*this, kDataChunkSection, code::trace::kNoTerminator, "No data chunk terminater.");
  }
  debugMessage("trace end at 0x%06x limit = 0x%06x", offset, limit);
  return 1;
}

// Reads the head at offset into record index (the list grows one record at
// a time and never shrinks) and files the card's position entry.
CardRecord& cardChain::readCard(size_t index, uint32_t offset, uint32_t first, int64_t* next) {
  CardRecord& record = cards.slot(index);
  *next = parseCardHead(record, offset, fileSize);
  report(*this, static_cast<int32_t>(index), offset, record.id, record.size, code::kPosition, nullptr);
  reportProgress(0, offset - first, fileSize - first);
  return record;
}

// A card whose head fails, or whose check for its ID fails, is broken.
bool cardChain::cardPasses(CardRecord& record, int64_t next, const ItemInfo& fields) {
  if (next < 0) {
    reportHere(*this, record.level, "Out of box file size.");
    return false;
  }
  if (box::isNormalId(record.id)) return checkItems(file_, record, fields);
  if (record.id == box::kOffsetCardId) return checkOffsetCardSize(record);
  if (record.id == box::kIndexCardId) return dumpIndexCard(file_, record);
  return true;  // garbage, terminator and other system cards pass
}

// Where the trace resumes after the broken card at index: the next plausible
// card from the previous card on (the first card stands in for its own
// previous card), 0 when there is none.
int64_t cardChain::salvageCandidate(size_t index, uint32_t offset, const ItemInfo& fields,
                                    SalvageMemory& memory) const {
  const CardRecord prev = cards[index == 0 ? 0 : index - 1];
  const uint32_t prevOffset = prev.offset;
  const uint64_t prevData = uint64_t{prevOffset} + box::kCardAreaOffset +
                            file_.u16(uint64_t{prevOffset} + box::kCardAreaLengthOffset).value_or(0);

  // Seeing the same pair again means the trace would go round forever: the
  // second time it resumes past the failed card instead, the third time it
  // gives up.
  const int seen = ++memory[(uint64_t{offset} << 32) | prevOffset];
  if (seen == 2) return scanForCard(fields, uint64_t{offset} + box::kCardAreaOffset + 1, fileSize);
  if (seen > 2) return 0;

  if (box::isNormalId(prev.id)) return scanForCard(fields, prevData, fileSize);
  const int64_t candidate = scanForCard(fields, prevOffset, fileSize);
  if (candidate > prevOffset) return candidate;
  return scanForCard(fields, prevData, fileSize);
}

// The broken card is garbage up to the candidate.  Its size is the candidate
// minus the end its own head declared (-1 when the head failed).
void cardChain::markGarbage(size_t index, int64_t declaredEnd, int64_t candidate) {
  CardRecord& record = cards.edit(index);
  record.size = static_cast<uint32_t>(candidate - declaredEnd);
  report(record, static_cast<int32_t>(index), record.offset, record.id, record.size,
         code::trace::kGarbageData, "Garbage data.");
}

// The broken card lies inside the previous one, which is too long: the
// previous card now ends at the candidate.
void cardChain::shortenPrevious(size_t index, uint32_t offset, int64_t candidate) {
  reportAt(*this, static_cast<int32_t>(index), code::trace::kDisappeared, "This card is disappeare.");
  const size_t prevIndex = index == 0 ? 0 : index - 1;
  CardRecord& prev = cards.edit(prevIndex);
  const uint32_t old = prev.size;
  prev.size = old + static_cast<uint32_t>(candidate) - offset;
  report(prev, static_cast<int32_t>(prevIndex), prev.offset, prev.id, prev.size, code::trace::kMadeSmall,
         "Data broken, it is made small", " (0x%04x => 0x%04x)", old, prev.size);
}
