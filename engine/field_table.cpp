#include "field_table.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

#include "box_format.h"
#include "coding.h"

namespace {

std::string hex(uint64_t value) {
  char s[24];
  std::snprintf(s, sizeof s, "0x%llx", static_cast<unsigned long long>(value));
  return s;
}

// A normal card of the chain read by its item length area alone: the
// lengths that fill its stated area length exactly, when its size is the
// area, those values and the 4 bytes before the area.
struct SampleCard {
  std::vector<uint32_t> lengths;
};

std::optional<SampleCard> readSample(ByteView file, uint64_t offset, uint64_t* end) {
  const auto id = file.u16(offset);
  const auto size = file.u32(offset + box::kCardSizeField);
  const auto stated = file.u16(offset + box::kCardAreaLengthOffset);
  if (!id || !size || !stated || !box::isNormalId(*id)) return std::nullopt;
  *end = offset + box::kCardHeadSize + *size;
  if (*end > file.size() || *size < box::kCardBodyFixedSize + uint64_t{*stated}) return std::nullopt;
  SampleCard card;
  uint64_t consumed = 0;
  uint64_t sum = 0;
  while (consumed < *stated && card.lengths.size() < 255) {
    uint32_t length = 0;
    uint32_t width = 0;
    if (!file.itemLength(offset + box::kCardAreaOffset + consumed, &length, &width)) return std::nullopt;
    consumed += width;
    sum += length;
    card.lengths.push_back(length);
  }
  if (consumed != *stated || *size != box::normalCardSize(consumed, sum)) return std::nullopt;
  return card;
}

// Cards of the chain from first on, followed by their sizes; where a head
// makes no sense the walk moves on a byte at a time (within a budget) until
// a card does, so that a zeroed or overwritten stretch near the first card
// does not hide the rest.
std::vector<SampleCard> sampleCards(ByteView file, uint64_t first, int maxCards) {
  std::vector<SampleCard> cards;
  uint64_t budget = 1 << 16;
  for (uint64_t o = first;
       static_cast<int>(cards.size()) < maxCards && o + box::kCardAreaOffset <= file.size() && budget > 0;) {
    uint64_t end = 0;
    if (auto card = readSample(file, o, &end)) {
      cards.push_back(std::move(*card));
      o = end;
      continue;
    }
    const auto id = file.u16(o);
    const auto size = file.u32(o + box::kCardSizeField);
    if (id && size && !box::isNormalId(*id) && o + box::kCardHeadSize + *size <= file.size()) {
      o += box::kCardHeadSize + *size;  // a deleted or system card, or bytes that pass for one
    } else {
      ++o;
    }
    --budget;
  }
  return cards;
}

// The count most sample cards agree on; -1 when they do not agree.
int agreedCount(const std::vector<SampleCard>& cards) {
  std::map<size_t, int> votes;
  for (const SampleCard& c : cards) ++votes[c.lengths.size()];
  for (const auto& [n, count] : votes) {
    if (count * 2 > static_cast<int>(cards.size()) && (count >= 2 || cards.size() == 1))
      return static_cast<int>(n);
  }
  return -1;
}

// A parsed item info: where its records lie and their data IDs.
struct Candidate {
  uint64_t offset = 0;
  uint64_t end = 0;
  std::vector<uint8_t> dataIds;
  std::vector<uint64_t> records;  // file offset of each record's length field
  std::string how;                // what was mended to read it; empty when nothing
  int cost = 0;  // how much was assumed to read it: 0 nothing, more the further from the header
  int fit = 0;   // sample cards whose every length fits
};

// count records from offset + 1, each whole in the file and at least as long
// as its fixed fields; the record at index forced takes length forcedLength.
std::optional<Candidate> parse(ByteView file, uint64_t offset, int count, int forced = -1,
                               uint32_t forcedLength = 0) {
  Candidate c;
  c.offset = offset;
  uint64_t p = offset + box::kItemCountSize;
  for (int i = 0; i < count; ++i) {
    auto length = file.u16(p);
    if (i == forced) length = static_cast<uint16_t>(forcedLength);
    const auto dataId = file.u8(p + box::kItemRecordLengthSize);
    if (!length || !dataId || *length < box::kItemRecordFixedSize ||
        !file.contains(p, box::kItemRecordLengthSize + uint64_t{*length}))
      return std::nullopt;
    c.records.push_back(p);
    c.dataIds.push_back(*dataId);
    p += box::kItemRecordLengthSize + *length;
  }
  c.end = p;
  return c;
}

// Why the records at offset with the count byte's count cannot be read, in
// words; empty when they can.
std::string whyUnreadable(ByteView file, uint64_t offset, uint64_t limit, bool limitIsFirstCard) {
  const auto count = file.u8(offset);
  if (!count || offset >= limit) return "the item info lies outside the box file";
  uint64_t p = offset + box::kItemCountSize;
  for (int i = 0; i < *count; ++i) {
    const auto length = p + box::kItemRecordLengthSize <= limit ? file.u16(p) : std::nullopt;
    if (!length || p + box::kItemRecordLengthSize + *length > limit)
      return "field " + std::to_string(i) + " of " + std::to_string(*count) + " runs past " +
             (limitIsFirstCard ? "the first card" : "the end of the file");
    if (*length < box::kItemRecordFixedSize)
      return "field " + std::to_string(i) + " is shorter than a field description";
    p += box::kItemRecordLengthSize + *length;
  }
  return "";
}

bool fits(const Candidate& c, const SampleCard& card) {
  if (card.lengths.size() != c.dataIds.size()) return false;
  for (size_t k = 0; k < card.lengths.size(); ++k) {
    const uint8_t id = c.dataIds[k] > box::kMaxDataId ? 0 : c.dataIds[k];
    if (!box::lengthFits(id, card.lengths[k])) return false;
  }
  return true;
}

int fitting(const Candidate& c, const std::vector<SampleCard>& cards) {
  int n = 0;
  for (const SampleCard& card : cards) n += fits(c, card);
  return n;
}

// The data IDs most cards of the table's count contradict (their values
// have another length than the ID fixes) are written as 3, which takes
// values of any length.
std::vector<std::string> mendDataIds(Candidate& c, const std::vector<SampleCard>& cards) {
  std::vector<std::string> mended;
  int shaped = 0;
  std::vector<int> misfits(c.dataIds.size(), 0);
  for (const SampleCard& card : cards) {
    if (card.lengths.size() != c.dataIds.size()) continue;
    ++shaped;
    for (size_t k = 0; k < card.lengths.size(); ++k)
      misfits[k] += !box::lengthFits(c.dataIds[k], card.lengths[k]);
  }
  for (size_t k = 0; k < c.dataIds.size(); ++k) {
    if (misfits[k] * 2 <= shaped) continue;
    mended.push_back("field " + std::to_string(k) + ": data ID " + std::to_string(c.dataIds[k]) +
                     " does not fit the lengths of the cards' values; written as 3 (values of any length)");
    c.dataIds[k] = box::kAnyLengthDataId;
  }
  return mended;
}

}  // namespace

int countValuesOfCards(ByteView file, uint64_t first, int maxCards) {
  return agreedCount(sampleCards(file, first, maxCards));
}

std::vector<uint8_t> untypedItemInfo(int count) {
  std::vector<uint8_t> out{static_cast<uint8_t>(count)};
  for (int k = 0; k < count; ++k) {
    appendFixed16(out, static_cast<uint16_t>(box::kItemRecordFixedSize));
    out.push_back(box::kAnyLengthDataId);
    out.push_back(0);                                                   // attribute
    for (uint32_t t = 0; t < box::kItemTagSize; ++t) out.push_back(0);  // no tag
  }
  return out;
}

FieldTable readFieldTable(ByteView file) {
  FieldTable table;
  const uint32_t stated = file.u32(box::kItemInfoOffsetField).value_or(0);
  const uint32_t declared = file.u32(box::kItemInfoSizeField).value_or(0);
  const uint32_t first = file.u32(box::kFirstCardField).value_or(0);
  const bool firstBehind = first > stated && first <= file.size();

  // The cards are asked from the first card on, or from behind the declared
  // item info when the header's first card is not in the file.
  const uint64_t from = first > box::kItemInfoOffset && first < file.size() ? first
                        : uint64_t{stated} + declared < file.size()
                            ? uint64_t{stated} + declared
                            : uint64_t{box::kItemInfoOffset} + declared;
  const std::vector<SampleCard> cards = sampleCards(file, from, 64);
  table.cardValueCount = agreedCount(cards);

  // The tables that could be there: where the header says and where a sound
  // box keeps it; with the count byte, with the number of records that fill
  // the declared size or reach the first card, and with one record's length
  // mended so that the records fill it.
  std::vector<Candidate> candidates;
  std::vector<uint64_t> places{stated};
  if (stated != box::kItemInfoOffset) places.push_back(box::kItemInfoOffset);
  for (const uint64_t place : places) {
    const std::string where =
        place == stated ? ""
                        : "read at 0x848, where a sound box keeps it (the header says " + hex(stated) + "); ";
    const auto countByte = file.u8(place);
    if (!countByte) continue;
    std::vector<uint64_t> ends{place + declared};
    if (first > place && first <= file.size()) ends.push_back(first);
    const auto fills = [&](const Candidate& c) {
      return std::find(ends.begin(), ends.end(), c.end) != ends.end();
    };
    if (auto c = parse(file, place, *countByte)) {
      if (fills(*c) || static_cast<int>(c->dataIds.size()) == table.cardValueCount) {
        c->how = where.empty() ? "" : where.substr(0, where.size() - 2);
        c->cost = where.empty() ? 0 : 1;
        candidates.push_back(std::move(*c));
        if (fills(candidates.back())) continue;
      }
    }
    // Counts other than the count byte's: the cards', or any that fills.
    for (int n = 1; n <= 255; ++n) {
      if (n == *countByte) continue;
      auto c = parse(file, place, n);
      if (!c || (!fills(*c) && n != table.cardValueCount)) continue;
      if (!fills(*c) && n == table.cardValueCount && cards.size() < 2) continue;
      c->how = where + "the count byte says " + std::to_string(*countByte) + " fields; " + std::to_string(n) +
               " records are read";
      c->cost = 2;
      candidates.push_back(std::move(*c));
    }
    // One record's length damaged: the length that makes the records fill.
    const int count = table.cardValueCount >= 0 ? table.cardValueCount : *countByte;
    for (int i = 0; i < count; ++i) {
      for (uint32_t length = box::kItemRecordFixedSize; length <= box::kItemRecordFixedSize + 64; ++length) {
        auto c = parse(file, place, count, i, length);
        if (!c || !fills(*c) || c->records.size() <= static_cast<size_t>(i) ||
            file.u16(c->records[static_cast<size_t>(i)]) == length)
          continue;
        c->how = where + "field " + std::to_string(i) + "'s record length " +
                 std::to_string(file.u16(c->records[static_cast<size_t>(i)]).value_or(0)) + " read as " +
                 std::to_string(length);
        c->cost = 3;
        candidates.push_back(std::move(*c));
      }
    }
  }

  // The cards decide: the candidate most of them fit, its data IDs mended
  // where most cards contradict them.  It is taken when it fills its space
  // or most cards fit it, but not when it has none of the cards' count.
  Candidate* best = nullptr;
  std::vector<std::string> bestMends;
  bool bestFills = false;
  const int sampled = static_cast<int>(cards.size());
  for (Candidate& c : candidates) {
    std::vector<std::string> mends;
    c.fit = fitting(c, cards);
    // Data IDs the format does not know make a table less likely, as do
    // those mended below.
    for (const uint8_t id : c.dataIds) c.cost += id == 0 || id > box::kMaxDataId;
    if (c.fit * 2 <= sampled) {
      Candidate mended = c;
      mends = mendDataIds(mended, cards);
      mended.fit = fitting(mended, cards);
      if (mended.fit > c.fit) {
        c = std::move(mended);
      } else {
        mends.clear();
      }
    }
    const bool filling = c.end == uint64_t{c.offset} + declared || (first > c.offset && c.end == first);
    if (!filling && c.fit * 2 <= sampled) continue;
    if (c.fit == 0 && table.cardValueCount >= 0 && table.cardValueCount != static_cast<int>(c.dataIds.size()))
      continue;
    c.cost += static_cast<int>(mends.size());
    const bool better = !best || c.fit > best->fit || (c.fit == best->fit && c.cost < best->cost) ||
                        (c.fit == best->fit && c.cost == best->cost && filling && !bestFills);
    if (better) {
      best = &c;
      bestMends = std::move(mends);
      bestFills = filling;
    }
  }
  if (!best) {
    const uint64_t limit = firstBehind ? first : file.size();
    table.problem = whyUnreadable(file, stated, limit, firstBehind);
    if (table.problem.empty()) {
      const auto count = file.u8(stated).value_or(0);
      table.problem = table.cardValueCount >= 0
                          ? "it lists " + std::to_string(count) + " fields, but the cards hold " +
                                std::to_string(table.cardValueCount) + " values each"
                          : "it lists " + std::to_string(count) + " fields, which do not fill its " +
                                std::to_string(declared) + " bytes";
    } else if (table.cardValueCount >= 0) {
      table.problem += "; the cards hold " + std::to_string(table.cardValueCount) + " values each";
    }
    return table;
  }

  if (!best->how.empty()) table.mended.push_back(best->how);
  table.mended.insert(table.mended.end(), bestMends.begin(), bestMends.end());
  table.typesChanged = !bestMends.empty();
  table.end = best->end;
  const uint8_t* bytes = file.at(best->offset, best->end - best->offset);
  table.itemInfo.assign(bytes, bytes + (best->end - best->offset));
  table.itemInfo[0] = static_cast<uint8_t>(best->dataIds.size());
  for (size_t k = 0; k < best->records.size(); ++k) {
    const size_t at = best->records[k] - best->offset;
    encodeFixed16(table.itemInfo.data() + at,
                  static_cast<uint16_t>((k + 1 < best->records.size() ? best->records[k + 1] : best->end) -
                                        best->records[k] - box::kItemRecordLengthSize));
    uint8_t& dataId = table.itemInfo[at + box::kItemRecordLengthSize];
    dataId = best->dataIds[k];
    // Data IDs the format does not know take values of any length.
    if (dataId == 0 || dataId > box::kMaxDataId) {
      table.mended.push_back("field " + std::to_string(k) + ": unknown data ID " + std::to_string(dataId) +
                             " written as 3 (values of any length)");
      dataId = box::kAnyLengthDataId;
      table.typesChanged = true;
    }
  }
  table.asStated = best->how.empty() && !table.typesChanged && best->offset == stated &&
                   best->end == uint64_t{stated} + declared;
  return table;
}
