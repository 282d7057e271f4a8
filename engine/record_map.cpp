#include "record_map.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "box_format.h"
#include "card_checks.h"
#include "coding.h"
#include "finding_codes.h"

namespace {

// A card's own bytes [offset, end).
struct Span {
  uint64_t offset = 0;
  uint64_t end = 0;
  int32_t card = -1;  // index in the card list; -1 for a card found outside the chain
  uint16_t id = 0;
  bool consistent = false;
  bool chosen = false;  // a consistent card that no better one overlaps, or a trusted unchecked card
  uint32_t cards = 1;   // a run of empty deleted cards back to back stands as one span
};

bool byOffset(const Span& a, const Span& b) { return a.offset < b.offset; }

bool contains(const std::vector<uint64_t>& sorted, uint64_t value) {
  return std::binary_search(sorted.begin(), sorted.end(), value);
}

// Sorts v by less.  The lists here are the chain's cards, which mostly stand
// in file order already, followed by the cards found outside it, which are
// in file order too: two sorted runs merge in linear time.
template <typename T, typename Less = std::less<T>>
void ensureSorted(std::vector<T>& v, Less less = Less()) {
  const auto descent = std::is_sorted_until(v.begin(), v.end(), less);
  if (descent == v.end()) return;
  if (std::is_sorted(descent, v.end(), less)) {
    std::inplace_merge(v.begin(), descent, v.end(), less);
  } else {
    std::sort(v.begin(), v.end(), less);
  }
}

std::vector<uint64_t> sortedValues(std::vector<uint64_t> values) {
  ensureSorted(values);
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

// The smallest encoded area a card of count fields can have, and the largest.
uint32_t smallestArea(int count) { return static_cast<uint32_t>(count); }
uint32_t largestArea(int count) { return static_cast<uint32_t>(count) * kWidestItemLength; }

// The first byte at or after p, before end, that is not zero; end when there is none.
const uint8_t* nonZero(const uint8_t* p, const uint8_t* end) {
  while (p < end && (reinterpret_cast<uintptr_t>(p) & 7) != 0 && *p == 0) ++p;
  if (p < end && *p != 0) return p;
  uint64_t word = 0;
  while (end - p >= 8 && (std::memcpy(&word, p, 8), word == 0)) p += 8;
  while (p < end && *p == 0) ++p;
  return p;
}

// The consistent cards that lie wholly in [from, to), at every byte offset.
// Most positions are rejected by the stated area length alone: a card of
// count fields states between count and 4 * count bytes.  For tables of up
// to 63 fields its high byte is 0, so memchr finds the candidates, and a
// run of zeros (whose stated lengths are 0) is passed over a word at a time.
void scanStretch(ByteView file, const ItemInfo& fields, uint64_t from, uint64_t to, std::vector<Span>& out) {
  const uint32_t least = smallestArea(fields.count);
  const uint32_t most = largestArea(fields.count);
  const uint64_t smallest = box::kCardAreaOffset + uint64_t{least};  // a card of zero-length values
  if (to < from + smallest) return;
  const uint8_t* d = file.at(from, to - from);
  if (!d) return;
  d -= from;  // d[o] is the byte at file offset o, for o in [from, to)
  const auto mostHigh = static_cast<uint8_t>(most >> 8);
  const uint64_t last = to - smallest;  // the last offset a card fits at
  constexpr uint64_t kAreaLow = box::kCardAreaLengthOffset;
  constexpr uint64_t kAreaHigh = kAreaLow + 1;
  for (uint64_t o = from; o <= last; ++o) {
    if (mostHigh == 0) {
      const void* zero = std::memchr(d + o + kAreaHigh, 0, last - o + 1);
      if (!zero) return;
      o = static_cast<uint64_t>(static_cast<const uint8_t*>(zero) - d) - kAreaHigh;
      if (least > 0 && d[o + kAreaLow] == 0) {
        // A stated length of 0 in a run of zeros: the next candidate is where
        // the run ends.
        const uint64_t end = static_cast<uint64_t>(nonZero(d + o + kAreaLow, d + last + kAreaLow + 1) - d);
        o = std::max(o, end - kAreaLow - 1);
        continue;
      }
    } else if (d[o + kAreaHigh] > mostHigh) {
      continue;
    }
    const uint32_t stated = decodeFixed16(d + o + kAreaLow);
    if (stated < least || stated > most) continue;
    const uint32_t size = decodeFixed32(d + o + box::kCardSizeField);
    if (size < box::kCardBodyFixedSize + stated || size > to - o - box::kCardHeadSize) continue;
    if (decodeFixed16(d + o) > box::kLastNormalId) continue;
    if (!cardIsConsistent(file, o, fields, to)) continue;
    out.push_back({o, o + box::kCardHeadSize + size, -1, decodeFixed16(d + o), true, false});
  }
}

// Chooses among overlapping consistent cards: the most weight without
// overlaps, a card weighing 1 and one more for each end that meets another
// card (or the start of the card area, or the end of the file).  Cards of a
// real chain meet their neighbours; a consistent card made of other bytes
// rarely meets any.  spans are sorted by offset.
void choose(std::vector<Span*>& spans, const std::vector<uint64_t>& starts,
            const std::vector<uint64_t>& ends) {
  bool overlaps = false;
  for (size_t k = 1; k < spans.size() && !overlaps; ++k) overlaps = spans[k]->offset < spans[k - 1]->end;
  if (!overlaps) {
    for (Span* s : spans) s->chosen = true;
    return;
  }
  // Weighted interval scheduling over the cards sorted by their ends.
  std::sort(spans.begin(), spans.end(), [](const Span* a, const Span* b) { return a->end < b->end; });
  const size_t n = spans.size();
  std::vector<uint64_t> best(n + 1, 0);
  std::vector<size_t> before(n);
  for (size_t k = 0; k < n; ++k) {
    const Span& s = *spans[k];
    before[k] = static_cast<size_t>(
        std::upper_bound(spans.begin(), spans.begin() + static_cast<ptrdiff_t>(k), s.offset,
                         [](uint64_t offset, const Span* t) { return offset < t->end; }) -
        spans.begin());
    const uint64_t weight = 1 + (contains(ends, s.offset) ? 1 : 0) + (contains(starts, s.end) ? 1 : 0);
    best[k + 1] = std::max(best[k], weight + best[before[k]]);
  }
  for (size_t k = n; k > 0;) {
    const Span& s = *spans[k - 1];
    const uint64_t weight = 1 + (contains(ends, s.offset) ? 1 : 0) + (contains(starts, s.end) ? 1 : 0);
    if (best[k] == weight + best[before[k - 1]]) {
      spans[k - 1]->chosen = true;
      k = before[k - 1];
    } else {
      --k;
    }
  }
}

// The unchecked cards that lie between trusted cards: maximal runs of them,
// each starting where the one before ends, whose first starts where a
// consistent card ends (or at the start of the card area).  A run whose
// last card ends where a consistent card starts (or at the end of the file)
// is trusted at once; one that ends elsewhere (before a damaged card, or in
// a junk tail) only when the lost and found finds nothing inside it, so that
// a deleted card with a wrong size never hides the records it runs over.
struct Run {
  size_t first = 0;
  size_t last = 0;
  bool closed = false;  // its last card ends where a trusted card begins
};

std::vector<Run> uncheckedRuns(const std::vector<Span>& spans, uint64_t areaStart, uint64_t fileSize) {
  std::vector<uint64_t> starts;
  std::vector<uint64_t> ends{areaStart};
  for (const Span& s : spans) {
    if (!s.consistent) continue;
    starts.push_back(s.offset);
    ends.push_back(s.end);
  }
  starts.push_back(fileSize);
  starts = sortedValues(std::move(starts));
  ends = sortedValues(std::move(ends));
  const auto unchecked = [](const Span& s) { return !s.consistent && !box::isNormalId(s.id); };
  std::vector<Run> runs;
  for (size_t k = 0; k < spans.size();) {
    if (!unchecked(spans[k])) {
      ++k;
      continue;
    }
    size_t last = k;
    while (last + 1 < spans.size() && unchecked(spans[last + 1]) && spans[last + 1].offset == spans[last].end)
      ++last;
    if (contains(ends, spans[k].offset)) runs.push_back({k, last, contains(starts, spans[last].end)});
    k = last + 1;
  }
  return runs;
}

}  // namespace

bool cardIsConsistent(ByteView file, uint64_t offset, const ItemInfo& fields, uint64_t limit) {
  const uint8_t* head = file.at(offset, box::kCardAreaOffset);
  if (!head) return false;
  const uint32_t size = decodeFixed32(head + box::kCardSizeField);
  const uint64_t end = offset + box::kCardHeadSize + size;
  if (decodeFixed16(head) > box::kLastNormalId || end > limit || end > file.size()) return false;
  // Each length takes 1 to 4 bytes, and the size holds the area and more.
  const uint32_t stated = decodeFixed16(head + box::kCardAreaLengthOffset);
  if (stated < smallestArea(fields.count) || stated > largestArea(fields.count) ||
      size < box::kCardBodyFixedSize + uint64_t{stated})
    return false;
  const CardValues values(file, offset, fields);
  if (values.decoded != values.count() || values.statedArea != values.areaLength ||
      size != box::normalCardSize(values.areaLength, values.valuesLength))
    return false;
  for (int k = 0; k < values.count(); ++k) {
    if (!lengthFitsDataId(fields.entries[static_cast<size_t>(k)], values.length(k))) return false;
  }
  return true;
}

bool bodyDecodes(const CardValues& values, const ItemInfo& fields, uint64_t end) {
  if (values.decoded != values.count() || values.statedArea != values.areaLength) return false;
  for (int k = 0; k < values.count(); ++k) {
    if (!lengthFitsDataId(fields.entries[static_cast<size_t>(k)], values.length(k))) return false;
    if (!values.valueIn(k, end)) return false;
  }
  return true;
}

RecordMap mapRecords(ByteView file, const cardChain& chain, const ItemInfo& fields, uint64_t areaStart,
                     const MapOptions& options) {
  const bool deleted = options.deleted;
  RecordMap map;
  map.areaStart = areaStart;
  const CardList& cards = chain.cards;
  const uint64_t size = file.size();

  // The chain's cards by their own bytes, each offset once, in file order.
  // A card whose head or body the file cuts has no extent of its own.
  // Where the cards stand in file order, a run of empty deleted cards is
  // one span: no other card begins inside it, and none of its cards is
  // consistent or a record.
  std::vector<Span> spans;
  std::vector<uint64_t> offsets;  // of every card the trace read (of a run, its first)
  spans.reserve(cards.storedCount());
  offsets.reserve(cards.storedCount());
  const bool inOrder = chain.inFileOrder();
  const auto addCard = [&](const CardRecord& c, size_t i) {
    const uint64_t o = c.offset;
    offsets.push_back(o);
    if (!chain.isFirstAtOffset(static_cast<int32_t>(i))) return;
    const auto card = static_cast<int32_t>(i);
    if (box::isTerminatorAt(o, c.id, size)) {
      spans.push_back({o, size, card, c.id, false, false});
      return;
    }
    const auto id = file.u16(o);
    const auto bodySize = file.u32(o + box::kCardSizeField);
    if (!id || !bodySize || o + box::kCardHeadSize + *bodySize > size) return;
    // A normal card's content check already judged its own bytes.
    const bool consistent = box::isNormalId(*id) ? c.consistent : cardIsConsistent(file, o, fields, size);
    spans.push_back({o, o + box::kCardHeadSize + *bodySize, card, *id, consistent});
  };
  cards.forEachStored([&](const CardList::Stored& s) {
    if (s.count == 1) return addCard(s.record, s.first);
    const uint64_t o = s.record.offset;
    if (inOrder && chain.isFirstAtOffset(static_cast<int32_t>(s.first))) {
      offsets.push_back(o);
      spans.push_back({o, o + uint64_t{CardList::kRunStep} * s.count, static_cast<int32_t>(s.first),
                       box::kGarbageId, false, false, static_cast<uint32_t>(s.count)});
      return;
    }
    CardRecord c = s.record;
    for (size_t k = 0; k < s.count; ++k, c.offset += CardList::kRunStep) addCard(c, s.first + k);
  });
  if (!std::is_sorted(spans.begin(), spans.end(), byOffset))
    std::stable_sort(spans.begin(), spans.end(), byOffset);
  offsets = sortedValues(std::move(offsets));
  const std::vector<Run> runs = uncheckedRuns(spans, areaStart, size);
  for (const Run& run : runs) {
    for (size_t j = run.first; run.closed && j <= run.last; ++j) spans[j].chosen = true;
  }

  // Lost and found: every stretch of the card area that no consistent card
  // and no trusted card covers.
  std::vector<Span> found;
  {
    uint64_t covered = areaStart;
    const auto look = [&](uint64_t to) {
      if (to > covered && options.lostAndFound) scanStretch(file, fields, covered, to, found);
    };
    for (const Span& s : spans) {
      if (!s.consistent && !s.chosen) continue;
      look(std::min(s.offset, size));
      covered = std::max(covered, s.end);
    }
    look(size);
  }
  // An open run with nothing found inside is trusted after all.
  ensureSorted(found, byOffset);
  for (const Run& run : runs) {
    if (run.closed) continue;
    const uint64_t from = spans[run.first].offset;
    const auto inside = std::lower_bound(found.begin(), found.end(), Span{from}, byOffset);
    if (inside != found.end() && inside->offset < spans[run.last].end) continue;
    for (size_t j = run.first; j <= run.last; ++j) spans[j].chosen = true;
  }

  // The consistent cards, chain and found, without overlaps.
  // Lists as long as the cards: reserved at their length, never doubled past it.
  const auto countSpans = [&](bool (*counted)(const Span&)) {
    size_t n = 0;
    for (const std::vector<Span>* list : {&spans, &found})
      n += std::count_if(list->begin(), list->end(), counted);
    return n;
  };
  {  // the lists of starts and ends are freed before the next ones grow
    const size_t marked = countSpans([](const Span& s) { return s.consistent || s.chosen; });
    std::vector<Span*> consistent;
    std::vector<uint64_t> starts;
    std::vector<uint64_t> ends{areaStart};
    starts.reserve(marked + 1);
    ends.reserve(marked + 1);
    for (std::vector<Span>* list : {&spans, &found}) {
      for (Span& s : *list) {
        if (!s.consistent && !s.chosen) continue;
        if (s.consistent) consistent.push_back(&s);
        starts.push_back(s.offset);
        ends.push_back(s.end);
      }
    }
    starts.push_back(size);
    starts = sortedValues(std::move(starts));
    ends = sortedValues(std::move(ends));
    ensureSorted(consistent, [](const Span* a, const Span* b) { return a->offset < b->offset; });
    choose(consistent, starts, ends);
  }

  // Where the chosen cards end: the card boundaries.
  const size_t chosen = countSpans([](const Span& s) { return s.chosen; });
  std::vector<uint64_t> boundaries{areaStart};
  std::vector<Stretch> kept;
  boundaries.reserve(chosen + 1);
  kept.reserve(chosen);
  std::vector<bool> whole(cards.size(), false);
  for (std::vector<Span>* list : {&spans, &found}) {
    for (const Span& s : *list) {
      if (!s.chosen) continue;
      boundaries.push_back(s.end);
      kept.push_back({s.offset, s.end});
      if (s.card >= 0) {
        whole[static_cast<size_t>(s.card)] = true;
        if (!s.consistent) map.trustedCards.push_back({s.card, s.cards});
      }
    }
  }
  boundaries = sortedValues(std::move(boundaries));
  ensureSorted(map.trustedCards);
  ensureSorted(kept, [](const Stretch& a, const Stretch& b) { return a.from < b.from; });
  uint64_t at = areaStart;
  for (const Stretch& k : kept) {
    if (k.from > at) map.unaccounted.push_back({at, k.from});
    at = std::max(at, k.to);
  }
  if (at < size) map.unaccounted.push_back({at, size});

  // The records: the chain's in chain order, the found ones among them by offset.
  std::vector<const Span*> lost;
  for (const Span& s : found) {
    if (s.chosen && (s.id != box::kGarbageId || deleted)) lost.push_back(&s);
  }
  ensureSorted(lost, [](const Span* a, const Span* b) { return a->offset < b->offset; });
  size_t nextLost = 0;
  const auto addLost = [&](uint64_t before) {
    for (; nextLost < lost.size() && lost[nextLost]->offset < before; ++nextLost) {
      const Span& s = *lost[nextLost];
      const RecordState state = s.id == box::kGarbageId ? RecordState::kDeleted : RecordState::kFound;
      map.records.push_back({-1, static_cast<uint32_t>(s.offset), s.id, state, true, s.end});
      if (state == RecordState::kFound) ++map.found;
    }
  };
  const auto consider = [&](const CardRecord& card, size_t index) {
    const bool normal = box::isNormalId(card.id);
    if (!normal && !(deleted && card.id == box::kGarbageId)) return;
    if (!chain.isFirstAtOffset(static_cast<int32_t>(index))) return;
    // Where the trace read the next card: the values of a card that is not
    // whole may reach that far.
    const auto later = std::upper_bound(offsets.begin(), offsets.end(), uint64_t{card.offset});
    const uint64_t next = later == offsets.end() ? size : *later;
    // The card's own end, by the size its head states (a salvage may have
    // rewritten the record's).
    const uint64_t own = uint64_t{card.offset} + box::kCardHeadSize +
                         file.u32(uint64_t{card.offset} + box::kCardSizeField).value_or(0);
    Record r{static_cast<int32_t>(index), card.offset, card.id, RecordState::kSound, whole[index], next};
    if (normal) {
      if (card.level & (code::kFailing | code::trace::kOutOfFile)) r.state = RecordState::kDamaged;
      if (r.whole) {
        r.end = std::min(own, size);
      } else if (!contains(boundaries, card.offset)) {
        map.strayCards.push_back(r.card);
      }
    } else {
      // A deleted card's head must be whole, and its body must decode.
      if (fields.count == 0 || uint64_t{card.offset} + box::kCardAreaOffset > next) return;
      const CardValues values(file, card.offset, fields);
      if (!bodyDecodes(values, fields, next)) return;
      r.state = RecordState::kDeleted;
      r.whole = r.whole && bodyDecodes(values, fields, std::min(own, size));
      if (r.whole) r.end = std::min(own, size);
    }
    addLost(card.offset);
    map.records.push_back(r);
  };
  // An empty deleted card is never a record: the next card begins right
  // behind its head, where its body would hold its values.
  cards.forEachStored([&](const CardList::Stored& s) {
    if (s.count == 1) return consider(s.record, s.first);
    if (inOrder) return;
    CardRecord c = s.record;
    for (size_t k = 0; k < s.count; ++k, c.offset += CardList::kRunStep) consider(c, s.first + k);
  });
  addLost(UINT64_MAX);
  return map;
}

Claims readClaims(ByteView box, uint64_t areaStart) {
  Claims claims;
  claims.headerCount = box.u16(box::kDataSizeField).value_or(0);
  std::vector<uint32_t> named(box::kCardIdSpace, 0);  // the entry's offset; 0 for none
  // An entry may point past the end of a file that was cut short (it does
  // not end in the terminator): the card it names was lost with the end.
  // Values far beyond it, or beyond the end of a whole file, are damage.
  const auto tail = box.u16(box.size() >= box::kTerminatorSize ? box.size() - box::kTerminatorSize : 0);
  const bool cut = tail != box::kTerminatorId;
  const uint64_t farthest = cut ? uint64_t{box.size()} * 4 : box.size();
  const auto take = [&](uint32_t id, uint32_t value) {
    if (!box::isNormalId(id) || box::isEmptyEntry(value) || value < areaStart || value >= farthest) return;
    if (box.u16(value) == box::kGarbageId) return;
    if (!named[id]) named[id] = value;
  };
  uint64_t run = box::kDefaultEntriesOffset;
  uint32_t firstId = 1;
  uint32_t count = box::kDefaultEntryCount;
  std::vector<uint32_t> walked;
  while (firstId <= box::kLastNormalId) {
    for (uint32_t j = 0; j < count && firstId + j <= box::kLastNormalId; ++j) {
      const auto value = box.u32(run + uint64_t{box::kOffsetEntrySize} * j);
      if (!value) break;
      take(firstId + j, *value);
    }
    // The next run is the offset card the link names, read by its head alone.
    const auto link = box.u32(run + uint64_t{box::kOffsetEntrySize} * count);
    if (!link || *link < areaStart || box.u16(*link) != box::kOffsetCardId) break;
    if (std::find(walked.begin(), walked.end(), *link) != walked.end()) break;
    walked.push_back(*link);
    run = uint64_t{*link} + box::kCardHeadSize;
    firstId += count;
    count = box::offsetCardEntryCount(box.u32(uint64_t{*link} + box::kCardSizeField).value_or(0));
  }
  for (uint32_t id = box::kFirstNormalId; id <= box::kLastNormalId; ++id)
    if (named[id]) claims.tableEntries.push_back({static_cast<uint16_t>(id), named[id]});
  return claims;
}
