#include "rescue_trial.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>

#include "address_book.h"
#include "box_builder.h"
#include "box_format.h"
#include "box_writer.h"
#include "coding.h"
#include "field_table.h"
#include "rescue.h"

namespace boxtest {

namespace {

using Rng = std::mt19937;

uint32_t below(Rng& rng, uint64_t n) { return n == 0 ? 0 : static_cast<uint32_t>(rng() % n); }

Bytes randomText(Rng& rng, size_t length) {
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,-@";
  Bytes out(length);
  for (uint8_t& c : out) c = static_cast<uint8_t>(kLetters[below(rng, sizeof kLetters - 1)]);
  return out;
}

Bytes randomTime(Rng& rng) {
  return timeValue(70 + below(rng, 60), below(rng, 12), 1 + below(rng, 28), below(rng, 24), below(rng, 60),
                   below(rng, 60));
}

// A value of the given data ID: its fixed length, or text of a random length.
Bytes randomValue(Rng& rng, uint8_t dataId, size_t longest) {
  switch (dataId) {
    case 4:
      return below(rng, 5) == 0 ? Bytes{} : randomTime(rng);
    case 6:
    case 11:
      return {static_cast<uint8_t>(below(rng, 256))};
    case 7:
      return {static_cast<uint8_t>(below(rng, 7))};
    case 8:
      return {static_cast<uint8_t>(below(rng, 256)), static_cast<uint8_t>(below(rng, 4))};
    case 18: {
      Bytes v(4);
      putU32(v, 0, rng());
      return v;
    }
    default:
      return below(rng, 6) == 0 ? Bytes{} : randomText(rng, below(rng, longest + 1));
  }
}

struct Field {
  uint8_t dataId;
  const char* tag;
};

const std::vector<Field>& fieldsOf(Table table) {
  static const std::vector<Field> kWide = {
      {1, "NAME"},  {2, "KANA"},  {3, "TEL1"},  {4, "BDAY"},  {5, "ADR1"},  {6, "FLAG"},
      {7, "WDAY"},  {8, "CATG"},  {9, "NOTE"},  {10, "URL "}, {11, "PRIO"}, {12, "ORG "},
      {13, "SECT"}, {14, "TITL"}, {15, "TEL2"}, {16, "FAX "}, {17, "MAIL"}, {18, "UID "},
      {1, "NIC "},  {3, "TEL3"},  {4, "UPDT"},  {1, "MEMO"}};
  static const std::vector<Field> kMemo = {{1, "TITL"}, {3, "BODY"}, {4, "DATE"}, {6, "FLAG"}};
  return table == Table::kWide ? kWide : kMemo;
}

// One element of the sound box's chain, where build() put it.
struct Element {
  uint32_t offset = 0;
  uint32_t end = 0;
  uint16_t id = 0;
  bool record = false;   // a normal card
  bool deleted = false;  // a deleted record: ID 0, a normal card's body
};

struct KnownBox {
  Bytes bytes;
  std::vector<Element> elements;
  uint32_t firstCard = 0;
};

KnownBox buildBox(Table table, Rng& rng) {
  BoxBuilder b = table == Table::kAddressBook ? addressFields() : BoxBuilder();
  if (table != Table::kAddressBook) {
    for (const Field& f : fieldsOf(table)) b.field(f.dataId, f.tag, f.tag);
  }
  const unsigned records = table == Table::kAddressBook ? 300 + below(rng, 400)
                           : table == Table::kWide      ? 60 + below(rng, 140)
                                                        : 40 + below(rng, 80);
  struct Planned {
    uint16_t id;
    bool record;
    bool deleted;
    size_t bodySize;
  };
  std::vector<Planned> plan;
  const auto valuesFor = [&](unsigned id) {
    if (table == Table::kAddressBook) {
      std::vector<Bytes> v = addressValues(id);
      if (below(rng, 4) == 0) {
        const Bytes memo = randomText(rng, below(rng, 300));
        v[3].insert(v[3].end(), memo.begin(), memo.end());
      }
      return v;
    }
    std::vector<Bytes> v;
    for (const Field& f : fieldsOf(table))
      v.push_back(randomValue(rng, f.dataId, table == Table::kMemo ? 2500 : 60));
    return v;
  };
  uint16_t id = 0;
  for (unsigned n = 0; n < records; ++n) {
    id = static_cast<uint16_t>(id + 1 + (below(rng, 10) == 0 ? 1 : 0));
    const std::vector<Bytes> values = valuesFor(id);
    const bool deletedRecord = below(rng, 25) == 0;
    b.card(deletedRecord ? 0 : id, values);
    plan.push_back(
        {deletedRecord ? uint16_t{0} : id, !deletedRecord, deletedRecord, normalCardBody(values).size()});
    if (below(rng, 30) == 0) {
      const uint32_t filler = 8 + below(rng, 60);
      b.garbage(filler);
      plan.push_back({0, false, false, filler});
    }
    if (id > 500 && (id - 500) % 128 == 0) {
      b.offsetCard();
      plan.push_back({box::kOffsetCardId, false, false, box::kUsualOffsetCardSize});
    }
  }
  if (id > 500 && (id - 500) % 128 != 0) {
    b.offsetCard();
    plan.push_back({box::kOffsetCardId, false, false, box::kUsualOffsetCardSize});
  }
  b.indexCard({{"NAME", "name.idx"}});
  plan.push_back({box::kIndexCardId, false, false, 0});
  b.terminator();
  const BuiltBox built = b.build();
  KnownBox known;
  known.bytes = built.bytes;
  known.firstCard = built.firstCard;
  for (size_t k = 0; k < plan.size(); ++k) {
    const uint32_t at = built.offsets[k];
    const uint32_t size = decodeFixed32(built.bytes.data() + at + box::kCardSizeField);
    known.elements.push_back(
        {at, at + box::kCardHeadSize + size, plan[k].id, plan[k].record, plan[k].deleted});
  }
  return known;
}

// Sets the byte at to a random value other than its own.
void flip(Bytes& b, size_t at, Rng& rng) { b[at] = static_cast<uint8_t>(b[at] ^ (1 + below(rng, 255))); }

void flipIn(Bytes& b, uint64_t from, uint64_t to, int count, Rng& rng) {
  for (int k = 0; k < count && to > from; ++k) flip(b, from + below(rng, to - from), rng);
}

const Element& someRecord(const KnownBox& box, Rng& rng) {
  for (;;) {
    const Element& e = box.elements[below(rng, box.elements.size())];
    if (e.record) return e;
  }
}

Bytes damaged(const KnownBox& known, Damage damage, Rng& rng) {
  Bytes b = known.bytes;
  const uint64_t size = b.size();
  const uint64_t first = known.firstCard;
  switch (damage) {
    case Damage::kTruncate:
      b.resize(first + below(rng, size - first));
      break;
    case Damage::kTornTail: {
      const Element& e =
          known.elements[known.elements.size() - 1 - below(rng, std::min<size_t>(4, known.elements.size()))];
      b.resize(e.offset + below(rng, e.end - e.offset));
      break;
    }
    case Damage::kJunkTail: {
      for (uint32_t k = 100 + below(rng, 4000); k > 0; --k) b.push_back(static_cast<uint8_t>(rng()));
      break;
    }
    case Damage::kLostTerminator:
      b.resize(size - box::kTerminatorSize);
      break;
    case Damage::kFlip1:
      flipIn(b, 0, size, 1, rng);
      break;
    case Damage::kFlip8:
      flipIn(b, 0, size, 8, rng);
      break;
    case Damage::kFlip64:
      flipIn(b, 0, size, 64, rng);
      break;
    case Damage::kFlipCards1:
      flipIn(b, first, size, 1, rng);
      break;
    case Damage::kFlipCards8:
      flipIn(b, first, size, 8, rng);
      break;
    case Damage::kFlipTables1:
      flipIn(b, 0, first, 1, rng);
      break;
    case Damage::kFlipTables8:
      flipIn(b, 0, first, 8, rng);
      break;
    case Damage::kFlipItemInfo:
      flipIn(b, box::kItemInfoOffset, first, 1, rng);
      break;
    case Damage::kZero512:
    case Damage::kZero4096: {
      const uint64_t sector = damage == Damage::kZero512 ? 512 : 4096;
      const uint64_t at = below(rng, (size + sector - 1) / sector) * sector;
      std::fill(b.begin() + static_cast<ptrdiff_t>(at),
                b.begin() + static_cast<ptrdiff_t>(std::min(size, at + sector)), 0);
      break;
    }
    case Damage::kRandomStretch: {
      const uint64_t at = first + below(rng, size - first);
      for (uint64_t k = at; k < std::min(size, at + 1024); ++k) b[k] = static_cast<uint8_t>(rng());
      break;
    }
    case Damage::kBrokenSize: {
      const Element& e = someRecord(known, rng);
      const uint32_t old = decodeFixed32(b.data() + e.offset + box::kCardSizeField);
      const uint32_t now = below(rng, 4) == 0 ? rng() : old + 1 + below(rng, 40) - (below(rng, 2) ? 0 : 41);
      encodeFixed32(b.data() + e.offset + box::kCardSizeField, now == old ? old + 1 : now);
      break;
    }
    case Damage::kBrokenLink: {
      std::vector<uint32_t> links{box::kDefaultLinkOffset};
      for (const Element& e : known.elements)
        if (e.id == box::kOffsetCardId) links.push_back(e.end - box::kOffsetEntrySize);
      encodeFixed32(b.data() + links[below(rng, links.size())], below(rng, 2) ? rng() : below(rng, size));
      break;
    }
    case Damage::kBrokenId: {
      const Element& e = someRecord(known, rng);
      encodeFixed16(b.data() + e.offset,
                    static_cast<uint16_t>(decodeFixed16(b.data() + e.offset) ^ (1 + below(rng, 0xFFFF))));
      break;
    }
    case Damage::kDuplicateIds:
      for (int k = 0; k < 3; ++k)
        encodeFixed16(b.data() + someRecord(known, rng).offset, someRecord(known, rng).id);
      break;
    case Damage::kShiftedHeader:
      encodeFixed32(b.data() + box::kFirstCardField,
                    below(rng, 2) ? rng() : static_cast<uint32_t>(first + below(rng, 200) - 100));
      break;
  }
  return b;
}

// The normal cards of a sound box, walked by their sizes: (ID, body).
std::vector<std::pair<uint16_t, Bytes>> cardsOf(const Bytes& box) {
  std::vector<std::pair<uint16_t, Bytes>> out;
  uint64_t o = decodeFixed32(box.data() + box::kFirstCardField);
  while (o + box::kCardHeadSize <= box.size()) {
    const uint16_t id = decodeFixed16(box.data() + o);
    const uint32_t size = decodeFixed32(box.data() + o + box::kCardSizeField);
    if (box::isNormalId(id))
      out.emplace_back(id, Bytes(box.begin() + static_cast<ptrdiff_t>(o + box::kCardHeadSize),
                                 box.begin() + static_cast<ptrdiff_t>(o + box::kCardHeadSize + size)));
    o += box::kCardHeadSize + size;
  }
  return out;
}

}  // namespace

const char* tableName(Table table) {
  switch (table) {
    case Table::kAddressBook:
      return "address book (10 fields)";
    case Table::kWide:
      return "22 fields";
    case Table::kMemo:
      return "memo (4 fields)";
  }
  return "?";
}

const char* damageName(Damage damage) {
  static const char* const kNames[] = {
      "truncated",        "torn tail",        "junk tail",         "lost terminator",
      "1 flipped byte",   "8 flipped bytes",  "64 flipped bytes",  "1 flip in cards",
      "8 flips in cards", "1 flip in tables", "8 flips in tables", "1 flip in the item info",
      "zeroed 512 bytes", "zeroed 4 KiB",     "1 KiB random",      "broken card size",
      "broken link",      "broken card ID",   "duplicate IDs",     "first card moved"};
  return kNames[static_cast<int>(damage)];
}

TrialResult runTrial(const Trial& trial) {
  Rng rng(trial.seed * 7919u + static_cast<uint32_t>(trial.damage) * 131u +
          static_cast<uint32_t>(trial.table));
  const KnownBox known = buildBox(trial.table, rng);
  const Bytes broken = damaged(known, trial.damage, rng);
  const bool deleted = trial.seed % 2 == 1;

  TrialResult result;
  const ByteView view(broken.data(), static_cast<uint32_t>(broken.size()));
  RescuedBox rescued = rescueBox(view, {.deleted = deleted});
  if (!rescued.problem.empty()) {
    result.refused = true;
    const FieldTable sound =
        readFieldTable(ByteView(known.bytes.data(), static_cast<uint32_t>(known.bytes.size())));
    rescued = rescueBox(view, {&sound, deleted});
    if (!rescued.problem.empty()) {
      result.failed = true;
      result.note = rescued.problem;
      return result;
    }
  }

  // What the new box holds, by body.
  // Bodies as strings: GCC 12 at -O3 misjudges the comparison of byte vectors.
  const auto key = [](const Bytes& b) { return std::string(b.begin(), b.end()); };
  std::multimap<std::string, uint16_t> keptBodies;
  for (const auto& [id, body] : cardsOf(rescued.bytes)) keptBodies.emplace(key(body), id);
  result.kept = keptBodies.size();

  // A byte the damage changed, or cut off.
  const auto changed = [&](uint64_t at) { return at >= broken.size() || broken[at] != known.bytes[at]; };
  std::set<std::string> cardBodies;  // of the damaged box, at the places of its cards, as they are now
  for (const Element& e : known.elements) {
    if (!e.record && !e.deleted) continue;
    const auto from = known.bytes.begin() + e.offset + box::kCardHeadSize;
    const Bytes body(from, known.bytes.begin() + e.end);
    if (e.record) ++result.records;
    bool intact = e.record;
    for (uint64_t at = e.offset; intact && at < e.end; ++at) intact = !changed(at);
    if (intact) {
      ++result.intact;
      const auto range = keptBodies.equal_range(key(body));
      const bool sameId =
          std::any_of(range.first, range.second, [&](const auto& k) { return k.second == e.id; });
      if (range.first != range.second) ++result.intactKept;
      if (range.first == range.second || !sameId) {
        if (result.note.empty())
          result.note = "ID " + std::to_string(e.id) + " at " + std::to_string(e.offset) +
                        (range.first == range.second ? " lost" : " kept under another ID");
      }
    }
    cardBodies.insert(key(body));
  }
  // A kept record must be the body of one of the box's cards: as it was, or
  // the bytes at one of its cards' places now (a damaged record, whole by
  // its own bytes).
  for (const auto& kept : keptBodies) {
    const std::string& body = kept.first;
    if (cardBodies.count(body)) continue;
    const bool atACard = std::any_of(known.elements.begin(), known.elements.end(), [&](const Element& e) {
      const uint64_t from = uint64_t{e.offset} + box::kCardHeadSize;
      return from + body.size() <= broken.size() &&
             std::memcmp(body.data(), broken.data() + from, body.size()) == 0;
    });
    if (!atACard) {
      ++result.invented;
      if (result.note.empty()) result.note = "invented ID " + std::to_string(kept.second);
    }
  }
  result.falseWhole = rescued.whole() && result.intactKept < result.intact;
  result.intactAlone = result.refused ? 0 : result.intactKept;
  return result;
}

}  // namespace boxtest
