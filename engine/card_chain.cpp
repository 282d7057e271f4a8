#include "engine/card_chain.h"

#include <algorithm>
#include <unordered_map>

#include "engine/box_format.h"
#include "engine/card_checks.h"
#include "engine/texts_ja.h"

namespace {
constexpr size_t kIdSpace = 0x10000;
// From this many records on, the 65536-slot tables pay for themselves.
constexpr size_t kIdTableThreshold = 4096;
}  // namespace

cardChain::cardChain(uint32_t size, const uint8_t* start)
    : fileSize(size), fileStart(start), file_(start, size) {}

int64_t cardChain::parseCardHead(CardRecord& record, uint32_t offset, uint32_t limit) const {
  // A record read afresh shows nothing of what it held before.
  record = CardRecord{};
  record.offset = offset;
  const uint64_t at = offset;
  if (at + 2 > limit) {
    record.level |= 0x2000;
    return -1;
  }
  record.id = decodeU16(fileStart + at);
  if (at + 2 == limit && record.id == box::kTerminatorId) return limit;
  if (at + box::kCardHeadSize > limit) {
    record.level |= 0x2000;
    return -1;
  }
  record.size = decodeU32(fileStart + at + 2);
  const uint64_t next = at + box::kCardHeadSize + record.size;
  if (next > limit) {
    record.level |= 0x2000;
    return -1;
  }
  return static_cast<int64_t>(next);
}

int64_t cardChain::scanForCard(const ItemInfo& fields, uint64_t start, uint32_t limit) const {
  const ByteView bounded(fileStart, std::min(limit, fileSize));
  for (uint64_t p = start; p < limit; ++p) {
    uint64_t q = p;
    bool fits = true;
    for (int k = 0; k < fields.count && fits; ++k) {
      uint32_t length = 0;
      uint32_t width = 0;
      // A position whose lengths run past the end of the file is rejected.
      fits = decodeItemLength(bounded, q, &length, &width) &&
             lengthFitsDataId(fields.entries[static_cast<size_t>(k)], length);
      q += width;
    }
    if (fits) return static_cast<int64_t>(p) - static_cast<int64_t>(box::kCardAreaOffset);
  }
  return 0;
}

bool cardChain::checkCard(CardRecord& record, const ItemInfo& fields) {
  if (box::isNormalId(record.id)) return checkItems(file_, record, fields);
  if (record.id == box::kOffsetCardId) return checkOffsetCardSize(record);
  if (record.id == box::kIndexCardId) return dumpIndexCard(file_, record);
  return true;  // garbage, terminator and other system cards pass
}

int cardChain::trace(uint32_t first, const ItemInfo& fields) {
  const int result = walk(first, fields);
  buildIndexes();
  return result;
}

int cardChain::walk(uint32_t first, const ItemInfo& fields) {
  const uint32_t limit = fileSize;
  debugMessage("cardChain::trace () %p %d", static_cast<const void*>(fileStart), static_cast<int>(limit));

  // What a salvage does depends only on where the card failed and where its
  // previous card lies; seeing that pair again means the trace would go
  // round forever.  The second time it resumes past the failed card instead,
  // the third time it gives up.
  std::unordered_map<uint64_t, int> salvagedAt;

  uint32_t offset = first;
  size_t i = 0;
  while (offset < limit) {
    if (cards.size() < i + 1) cards.emplace_back();
    CardRecord& record = cards[i];
    const int64_t next = parseCardHead(record, offset, limit);
    report(*this, static_cast<int32_t>(i), offset, record.id, record.size, 0, nullptr);
    reportProgress(0, offset - first, limit - first);

    bool pass;
    if (next < 0) {
      reportHere(*this, record.level, "Out of box file size.");
      pass = false;
    } else {
      pass = checkCard(record, fields);
    }
    if (pass) {
      offset = static_cast<uint32_t>(next);
      ++i;
      continue;
    }

    // Salvage: look for the next plausible card from the previous card on.
    // The first card stands in for its own previous card.
    const size_t prevIndex = i == 0 ? 0 : i - 1;
    CardRecord& prev = cards[prevIndex];
    const uint32_t prevOffset = prev.offset;
    const uint64_t prevData = uint64_t{prevOffset} + box::kCardAreaOffset +
                              file_.u16(uint64_t{prevOffset} + box::kCardAreaLengthOffset).value_or(0);
    int64_t candidate;
    if (box::isNormalId(prev.id)) {
      candidate = scanForCard(fields, prevData, limit);
    } else {
      candidate = scanForCard(fields, prevOffset, limit);
      if (candidate <= prevOffset) candidate = scanForCard(fields, prevData, limit);
    }
    const int seen = ++salvagedAt[(uint64_t{offset} << 32) | prevOffset];
    if (seen == 2) {
      candidate = scanForCard(fields, uint64_t{offset} + box::kCardAreaOffset + 1, limit);
    } else if (seen > 2) {
      candidate = 0;
    }

    if (candidate == 0) {
      reportAt(*this, kDataChunkSection, 0x40000008, "Data Chunk tracing terminated at", " 0x%06x/0x%06x.",
               offset, limit);
      return 0;
    }
    debugMessage(" heuristic scan at 0x%06x (0x%06x)", static_cast<unsigned>(candidate), offset);

    if (candidate >= offset) {
      // The failed card is garbage up to the candidate.  Its size is the
      // candidate minus the end its head declared (-1 when the head failed).
      record.size = static_cast<uint32_t>(candidate - next);
      report(record, static_cast<int32_t>(i), record.offset, record.id, record.size, 0x40000400,
             "Garbage data.");
      ++i;
    } else {
      // The failed card lies inside the previous one, which is too long.
      reportAt(*this, static_cast<int32_t>(i), 0x10000000, "This card is disappeare.");
      const uint32_t old = prev.size;
      prev.size = old + static_cast<uint32_t>(candidate) - offset;
      report(prev, static_cast<int32_t>(prevIndex), prev.offset, prev.id, prev.size, 0x40000200,
             "Data broken, it is made small", " (0x%04x => 0x%04x)", old, prev.size);
    }
    reportAt(*this, kDataChunkSection, 0x20000001, "Data chunk salvage is invoked.");
    offset = static_cast<uint32_t>(candidate);
  }

  if (cards.empty() || cards.back().id != box::kTerminatorId) {
    reportAt(*this, kDataChunkSection, 0x20000002, "No data chunk terminater.");
  }
  debugMessage("trace end at 0x%06x limit = 0x%06x", offset, limit);
  return 1;
}

void cardChain::buildIndexes() {
  idTables_ = cards.size() >= kIdTableThreshold;
  firstById_.clear();
  lastById_.clear();
  byId_.clear();
  if (idTables_) {
    firstById_.assign(kIdSpace, -1);
    lastById_.assign(kIdSpace, -1);
    for (size_t i = 0; i < cards.size(); ++i) {
      const auto index = static_cast<int32_t>(i);
      if (firstById_[cards[i].id] < 0) firstById_[cards[i].id] = index;
      lastById_[cards[i].id] = index;
    }
  } else {
    byId_.reserve(cards.size());
    for (size_t i = 0; i < cards.size(); ++i) byId_.emplace_back(cards[i].id, static_cast<int32_t>(i));
    std::sort(byId_.begin(), byId_.end());
  }
  ascending_ = true;
  for (size_t i = 1; i < cards.size() && ascending_; ++i) ascending_ = cards[i - 1].offset < cards[i].offset;
  byOffset_.clear();
  firstAtOffset_.clear();
  if (ascending_) return;
  byOffset_.reserve(cards.size());
  for (size_t i = 0; i < cards.size(); ++i) byOffset_.emplace_back(cards[i].offset, static_cast<int32_t>(i));
  std::sort(byOffset_.begin(), byOffset_.end());
  firstAtOffset_.assign(cards.size(), false);
  for (size_t k = 0; k < byOffset_.size(); ++k) {
    if (k == 0 || byOffset_[k - 1].first != byOffset_[k].first)
      firstAtOffset_[static_cast<size_t>(byOffset_[k].second)] = true;
  }
}

int32_t cardChain::findById(uint16_t id) const {
  if (idTables_) return firstById_[id];
  const auto found = std::lower_bound(byId_.begin(), byId_.end(), std::make_pair(id, INT32_MIN));
  return found != byId_.end() && found->first == id ? found->second : -1;
}

bool cardChain::hasLaterDuplicate(size_t index) const {
  const uint16_t id = cards[index].id;
  if (idTables_) return lastById_[id] > static_cast<int32_t>(index);
  const auto at =
      std::lower_bound(byId_.begin(), byId_.end(), std::make_pair(id, static_cast<int32_t>(index)));
  return at + 1 != byId_.end() && (at + 1)->first == id;
}

int32_t cardChain::findByOffset(uint32_t offset) const {
  if (ascending_) {
    const auto found = std::lower_bound(cards.begin(), cards.end(), offset,
                                        [](const CardRecord& r, uint32_t o) { return r.offset < o; });
    return found != cards.end() && found->offset == offset ? static_cast<int32_t>(found - cards.begin()) : -1;
  }
  const auto found = std::lower_bound(byOffset_.begin(), byOffset_.end(), std::make_pair(offset, INT32_MIN));
  return found != byOffset_.end() && found->first == offset ? found->second : -1;
}

bool cardChain::isFirstAtOffset(int32_t index) const {
  return ascending_ || firstAtOffset_[static_cast<size_t>(index)];
}

bool cardChain::census() {
  maxId = 0;
  const uint64_t n = cards.size();

  for (uint64_t i = 0; i < n; ++i) {
    // The classic census compares pairs; its progress still counts them.
    reportProgress(1, (i - 1) * i, (n - 1) * n);
    CardRecord& record = cards[i];
    if (record.level & (code::kCritical | code::kError)) {
      ++errorCount;
      errorBytes += box::kCardHeadSize + record.size;
    } else if (record.id == box::kGarbageId) {
      ++garbageCount;
      garbageBytes += box::kCardHeadSize + record.size;
    } else if (box::isNormalId(record.id)) {
      ++normalCount;
      normalBytes += box::kCardHeadSize + record.size;
      // A duplicate: the ID occurs again later in the list, in any class.
      if (hasLaterDuplicate(i)) {
        report(record, static_cast<int32_t>(i), UINT32_MAX, record.id, record.size, 0x20000004,
               "Duplicate card ID", " %04x", static_cast<unsigned>(record.id));
        ++duplicates;
      }
      maxId = std::max(maxId, record.id);
    } else {
      ++systemCount;
      systemBytes +=
          record.id == box::kTerminatorId ? box::kTerminatorSize : box::kCardHeadSize + record.size;
    }
  }

  debugMessage(ja::kCensusCounts, static_cast<int>(normalCount), static_cast<int>(systemCount),
               static_cast<int>(garbageCount), static_cast<int>(errorCount));
  debugMessage(ja::kCensusSizes, static_cast<int>(normalBytes), static_cast<int>(systemBytes),
               static_cast<int>(garbageBytes), static_cast<int>(errorBytes));
  debugMessage(ja::kCensusMaxId, static_cast<unsigned>(maxId));

  // Least null ID: the least value from 1 on that no normal-ID card without
  // a Critical holds.  Repeated passes over the list raising the value on a
  // match end exactly there, so a bit set over the IDs gives the same.
  std::vector<bool> held(kIdSpace, false);
  for (const CardRecord& record : cards) {
    if (box::isNormalId(record.id) && !(record.level & code::kCritical)) held[record.id] = true;
  }
  uint32_t leastNull = box::kFirstNormalId;
  while (leastNull <= box::kLastNormalId && held[leastNull]) ++leastNull;
  leastNullId = static_cast<uint16_t>(leastNull);
  debugMessage(ja::kCensusLeastNullId, static_cast<unsigned>(leastNullId));

  if (findById(box::kIndexCardId) < 0) {
    reportAt(*this, kDataChunkSection, 0x20000004, "Reference index card not found.");
  }
  report(*this, kDataChunkSection, kSummaryOffset, static_cast<uint32_t>(kDataChunkSection), normalBytes, 0,
         nullptr);
  return duplicates == 0;
}
