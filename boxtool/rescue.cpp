#include "rescue.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "box_analysis.h"
#include "box_format.h"
#include "box_writer.h"
#include "coding.h"
#include "report_scope.h"
#include "reporter.h"

namespace {

// Delivery is what raises the levels the rescue reads; nothing is shown.
class Silent : public Reporter {
 public:
  void message(const char*, va_list) override {}
  void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {}
};

// True when the analysis delivered no Error and no Critical, against any
// checker or any card.
bool runsClean(BoxAnalysis& a) {
  Silent silent;
  ReportScope scope(&silent, {});
  if (a.run()) return false;
  for (const CardRecord& card : a.chain->cards) {
    if (card.level & code::kFailing) return false;
  }
  return true;
}

__attribute__((format(printf, 1, 2))) std::string describe(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  char s[128];
  std::vsnprintf(s, sizeof s, fmt, args);
  va_end(args);
  return s;
}

uint32_t itemLengthSize(uint32_t length) { return length < 0x80 ? 1 : length < 0x8000 ? 2 : 4; }

// Why a record cannot be written, or "" when it can; then its new body's
// size goes to *size.
std::string whyNotKept(ByteView file, const Record& r, const ItemInfo& fields, uint64_t* size) {
  const CardValues values(file, r.offset, fields);
  if (values.decoded < values.count())
    return describe("the item length of value %d lies beyond the end of the file", values.decoded);
  uint64_t bytes = 4;
  for (int k = 0; k < values.count(); ++k) {
    if (!box::lengthFits(fields.entries[static_cast<size_t>(k)].dataId, values.length(k)))
      return describe("the length of value %d does not fit its field", k);
    if (!values.valueIn(k, r.end)) {
      return describe(r.end == file.size()
                          ? "value %d lies beyond the end of the file"
                          : "value %d lies beyond the card's end (where the next card begins)",
                      k);
    }
    bytes += itemLengthSize(values.length(k)) + values.length(k);
  }
  *size = bytes;
  return "";
}

// The new body of a record that whyNotKept() accepted: the word before the
// stated area length as the card had it, the area length and the lengths
// in their shortest encoding, then the values.
void rebuildBody(ByteView file, const Record& r, const ItemInfo& fields, std::vector<uint8_t>& body) {
  const CardValues values(file, r.offset, fields);
  body.clear();
  appendFixed16(body, file.u16(uint64_t{r.offset} + box::kCardHeadSize).value_or(0));
  appendFixed16(body, 0);
  for (int k = 0; k < values.count(); ++k) appendItemLength(body, values.length(k));
  encodeFixed16(body.data() + 2, static_cast<uint16_t>(body.size() - 4));
  for (int k = 0; k < values.count(); ++k) {
    const uint8_t* v = file.data() + values.position(k);
    body.insert(body.end(), v, v + values.length(k));
  }
}

// The broken box's card area behind a fresh header, default table and the
// field table: the analysis of these bytes traces the cards as the broken
// box holds them, against exactly the field table the new box gets.
struct Composite {
  ByteView view;               // the bytes to trace: the broken box's, or bytes
  std::vector<uint8_t> bytes;  // made here
  int64_t shift = 0;           // offset traced - broken offset
};

Composite composite(ByteView broken, const std::vector<uint8_t>& itemInfo) {
  const uint32_t stated = broken.u32(box::kFirstCardField).value_or(0);
  // Where the header places the first card, when that is behind the default
  // table; otherwise the salvage finds the first card from there.
  const uint64_t first = stated >= box::kItemInfoOffset && stated < broken.size()
                             ? stated
                             : std::min(broken.size(), box::kItemInfoOffset);
  Composite c;
  // A box that holds this very field table where a sound box holds it, with
  // the first card right behind, is traced as it stands.
  const uint8_t* own = broken.at(box::kItemInfoOffset, itemInfo.size());
  if (first == box::kItemInfoOffset + itemInfo.size() && own &&
      std::equal(itemInfo.begin(), itemInfo.end(), own) &&
      broken.u32(box::kItemInfoOffsetField) == box::kItemInfoOffset &&
      broken.u32(box::kItemInfoSizeField) == itemInfo.size()) {
    c.view = broken;
    return c;
  }
  BoxWriter writer(itemInfo);
  writer.reserve(box::kItemInfoOffset + itemInfo.size() + (broken.size() - first));
  c.bytes = writer.finish();
  c.shift = static_cast<int64_t>(c.bytes.size()) - static_cast<int64_t>(first);
  c.bytes.insert(c.bytes.end(), broken.data() + first, broken.data() + broken.size());
  if (c.bytes.size() <= UINT32_MAX) c.view = ByteView(c.bytes.data(), static_cast<uint32_t>(c.bytes.size()));
  return c;
}

// The header's and the default table's bytes the format leaves to the
// device, copied from the broken box where it has them.
void copyUninterpreted(ByteView broken, std::vector<uint8_t>& out) {
  const std::pair<uint32_t, uint32_t> ranges[] = {
      {20, 48}, {58, box::kHeaderSize}, {box::kHeaderSize, box::kDefaultEntriesOffset}};
  for (const auto& [from, to] : ranges) {
    for (uint32_t k = from; k < to && k < broken.size(); ++k) out[k] = broken.data()[k];
  }
}

}  // namespace

RescuedBox rescueBox(ByteView broken, const FieldTable* fieldsFrom, bool deleted) {
  RescuedBox result;
  const FieldTable own = fieldsFrom ? FieldTable{} : readFieldTable(broken);
  const FieldTable& table = fieldsFrom ? *fieldsFrom : own;
  if (!table.problem.empty()) {
    result.problem = "the item info cannot be read (" + table.problem +
                     "); give --fields-from with a sound box of the same application";
    return result;
  }
  result.fieldsMended = table.mended;
  const Composite c = composite(broken, table.itemInfo);
  const ByteView view = c.view;
  if (!view.data()) {
    result.problem = "the box is too large";
    return result;
  }
  BoxAnalysis a(view);
  runsClean(a);
  const ItemInfo& fields = *a.itemInfo;
  const cardChain& chain = *a.chain;
  const auto original = [&](uint32_t offset) { return static_cast<uint32_t>(int64_t{offset} - c.shift); };

  // The records that can be written, in chain order, each with its new ID
  // (0 until one is given); their bodies are made as they are written.
  struct Kept {
    const Record* source;
    uint16_t newId;
  };
  const std::vector<Record> records = listRecords(view, chain, fields, deleted);
  const auto rescued = [&](const Record& r, uint16_t newId, const std::string& note) {
    return RescuedRecord{r.card, original(r.offset), r.id, newId, note};
  };
  std::vector<Kept> kept;
  kept.reserve(records.size());
  std::vector<bool> taken(box::kCardIdSpace, false);
  uint64_t covered = 0;  // card area bytes that go into the new box
  uint64_t keptBytes = 0;
  for (const Record& r : records) {
    uint64_t size = 0;
    const std::string why = whyNotKept(view, r, fields, &size);
    if (!why.empty()) {
      result.dropped.push_back(rescued(r, 0, why));
      continue;
    }
    covered += r.end - r.offset;
    keptBytes += box::kCardHeadSize + size;
    Kept k{&r, 0};
    if (r.state != RecordState::kDeleted && !taken[r.id]) {
      taken[r.id] = true;
      k.newId = r.id;
      if (r.state == RecordState::kDamaged)
        result.repaired.push_back(
            rescued(r, r.id, "its lengths, area length and size rewritten from its values"));
    }
    kept.push_back(k);
  }

  // Free IDs for the second holders of an ID and for the deleted records.
  uint32_t nextFree = box::kFirstNormalId;
  BoxWriter writer(table.itemInfo);
  writer.reserve(box::kItemInfoOffset + table.itemInfo.size() + keptBytes + view.size() / 16 + 4096);
  uint16_t maxId = 0;
  std::vector<uint8_t> body;
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
    rebuildBody(view, r, fields, body);
    writer.card(k.newId, body);
    maxId = std::max(maxId, k.newId);
    ++result.kept;
  }
  // Offset cards for the IDs beyond the default table, 128 a card.
  for (uint32_t id = box::kFirstOffsetCardId; id <= maxId; id += box::kUsualOffsetCardEntries)
    writer.offsetCard();
  // The first sound reference index card, and other sound system cards, as
  // they stand; offset cards are rebuilt and the terminator written anew.
  bool indexCard = false;
  for (size_t i = 0; i < chain.cards.size(); ++i) {
    const CardRecord& card = chain.cards[i];
    if (!box::isSystemId(card.id) || (card.level & code::kFailing) ||
        !chain.isFirstAtOffset(static_cast<int32_t>(i)))
      continue;
    const bool terminator = box::isTerminatorAt(card.offset, card.id, view.size());
    const uint64_t bytes = terminator ? box::kTerminatorSize : uint64_t{box::kCardHeadSize} + card.size;
    if (!view.contains(card.offset, bytes)) continue;
    covered += bytes;  // offset cards and the terminator are in the new box, rebuilt
    if (terminator || card.id == box::kOffsetCardId || card.id == box::kTerminatorId) continue;
    if (card.id == box::kIndexCardId) {
      if (indexCard) continue;
      indexCard = true;
    }
    const uint8_t* body = view.data() + card.offset + box::kCardHeadSize;
    writer.card(card.id, std::vector<uint8_t>(body, body + card.size));
    ++result.systemCards;
  }
  writer.terminator();
  result.bytes = writer.finish();
  copyUninterpreted(broken, result.bytes);

  const uint64_t area = view.size() - std::min<uint64_t>(view.size(), a.headerCheck->firstCardOffset());
  result.bytesLost = area - std::min(area, covered);

  // What is written must check clean; should it not, nothing is written.
  BoxAnalysis check(ByteView(result.bytes.data(), static_cast<uint32_t>(result.bytes.size())));
  if (result.bytes.size() > UINT32_MAX || !runsClean(check)) {
    result.bytes.clear();
    result.problem = "the new box did not check clean; nothing was written";
  }
  return result;
}
