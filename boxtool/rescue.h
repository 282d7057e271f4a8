// The rescue of a damaged box: a new, sound box from every record of it
// whose own bytes are whole, made in memory, with an account of what the
// box claims to hold and what could not be kept.  boxtool recover writes
// it; the tests and the fuzz target run it in process.
//
//   const RescuedBox r = rescueBox(ByteView(bytes.data(), size), {.deleted = true});
//   if (!r.problem.empty()) complain(r.problem);
//   else write(r.bytes), print(r.missing), ...
//
// The broken box's cards are traced behind its own field table (or one
// given from another box), as the analysis traces them, and mapped by their
// own bytes (record_map.h): a record goes into the new box as it stands when
// its card is consistent and overlaps no other record, whether the trace
// read it in the chain or the lost-and-found scan found it outside.  No
// card is ever rebuilt from bytes that are not its own, and no card the
// trace read as garbage data is kept.  An ID already held by an earlier
// kept record, and every restored deleted record, gets the least free ID.
//
// What the box claims: the IDs its offset tables name, the IDs of the cards
// read where a card begins, and the number of records its header counts.
// A claimed ID no kept record holds is missing.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "byte_view.h"
#include "field_table.h"

struct RescuedRecord {
  int32_t card = -1;    // index in the trace's card list; -1 for a record found outside it
  uint32_t offset = 0;  // in the broken box
  uint16_t id = 0;      // in the broken box
  uint16_t newId = 0;   // in the new box; 0 when not kept
  std::string note;     // why it was dropped, renumbered or marked
};

struct MissingRecord {
  uint16_t id = 0;
  std::string why;  // what names it, and what became of its card
};

struct RescuedBox {
  std::vector<uint8_t> bytes;  // the new box; empty when problem is set
  std::string problem;         // why no box could be made
  int cardValueCount = -1;     // with a problem about the fields: the values the cards hold, when known

  // What the box claims.
  uint32_t headerCount = 0;  // records the header counts
  size_t tableIds = 0;       // IDs its offset tables name
  size_t seenIds = 0;        // IDs of the cards read where a card begins
  size_t claimedIds = 0;     // the IDs of both

  size_t kept = 0;                         // records written, restored deleted ones included
  size_t found = 0;                        // of them, found outside the card chain
  std::vector<RescuedRecord> damagedKept;  // damaged in the trace, kept whole by their own bytes
  std::vector<RescuedRecord> dropped;  // cards read where a card begins that are not whole, with the reason
  std::vector<RescuedRecord> renumbered;  // duplicate IDs given free ones
  std::vector<RescuedRecord> restored;    // deleted records, with their new IDs
  std::vector<MissingRecord> missing;     // claimed IDs no kept record holds
  uint32_t unnamedMissing = 0;            // records the header counts beyond the kept and the missing
  size_t strayCards = 0;                  // cards the trace read where no card begins: not records
  std::vector<std::string> fieldsMended;  // changes to the field table
  bool typesChanged = false;              // a field's data ID was rewritten
  size_t systemCards = 0;                 // reference index card and other system cards kept
  uint64_t bytesLost = 0;                 // card area bytes that are in no card of the new box

  // Nothing the box claims is missing and no value changed its type.
  bool whole() const { return missing.empty() && unnamedMissing == 0 && !typesChanged; }
};

struct RescueOptions {
  // Replaces the broken box's field table when not null; it must be readable.
  const FieldTable* fieldsFrom = nullptr;
  bool deleted = false;      // restore the deleted records that still decode
  bool lostAndFound = true;  // look outside the chain; off only to measure what looking costs
};

RescuedBox rescueBox(ByteView broken, const RescueOptions& options);

// The broken box's card area behind a field table: the bytes to trace and
// where in them the trace begins, shared with export.  The box itself when
// it already holds that table where a sound box does, with its cards right
// behind; otherwise a fresh header, default table and the table, followed
// by the broken box from where its card area begins.
struct TracedBytes {
  ByteView view;               // the bytes to trace (the broken box's, or bytes)
  std::vector<uint8_t> bytes;  // made here
  int64_t shift = 0;           // offset traced - offset in the broken box
  uint64_t areaStart = 0;      // where the card area begins, in the traced bytes
  bool asItStands = false;     // view is the broken box itself

  uint32_t original(uint64_t traced) const {
    return static_cast<uint32_t>(static_cast<int64_t>(traced) - shift);
  }
};
// Reads the field table of the box at path, which must be readable:
// exit_status::kClean, or the status to exit with and why.
int fieldTableOf(const std::string& path, FieldTable& table, std::string& why);

// ownTable says whether itemInfo is the broken box's own (read from it:
// tableEnd is where it ends there, and asStated whether the analysis of the
// box reads the same table) or taken from another box.
TracedBytes tracedBytes(ByteView broken, const std::vector<uint8_t>& itemInfo, bool ownTable,
                        uint64_t tableEnd, bool asStated);
