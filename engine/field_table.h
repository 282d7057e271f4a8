// A box's field table as a new box can hold it, read so that a damaged box
// does not pass for one without fields.
//
// The item info is taken where the header places it when its records fill
// the space the header gives them (up to the declared size or the first
// card) and the cards' item length areas agree with its number of fields.
// Otherwise the table is looked for where a sound box keeps it (0x848), and
// a count byte that disagrees with the records is mended by counting the
// records that fill that space.  When no table is found, the cards are asked
// how many values they hold, so that the caller can say so.
//
//   const FieldTable table = readFieldTable(file);
//   if (!table.problem.empty()) refuse(table.problem, table.inferredCount);
//   BoxWriter writer(table.itemInfo);
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "byte_view.h"

struct FieldTable {
  std::vector<uint8_t> itemInfo;    // count byte and records; empty when problem is set
  std::string problem;              // why no table can be used; empty when there is one
  std::vector<std::string> mended;  // each change made, in words for the user
  bool typesChanged = false;        // a data ID was rewritten, so some values change their type
  uint64_t end = 0;                 // where the table ends in the box it was read from
  // Read where the header places it, filling the size the header declares,
  // nothing mended: the analysis of the box reads the same table.
  bool asStated = false;
  // The number of values the cards of the chain hold, when they agree on one;
  // -1 when they do not tell.  Set whether or not a table was found.
  int cardValueCount = -1;
};

// Reads the field table of the box in file.
FieldTable readFieldTable(ByteView file);

// An item info of count fields whose types are not known: every field takes
// values of any length (data ID 3) and has no tag and no name.  For reading
// the values of a box whose own table is gone.
std::vector<uint8_t> untypedItemInfo(int count);

// How many values the normal cards of the chain from first on hold, by
// their item length areas alone: the count n at which n encoded lengths fill
// the stated area length exactly and the size is the area, the values and
// the 4 bytes before the area.  Walks at most maxCards normal cards by their
// sizes; -1 when they do not agree on one count.
int countValuesOfCards(ByteView file, uint64_t first, int maxCards = 64);
