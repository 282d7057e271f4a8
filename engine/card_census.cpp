// The card census: classes, counts and byte totals, duplicate IDs, the
// maximum card ID and the least null card ID.
#include <algorithm>
#include <vector>

#include "box_format.h"
#include "card_chain.h"
#include "texts_ja.h"

bool cardChain::census() {
  maxId = 0;
  const uint64_t n = cards.size();

  // A run of empty deleted cards is counted at once: garbage without bytes
  // beyond the heads, never an error card, never a normal one.
  cards.forEachStored([&](const CardList::Stored& stored) {
    const uint64_t i = stored.first;
    // The classic census compares pairs; its progress still counts them.
    reportProgress(1, (i - 1) * i, (n - 1) * n);
    const CardRecord& record = stored.record;
    const auto count = static_cast<uint32_t>(stored.count);
    if (record.level & code::kFailing) {
      ++errorCount;
      errorBytes += box::kCardHeadSize + record.size;
    } else if (record.id == box::kGarbageId) {
      garbageCount += count;
      garbageBytes += count * (box::kCardHeadSize + record.size);
    } else if (box::isNormalId(record.id)) {
      ++normalCount;
      normalBytes += box::kCardHeadSize + record.size;
      // A duplicate: the ID occurs again later in the list, in any class.
      if (hasLaterDuplicate(i)) {
        report(cards.edit(i), static_cast<int32_t>(i), UINT32_MAX, record.id, record.size,
               code::census::kDuplicateId, "Duplicate card ID", " %04x", static_cast<unsigned>(record.id));
        ++duplicates;
      }
      maxId = std::max(maxId, record.id);
    } else {
      ++systemCount;
      systemBytes +=
          record.id == box::kTerminatorId ? box::kTerminatorSize : box::kCardHeadSize + record.size;
    }
  });

  debugMessage(ja::kCensusCounts, static_cast<int>(normalCount), static_cast<int>(systemCount),
               static_cast<int>(garbageCount), static_cast<int>(errorCount));
  debugMessage(ja::kCensusSizes, static_cast<int>(normalBytes), static_cast<int>(systemBytes),
               static_cast<int>(garbageBytes), static_cast<int>(errorBytes));
  debugMessage(ja::kCensusMaxId, static_cast<unsigned>(maxId));

  // Least null ID: the least value from 1 on that no normal-ID card without
  // a Critical holds.  Repeated passes over the list raising the value on a
  // match end exactly there, so a bit set over the IDs gives the same.
  std::vector<bool> held(box::kCardIdSpace, false);
  cards.forEachStored([&](const CardList::Stored& stored) {
    const CardRecord& record = stored.record;
    if (box::isNormalId(record.id) && !(record.level & code::kCritical)) held[record.id] = true;
  });
  uint32_t leastNull = box::kFirstNormalId;
  while (leastNull <= box::kLastNormalId && held[leastNull]) ++leastNull;
  leastNullId = static_cast<uint16_t>(leastNull);
  debugMessage(ja::kCensusLeastNullId, static_cast<unsigned>(leastNullId));

  if (findById(box::kIndexCardId) < 0) {
    reportAt(*this, kDataChunkSection, code::census::kNoIndexCard, "Reference index card not found.");
  }
  report(*this, kDataChunkSection, kSummaryOffset, static_cast<uint32_t>(kDataChunkSection), normalBytes, 0,
         nullptr);
  return duplicates == 0;
}
