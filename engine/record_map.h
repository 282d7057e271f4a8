// The records of a traced box, judged by the cards' own bytes, and the
// records the box claims to hold: what export lists, what recover keeps and
// what it must account for.
//
// A card is consistent when its own bytes say what its values are: its ID
// is 0 to 0xFEFF, its body lies in the file, one item length per field of
// the field table fills its stated area length exactly, each fits its
// field, and its size is the area, the values and the 4 bytes before the
// area.  Such a card is a record whatever the trace made of it (a salvage
// may have shortened it); a card that is not is never made into one.
//
// The map starts from the trace's card list.  Trusted are its consistent
// cards and, of the cards no content check looks at (deleted, offset,
// index and other system cards, the terminator), those that lie between
// trusted cards with no gap.  Every stretch of the card area no trusted card
// covers (skipped or salvaged past by the trace, damaged, behind a cut or a
// junk tail) is then looked through, byte by byte, for consistent cards:
// the lost and found.  Where consistent cards overlap, those that meet
// their neighbours end to start win.
//
//   const RecordMap map = mapRecords(view, *analysis.chain, *analysis.itemInfo, areaStart, {.deleted =
//   true}); for (const Record& r : map.records) if (r.whole) keep(r);
#pragma once

#include <cstdint>
#include <vector>

#include "byte_view.h"
#include "card_chain.h"
#include "card_values.h"
#include "item_info.h"

enum class RecordState {
  kSound,    // a normal card of the chain its checks pass
  kDamaged,  // a normal card of the chain with an Error or a Critical, or whose head the file cuts
  kDeleted,  // a deleted card (ID 0) whose body decodes
  kFound,    // a consistent normal card outside the chain (lost and found)
};

struct Record {
  int32_t card = -1;  // index in the card list; -1 for a record found outside the chain
  uint32_t offset = 0;
  uint16_t id = 0;
  RecordState state = RecordState::kSound;
  // Its values lie in its own card, which overlaps no other record: it can
  // be kept as it stands (a deleted card: its first 4 + area + values bytes).
  bool whole = false;
  // Where its values may reach: its own end when whole, else where the
  // trace read a card at a later offset (or the end of the file).
  uint64_t end = 0;
};

// A stretch of bytes [from, to).
struct Stretch {
  uint64_t from = 0;
  uint64_t to = 0;
};

struct RecordMap {
  // The chain's normal cards (each offset once) and, with deleted, its
  // deleted cards whose body decodes, in chain order; the records found
  // outside the chain stand among them by offset.
  std::vector<Record> records;
  // The cards of the chain that no content check looks at and that lie
  // between trusted cards: deleted, offset, index and system cards and the
  // terminator, as stretches of the card list in list order: one card, or
  // a run of empty deleted cards (ID 0, size 0) back to back.
  struct Cards {
    int32_t first;
    uint32_t count;
    bool operator<(const Cards& other) const { return first < other.first; }
  };
  std::vector<Cards> trustedCards;
  // Normal cards the trace read where no trusted card ends: bytes of other
  // records or junk, never records.
  std::vector<int32_t> strayCards;
  // The card area's bytes in no record kept whole and no trusted card.
  std::vector<Stretch> unaccounted;
  uint64_t areaStart = 0;
  size_t found = 0;  // records found outside the chain
};

struct MapOptions {
  bool deleted = false;      // list the deleted cards whose body decodes
  bool lostAndFound = true;  // look outside the chain; off only to measure what looking costs
};

// Maps the records of the chain traced over file from areaStart (where the
// card area begins: the first card, or the end of the item info when that
// lies before it) behind fields.
RecordMap mapRecords(ByteView file, const cardChain& chain, const ItemInfo& fields, uint64_t areaStart,
                     const MapOptions& options);

// Whether the card at offset is consistent by its own bytes (see above) and
// ends at or before limit.
bool cardIsConsistent(ByteView file, uint64_t offset, const ItemInfo& fields, uint64_t limit);

// Whether the card decodes as a normal card's body against fields: every
// item length is in the file and fits its field, the stated area length is
// the decoded one, and every value lies before end.
bool bodyDecodes(const CardValues& values, const ItemInfo& fields, uint64_t end);

// Whether value k can be read: its length is in the file and its bytes lie
// before end.
inline bool valuePresent(const CardValues& values, int k, uint64_t end) {
  return k < values.decoded && values.valueIn(k, end);
}

// What a box says of the records it holds, besides its cards.
struct Claims {
  uint32_t headerCount = 0;  // the header's stored number of normal cards
  // The entries of the default table and the offset cards that hold an
  // offset in the card area (or past the end of a file cut short), by ID
  // ascending; an entry that points at a deleted card (ID 0 there) names a
  // record that was deleted and is left out.
  struct Entry {
    uint16_t id;
    uint32_t offset;
  };
  std::vector<Entry> tableEntries;
};

// Reads the header's count and walks the offset tables of box by the heads
// of its offset cards alone, so that it needs no trace.
Claims readClaims(ByteView box, uint64_t areaStart);
