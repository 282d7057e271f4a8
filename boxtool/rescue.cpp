#include "rescue.h"

#include <algorithm>

#include "analysed_file.h"
#include "box_analysis.h"
#include "box_format.h"
#include "box_writer.h"
#include "card_checks.h"
#include "coding.h"
#include "progress.h"
#include "record_map.h"
#include "report_scope.h"
#include "reporter.h"
#include "text_coding.h"

namespace {

// True when the analysis delivered no Error and no Critical, against any
// checker or any card.
bool runsClean(BoxAnalysis& a) {
  ProgressOnly silent;
  ReportScope scope(&silent, {});
  if (a.run()) return false;
  for (const CardRecord& card : a.chain->cards) {
    if (card.level & code::kFailing) return false;
  }
  return true;
}

// Why the card of a record read where a card begins is not whole, by its
// own bytes.
std::string whyNotWhole(ByteView file, const Record& r, const ItemInfo& fields) {
  const uint64_t o = r.offset;
  const auto size = file.u32(o + box::kCardSizeField);
  if (!size) return "its head is cut by the end of the file";
  if (o + box::kCardHeadSize + *size > file.size()) return "its body runs past the end of the file";
  if (cardIsConsistent(file, o, fields, file.size())) return "it overlaps records that meet their neighbours";
  const CardValues v(file, o, fields);
  if (v.decoded < v.count())
    return format("the item length of value %d lies beyond the end of the file", v.decoded);
  uint64_t values = 0;
  for (int k = 0; k < v.count(); ++k) {
    if (!lengthFitsDataId(fields.entries[static_cast<size_t>(k)], v.length(k)))
      return format("the length of value %d does not fit its field", k);
    values += v.length(k);
  }
  if (v.statedArea != v.areaLength)
    return format("its stated item length area (%u bytes) is not that of its item lengths (%u bytes)",
                  v.statedArea, v.areaLength);
  return format("its size (%u) is not that of its values (%llu)", *size,
                static_cast<unsigned long long>(box::normalCardSize(v.areaLength, values)));
}

// The header's and the default table's bytes the format leaves to the
// device, copied from the broken box where it has them.
void copyUninterpreted(ByteView broken, std::vector<uint8_t>& out) {
  for (const auto& [from, to] : box::kUnexaminedRanges) {
    for (uint32_t k = from; k < to; ++k) out[k] = broken.u8(k).value_or(out[k]);
  }
}

// Whether a card head at offset could start a chain: a normal or system ID
// whose card fits the file.
bool headFits(ByteView file, uint64_t offset) {
  const auto id = file.u16(offset);
  const auto size = file.u32(offset + box::kCardSizeField);
  return id && size && *id != box::kGarbageId && offset + box::kCardHeadSize + *size <= file.size();
}

}  // namespace

TracedBytes tracedBytes(ByteView broken, const std::vector<uint8_t>& itemInfo, bool ownTable,
                        uint64_t tableEnd, bool asStated) {
  // Where the card area begins: where the header places the first card, or
  // where the field table ends in the box.  Either may be damaged; when both
  // are in the file and differ, the trace begins at the one where a card
  // head fits, and the lost and found looks from the lower one on.
  const uint64_t size = broken.size();
  const uint32_t stated = broken.u32(box::kFirstCardField).value_or(0);
  if (!ownTable) {
    const uint64_t offset = broken.u32(box::kItemInfoOffsetField).value_or(0);
    tableEnd = offset + broken.u32(box::kItemInfoSizeField).value_or(0);
  }
  const bool statedIn = stated > box::kHeaderSize && stated < size;
  const bool endIn = tableEnd > box::kHeaderSize && tableEnd < size;
  uint64_t start = std::min<uint64_t>(size, box::kItemInfoOffset);
  if (statedIn && endIn) {
    start = stated == tableEnd || headFits(broken, stated) || !headFits(broken, tableEnd) ? stated : tableEnd;
  } else if (statedIn || endIn) {
    start = statedIn ? stated : tableEnd;
  }
  uint64_t area = start;
  if (statedIn) area = std::min<uint64_t>(area, stated);
  if (endIn) area = std::min(area, tableEnd);

  TracedBytes t;
  if (ownTable && asStated && start == stated && area == stated) {
    t.view = broken;
    t.areaStart = area;
    t.asItStands = true;
    return t;
  }
  BoxWriter writer(itemInfo);
  writer.reserve(box::kItemInfoOffset + itemInfo.size() + (size - area));
  t.bytes = writer.finish();
  t.shift = static_cast<int64_t>(t.bytes.size()) - static_cast<int64_t>(area);
  t.areaStart = t.bytes.size();
  t.bytes.insert(t.bytes.end(), broken.data() + area, broken.data() + size);
  encodeFixed32(t.bytes.data() + box::kFirstCardField,
                static_cast<uint32_t>(static_cast<int64_t>(start) + t.shift));
  if (t.bytes.size() <= UINT32_MAX) t.view = ByteView(t.bytes.data(), static_cast<uint32_t>(t.bytes.size()));
  return t;
}

int fieldTableOf(const std::string& path, FieldTable& table, std::string& why) {
  std::vector<uint8_t> bytes;
  why = readBoxFile(path.c_str(), bytes);
  if (!why.empty()) return exit_status::kNotAnalysed;
  table = readFieldTable(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  if (table.problem.empty()) return exit_status::kClean;
  why = "its item info cannot be read either: " + table.problem;
  return exit_status::kRefused;
}

RescuedBox rescueBox(ByteView broken, const RescueOptions& options) {
  const FieldTable* fieldsFrom = options.fieldsFrom;
  RescuedBox result;
  const FieldTable own = fieldsFrom ? FieldTable{} : readFieldTable(broken);
  const FieldTable& table = fieldsFrom ? *fieldsFrom : own;
  if (!table.problem.empty()) {
    result.problem = "the item info cannot be read (" + table.problem + ")";
    result.cardValueCount = table.cardValueCount;
    return result;
  }
  result.fieldsMended = table.mended;
  result.typesChanged = table.typesChanged;
  const TracedBytes t = tracedBytes(broken, table.itemInfo, fieldsFrom == nullptr, table.end, table.asStated);
  if (!t.view.data()) {
    result.problem = "the box is too large";
    return result;
  }
  BoxAnalysis a(t.view);
  runsClean(a);
  const ItemInfo& fields = *a.itemInfo;
  if (fieldsFrom) {
    // A table from another application's box would make every card look broken.
    const int held = countValuesOfCards(t.view, t.areaStart);
    if (held >= 0 && held != fields.count) {
      result.problem = format("the given field table lists %d fields, but the cards hold %d values each",
                              fields.count, held);
      result.cardValueCount = held;
      return result;
    }
  }
  const cardChain& chain = *a.chain;
  const RecordMap map =
      mapRecords(t.view, chain, fields, t.areaStart, {options.deleted, options.lostAndFound});
  const auto rescued = [&](const Record& r, uint16_t newId, const std::string& note) {
    return RescuedRecord{r.card, t.original(r.offset), r.id, newId, note};
  };

  // What the box claims: the offset tables name each ID's card.
  const Claims claims = readClaims(broken, t.original(t.areaStart));
  std::vector<uint32_t> entry(box::kCardIdSpace, 0);  // the offset the table gives an ID; 0 for none
  for (const Claims::Entry& e : claims.tableEntries) entry[e.id] = e.offset;

  // The records kept, in chain order, each with its new ID (0 until one is
  // given).  Of several holders of an ID, the card the offset table names
  // keeps it, else the first.
  struct Kept {
    const Record* source;
    uint16_t newId;
  };
  std::vector<Kept> kept;
  kept.reserve(map.records.size());
  std::vector<bool> taken(box::kCardIdSpace, false);
  std::vector<bool> seen(box::kCardIdSpace, false);
  std::vector<std::string> dropNote(box::kCardIdSpace);  // why the card read for an ID was dropped
  uint64_t keptBytes = 0;
  std::vector<Stretch> covered;  // card area bytes that go into the new box
  for (const Record& r : map.records) {
    if (!r.whole) {
      const bool stray = std::binary_search(map.strayCards.begin(), map.strayCards.end(), r.card);
      if (r.state == RecordState::kDeleted || stray) continue;
      // A head the file cuts may be bytes of anything: its ID is no claim.
      if (t.view.contains(r.offset, box::kCardHeadSize)) seen[r.id] = true;
      const std::string why = whyNotWhole(t.view, r, fields);
      result.dropped.push_back(rescued(r, 0, why));
      if (dropNote[r.id].empty())
        dropNote[r.id] = format("card %d at 0x%06x dropped: ", r.card, t.original(r.offset)) + why;
      continue;
    }
    covered.push_back({r.offset, r.end});
    keptBytes += r.end - r.offset;
    Kept k{&r, 0};
    if (r.state != RecordState::kDeleted) {
      seen[r.id] = true;
      if (entry[r.id] == t.original(r.offset) && !taken[r.id]) {
        taken[r.id] = true;
        k.newId = r.id;
      }
      if (r.state == RecordState::kFound) ++result.found;
      if (r.state == RecordState::kDamaged)
        result.damagedKept.push_back(rescued(r, r.id, "whole by its own bytes; the trace had shortened it"));
    }
    kept.push_back(k);
  }
  result.strayCards = map.strayCards.size();
  for (Kept& k : kept) {
    if (k.newId == 0 && k.source->state != RecordState::kDeleted && !taken[k.source->id]) {
      taken[k.source->id] = true;
      k.newId = k.source->id;
    }
  }

  // Free IDs for the second holders of an ID and for the deleted records.
  uint32_t nextFree = box::kFirstNormalId;
  BoxWriter writer(table.itemInfo);
  writer.reserve(box::kItemInfoOffset + table.itemInfo.size() + keptBytes + t.view.size() / 16 + 4096);
  uint16_t maxId = 0;
  size_t keptNormal = 0;
  for (Kept& k : kept) {
    const Record& r = *k.source;
    if (k.newId == 0) {
      while (nextFree <= box::kLastNormalId && taken[nextFree]) ++nextFree;
      if (nextFree > box::kLastNormalId) {
        result.dropped.push_back(rescued(r, 0, "no free card ID is left"));
        continue;
      }
      taken[nextFree] = true;
      k.newId = static_cast<uint16_t>(nextFree);
      if (r.state == RecordState::kDeleted) {
        result.restored.push_back(rescued(r, k.newId, ""));
      } else {
        result.renumbered.push_back(rescued(r, k.newId, "its ID is held by an earlier card"));
      }
    }
    // The body as it stands; of a deleted card, as far as its values reach.
    const uint64_t bodyStart = uint64_t{r.offset} + box::kCardHeadSize;
    uint64_t bodyEnd = r.end;
    if (r.state == RecordState::kDeleted) {
      const CardValues values(t.view, r.offset, fields);
      bodyEnd = values.areaStart + values.areaLength + values.valuesLength;
    }
    const uint8_t* from = t.view.at(bodyStart, bodyEnd - bodyStart);
    if (!from || bodyEnd < bodyStart) continue;  // a whole record lies in the file; never here
    writer.card(k.newId, from, bodyEnd - bodyStart);
    maxId = std::max(maxId, k.newId);
    ++result.kept;
    if (r.state != RecordState::kDeleted) ++keptNormal;
  }
  // Offset cards for the IDs beyond the default table, 128 a card.
  for (uint32_t id = box::kFirstOffsetCardId; id <= maxId; id += box::kUsualOffsetCardEntries)
    writer.offsetCard();
  // The first reference index card and the other system cards the chain
  // vouches for, as they stand; offset cards are rebuilt and the terminator
  // written anew.
  bool indexCard = false;
  for (const RecordMap::Cards& trusted : map.trustedCards) {
    if (trusted.count > 1) continue;  // a run of empty deleted cards
    const CardRecord card = chain.cards[static_cast<size_t>(trusted.first)];
    const bool terminator = box::isTerminatorAt(card.offset, card.id, t.view.size());
    const uint64_t size =
        terminator ? box::kTerminatorSize
                   : box::kCardHeadSize + t.view.u32(uint64_t{card.offset} + box::kCardSizeField).value_or(0);
    if (card.id == box::kGarbageId) continue;
    covered.push_back({card.offset, card.offset + size});  // offset cards and the terminator: rebuilt
    // A 0xFFFF that is not at the end of the file is no card of any kind.
    if (terminator || card.id == box::kOffsetCardId || card.id == box::kTerminatorId) continue;
    if (card.id == box::kIndexCardId) {
      if (indexCard) continue;
      indexCard = true;
    }
    writer.card(card.id, t.view.at(uint64_t{card.offset} + box::kCardHeadSize, size - box::kCardHeadSize),
                size - box::kCardHeadSize);
    ++result.systemCards;
  }
  writer.terminator();
  result.bytes = writer.finish();
  copyUninterpreted(broken, result.bytes);

  std::sort(covered.begin(), covered.end(),
            [](const Stretch& x, const Stretch& y) { return x.from < y.from; });
  uint64_t at = t.areaStart;
  uint64_t coveredBytes = 0;
  for (const Stretch& s : covered) {
    const uint64_t from = std::max(at, s.from);
    if (s.to > from) coveredBytes += s.to - from;
    at = std::max(at, s.to);
  }
  result.bytesLost = t.view.size() - t.areaStart - std::min(t.view.size() - t.areaStart, coveredBytes);

  // What of the claims is missing.
  result.headerCount = claims.headerCount;
  result.tableIds = claims.tableEntries.size();
  std::vector<bool> keptIds(box::kCardIdSpace, false);
  for (const Kept& k : kept) {
    if (k.source->state != RecordState::kDeleted) keptIds[k.source->id] = true;
  }
  for (uint32_t id = box::kFirstNormalId; id <= box::kLastNormalId; ++id) {
    result.seenIds += seen[id];
    const bool claimed = seen[id] || entry[id] != 0;
    result.claimedIds += claimed;
    if (!claimed || keptIds[id]) continue;
    std::string why = dropNote[id];
    if (why.empty() && entry[id] != 0) {
      // The card the table points at, if it carries the ID, says why it is not whole.
      const uint64_t at = static_cast<uint64_t>(static_cast<int64_t>(entry[id]) + t.shift);
      why = format("named by the offset table at 0x%06x", entry[id]);
      if (entry[id] >= t.original(t.areaStart) && t.view.u16(at) == id) {
        Record r;
        r.offset = static_cast<uint32_t>(at);
        why += ", where its card is not whole: " + whyNotWhole(t.view, r, fields);
      } else {
        why += entry[id] + box::kCardHeadSize > broken.size() ? ", past the end of the file"
                                                              : "; no card with this ID was found";
      }
    } else if (entry[id] != 0) {
      why.insert(0, "named by the offset table; ");
    }
    result.missing.push_back({static_cast<uint16_t>(id), why});
  }
  // A dropped card whose ID is not missing: kept by another record, or a
  // head too short to be a claim.
  for (RescuedRecord& d : result.dropped) {
    if (keptIds[d.id]) {
      d.note += "; its ID is kept by another record";
    } else if (!seen[d.id] && entry[d.id] == 0) {
      d.note += "; not counted as a record, since a cut head may be bytes of anything";
    }
  }
  const uint64_t accounted = keptNormal + result.missing.size();
  if (claims.headerCount > accounted)
    result.unnamedMissing = static_cast<uint32_t>(claims.headerCount - accounted);

  // What is written must check clean; should it not, nothing is written.
  BoxAnalysis check(ByteView(result.bytes.data(), static_cast<uint32_t>(result.bytes.size())));
  if (result.bytes.size() > UINT32_MAX || !runsClean(check)) {
    result.bytes.clear();
    result.problem = "the new box did not check clean; nothing was written";
  }
  return result;
}
