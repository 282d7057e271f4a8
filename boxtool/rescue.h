// The rescue of a damaged box: a new, sound box from everything in it that
// can be read, made in memory.  boxtool recover writes it; the tests and the
// fuzz target run it in process.
//
//   const RescuedBox r = rescueBox(ByteView(bytes.data(), size), nullptr, true);
//   if (!r.problem.empty()) complain(r.problem);
//   else write(r.bytes), print(r.dropped), ...
//
// The broken box's cards are traced behind its own field table (or one
// given from another box), as the analysis traces them.  Every normal card
// whose values can be placed is written again as a consistent card:
//
//   - its item lengths are all in the file and each fits its field;
//   - each value lies within the card, which ends where the trace read the
//     next card, and within the file.
//
// Such a card is rewritten with its item length area, stated area length
// and size computed from its values, so a card damaged only in those is
// kept whole.  A card that fails a test is dropped with the reason.  An ID
// already held by an earlier kept card, and every restored deleted record,
// gets the least free ID.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "byte_view.h"
#include "record_values.h"

struct RescuedRecord {
  int32_t card = 0;     // index in the trace's card list
  uint32_t offset = 0;  // in the broken box
  uint16_t id = 0;      // in the broken box
  uint16_t newId = 0;   // in the new box; 0 when dropped
  std::string note;     // why it was dropped, renumbered or repaired
};

struct RescuedBox {
  std::vector<uint8_t> bytes;             // the new box; empty when problem is set
  std::string problem;                    // why no box could be made
  size_t kept = 0;                        // records written, restored deleted ones included
  std::vector<RescuedRecord> repaired;    // damaged cards kept whole
  std::vector<RescuedRecord> dropped;     // with the reason
  std::vector<RescuedRecord> renumbered;  // duplicate IDs given free ones
  std::vector<RescuedRecord> restored;    // deleted records, with their new IDs
  std::vector<std::string> fieldsMended;  // changes to the field table
  size_t systemCards = 0;                 // reference index card and other system cards kept
  uint64_t bytesLost = 0;                 // card area bytes that are in no card of the new box
};

// fieldsFrom, when not null, replaces the broken box's field table; it
// must be readable.  With deleted, the deleted records that still decode
// are restored.
RescuedBox rescueBox(ByteView broken, const FieldTable* fieldsFrom, bool deleted);
