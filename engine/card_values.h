// The values of a normal card, decoded in one place for every reader: the
// content checks, the export of records and the rescue of a damaged box.
//
// A normal card's body is an unexamined word, the stated length of its item
// length area, the area itself (one encoded length per field, in field-table
// order), and the values one behind the other in the same order.  Nothing
// here trusts the card: lengths whose encoding is not in the file count 0,
// and a value's place is only computed; valueIn() says whether its bytes
// can be read.
#pragma once

#include <array>
#include <cstdint>

#include "byte_view.h"
#include "item_info.h"

class CardValues {
 public:
  // Decodes the item length area of the card at cardOffset, one length per
  // field of fields.
  CardValues(ByteView file, uint64_t cardOffset, const ItemInfo& fields);

  int count() const { return count_; }
  // Value k's decoded length (0 when its encoding is not in the file) and
  // its file offset.
  uint32_t length(int k) const { return items_[static_cast<size_t>(k)].length; }
  uint64_t position(int k) const { return valueStart_ + items_[static_cast<size_t>(k)].offset; }
  // Whether value k lies wholly before end (the card's end, or the file's).
  bool valueIn(int k, uint64_t end) const { return position(k) <= end && length(k) <= end - position(k); }

  uint64_t areaStart = 0;     // card offset + 10
  uint32_t areaLength = 0;    // bytes the lengths read from the file take
  uint32_t dataLength = 0;    // the lengths' sum, wrapping at 32 bits as the device's does
  uint64_t valuesLength = 0;  // the same sum without wrapping
  uint32_t statedArea = 0;    // the card's stated area length; 0 when not in the file
  int decoded = 0;            // lengths read; the rest were not in the file

 private:
  struct Item {
    uint32_t length;
    uint64_t offset;  // from the first value
  };
  int count_ = 0;
  uint64_t valueStart_ = 0;
  // At most 255 fields; only the first count_ are filled, once per card.
  std::array<Item, 256> items_;
};
