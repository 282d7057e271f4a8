// One card of the card list, as the trace read it.
#pragma once

#include <cstdint>

struct CardRecord {
  uint32_t level = 0;  // OR of the codes delivered against this card
  uint16_t id = 0;     // card ID; 0 when the file ended before it
  // A normal card's own bytes are consistent: every item length is in the
  // file and fits its field, the stated area length is the decoded one, and
  // the size is the area, the values and the 4 bytes before the area.  Set
  // by its content check, whatever reaches the findings sink.
  bool consistent = false;
  uint32_t size = 0;        // body length from the head; the salvage may rewrite it
  uint32_t offset = 0;      // file offset of the card
  uint32_t areaLength = 0;  // decoded item length area (normal cards)
  uint32_t dataLength = 0;  // sum of the decoded item lengths (normal cards)
};
