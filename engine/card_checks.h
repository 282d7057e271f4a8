// Content checks of single cards, run by the trace as it reads each card,
// and the encoded item lengths they decode.  Findings go to the card's own
// record with reportHere, so they carry the position of the card's entry.
#pragma once

#include <cstdint>

#include "engine/byte_view.h"
#include "engine/card_record.h"
#include "engine/item_info.h"

// Decodes the encoded length at pos (1, 2 or 4 bytes, big-endian, chosen by
// the first byte).  False when it does not lie wholly inside file.
inline bool decodeItemLength(ByteView file, uint64_t pos, uint32_t* value, uint32_t* width) {
  if (pos >= file.size()) return false;
  const uint8_t* p = file.data() + pos;
  const uint64_t left = file.size() - pos;
  if (p[0] < 0x80) {
    *value = p[0];
    *width = 1;
  } else if (p[0] < 0xC0) {
    if (left < 2) return false;
    *value = (static_cast<uint32_t>(p[0] & 0x7F) << 8) | p[1];
    *width = 2;
  } else {
    if (left < 4) return false;
    *value = (static_cast<uint32_t>(p[0] & 0x3F) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
             (static_cast<uint32_t>(p[2]) << 8) | p[3];
    *width = 4;
  }
  return true;
}

bool lengthFitsDataId(const ItemInfoEntry& entry, uint32_t length);

// Checks one value; TIME (data ID 4) and WEEK (7) only.  Values not wholly
// inside the file are skipped.
bool checkItemValue(ByteView file, const ItemInfoEntry& entry, CardRecord& record, int item,
                    uint64_t position, uint32_t length);

// Decodes the item length area at areaStart and checks every item, last to
// first.  Sets the record's area and data length; returns the misfit count.
int walkItemLengths(ByteView file, const ItemInfo& fields, CardRecord& record, uint64_t areaStart);

bool checkItems(ByteView file, CardRecord& record, const ItemInfo& fields);  // normal cards
bool checkOffsetCardSize(CardRecord& record);                                // ID 0xFFF0
bool dumpIndexCard(ByteView file, CardRecord& record);                       // ID 0xFFF1
