// Trials of the rescue on boxes whose records are known: a box is built
// from seeded random records, damaged in one of the ways a box gets
// damaged, rescued in process (with the field table of the sound box when
// the damaged one's cannot be read), and the new box is held against the
// records whose bytes the damage did not touch.
//
//   const TrialResult r = runTrial({Table::kAddressBook, Damage::kFlip8, 7});
//   if (r.intactKept < r.intact || r.invented > 0 || r.falseWhole) complain(r.note);
//
// tools/boxgen/rescue_campaign runs many of them; a test runs a few.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace boxtest {

enum class Table {
  kAddressBook,  // the address book's ten fields
  kWide,         // 22 fields of every data ID
  kMemo,         // 4 fields, long texts
};

enum class Damage {
  kTruncate,        // the file cut anywhere in the card area
  kTornTail,        // cut inside the last few cards
  kJunkTail,        // random bytes behind the terminator
  kLostTerminator,  // the terminator cut off
  kFlip1,           // random bytes anywhere set to random values
  kFlip8,
  kFlip64,
  kFlipCards1,  // the same in the card area only
  kFlipCards8,
  kFlipTables1,  // the same in the header, default table and item info
  kFlipTables8,
  kFlipItemInfo,   // one byte of the item info
  kZero512,        // a zeroed 512-byte sector
  kZero4096,       // a zeroed 4 KiB sector
  kRandomStretch,  // 1 KiB of random bytes somewhere in the card area
  kBrokenSize,     // one card's size field changed
  kBrokenLink,     // an offset card's link changed
  kBrokenId,       // one card's ID changed
  kDuplicateIds,   // a few cards given the ID of another
  kShiftedHeader,  // the header's first card offset changed
};

inline constexpr int kTableCount = 3;
inline constexpr int kDamageCount = 20;

struct Trial {
  Table table;
  Damage damage;
  uint32_t seed;
};

struct TrialResult {
  size_t records = 0;       // normal cards of the sound box
  size_t intact = 0;        // of them, untouched by the damage
  size_t intactKept = 0;    // of those, in the new box byte for byte
  size_t intactAlone = 0;   // the same, but none when the box's own field table was not taken
  size_t kept = 0;          // records of the new box
  size_t invented = 0;      // records of the new box that are no card of the damaged box
  bool refused = false;     // the damaged box's own field table was not taken
  bool falseWhole = false;  // the rescue said nothing is missing, yet an intact record is
  bool failed = false;      // no new box was made even with the sound field table
  std::string note;         // what went wrong, for a report
};

TrialResult runTrial(const Trial& trial);

const char* tableName(Table table);
const char* damageName(Damage damage);

}  // namespace boxtest
